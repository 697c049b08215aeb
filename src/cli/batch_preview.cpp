#include "batch_preview.h"

#include "core/file_import.h"
#include "core/folder_authorization.h"
#include "core/rename_preview.h"

#include <QDir>
#include <QUrl>

#include <algorithm>

qsizetype BatchPreview::readyCount() const {
    return std::count_if(rows.begin(), rows.end(),
                         [](const PreviewRow& row) { return !row.problem && row.changed(); });
}

qsizetype BatchPreview::unchangedCount() const {
    return std::count_if(rows.begin(), rows.end(),
                         [](const PreviewRow& row) { return !row.problem && !row.changed(); });
}

qsizetype BatchPreview::conflictCount() const {
    return std::count_if(rows.begin(), rows.end(),
                         [](const PreviewRow& row) { return row.problem.has_value(); });
}

BatchPreview previewBatch(const QStringList& paths, const RenameRules& rules, bool checkWindows) {
    QList<QUrl> items;
    for (const QString& path : paths)
        items.append(QUrl::fromLocalFile(QDir::current().absoluteFilePath(path)));
    // Fails the whole selection when an item is missing, as adding files in the
    // app does, rather than previewing a batch the user did not mean.
    FolderAuthorization::requiredFolders(items);

    BatchPreview preview;
    preview.import = FileImport::collect(items, {}, 5000);
    QList<RenameIntent> intents;
    intents.reserve(preview.import.files.size());
    for (qsizetype index = 0; index < preview.import.files.size(); ++index) {
        const FileRecord& file = preview.import.files[index];
        intents.append({file, rules.filename(file.name(), index)});
    }
    preview.rows = RenamePreview::rows(intents, checkWindows);
    return preview;
}
