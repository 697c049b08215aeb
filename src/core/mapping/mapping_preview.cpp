#include "core/mapping/mapping_preview.h"

#include "core/naming/filename.h"
#include "core/naming/natural_order.h"
#include "core/naming/windows_filename.h"
#include "core/preview/rename_preview.h"

#include <QHash>

#include <algorithm>

namespace {

QString extension(const QString& name) {
    auto period = name.lastIndexOf(QLatin1Char('.'));
    return period < 0 ? QString() : name.mid(period + 1);
}

const QString backslashMessage =
    QStringLiteral("Use filenames only, without folder paths or backslashes.");

// The first failing check of one spreadsheet row, or nothing.
std::optional<QString> entryProblem(const MappingEntry& entry, qsizetype sameOldName,
                                    qsizetype matchingFiles, bool checkWindows) {
    if (auto problem = Filename::currentProblem(entry.oldName))
        return QStringLiteral("Original filename: ") + *problem;
    if (entry.oldName.contains(QLatin1Char('\\')))
        return backslashMessage;
    if (sameOldName > 1)
        return QStringLiteral("This original filename appears more than once in the spreadsheet. "
                              "Keep one mapping per file.");
    if (matchingFiles == 0)
        return QStringLiteral("No selected file exactly matches this original filename. Check "
                              "spelling and letter case, or remove this row.");
    if (matchingFiles > 1)
        return QStringLiteral("Multiple selected folders contain this filename. Use separate "
                              "batches for these folders.");
    if (auto problem = Filename::problem(entry.newName))
        return QStringLiteral("New filename: ") + *problem;
    if (entry.newName.contains(QLatin1Char('\\')))
        return backslashMessage;
    if (extension(entry.oldName) != extension(entry.newName))
        return QStringLiteral("Keep the original extension exactly, including letter case.");
    if (checkWindows)
        return WindowsFilename::problem(entry.newName);
    return std::nullopt;
}

} // namespace

MappingPreview MappingPreview::compute(const QList<FileRecord>& files,
                                       const MappingDocument& document, bool checkWindows) {
    // Names are matched in composed form: the same name typed in another
    // normalization form is the same name.
    QHash<QString, qsizetype> filesByName;
    QHash<QString, QString> spelledName;
    QList<QString> fileKeys;
    fileKeys.reserve(files.size());
    for (const FileRecord& file : files) {
        fileKeys.append(Filename::canonical(file.name()));
        if (filesByName[fileKeys.back()]++ == 0)
            spelledName.insert(fileKeys.back(), file.name());
    }
    QHash<QString, QList<qsizetype>> entriesByName;
    QList<QString> entryKeys;
    entryKeys.reserve(document.entries.size());
    for (qsizetype index = 0; index < document.entries.size(); ++index) {
        entryKeys.append(Filename::canonical(document.entries[index].oldName));
        entriesByName[entryKeys.back()].append(index);
    }

    MappingPreview preview;
    preview.diagnostics = document.diagnostics;
    QHash<QString, QString> problems;
    for (qsizetype index = 0; index < document.entries.size(); ++index) {
        const MappingEntry& entry = document.entries[index];
        const QString& key = entryKeys[index];
        auto problem = entryProblem(entry, entriesByName.value(key).size(), filesByName.value(key),
                                    checkWindows);
        if (!problem)
            continue;
        preview.diagnostics.append({entry.row, entry.oldName, *problem});
        problems.insert(key, *problem);
    }

    QList<QString> unnamed;
    for (auto it = filesByName.cbegin(); it != filesByName.cend(); ++it) {
        if (!entriesByName.contains(it.key()))
            unnamed.append(it.key());
    }
    std::sort(unnamed.begin(), unnamed.end(),
              [](const QString& a, const QString& b) { return compareCodePoints(a, b) < 0; });
    for (const QString& name : unnamed) {
        if (!document.diagnostics.isEmpty()) {
            problems.insert(name, QStringLiteral("Fix the spreadsheet before renaming."));
            continue;
        }
        const QString message = QStringLiteral("No mapping for this selected file. Add its old and "
                                               "new filenames, or remove it from the batch.");
        problems.insert(name, message);
        preview.diagnostics.append({std::nullopt, spelledName.value(name), message});
    }

    QList<RenameIntent> intents;
    intents.reserve(files.size());
    for (qsizetype index = 0; index < files.size(); ++index) {
        auto named = entriesByName.constFind(fileKeys[index]);
        QString filename = named == entriesByName.cend() ? files[index].name()
                                                         : document.entries[named->front()].newName;
        intents.append({files[index], filename});
    }
    preview.rows = RenamePreview::rows(intents, checkWindows);
    for (qsizetype index = 0; index < preview.rows.size(); ++index) {
        auto problem = problems.constFind(fileKeys[index]);
        if (problem != problems.cend())
            preview.rows[index].problem = *problem;
    }
    return preview;
}
