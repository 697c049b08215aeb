#include "core/engine/rename_engine.h"

#include "core/base/rename_failure.h"
#include "core/batch/file_record.h"
#include "core/batch/file_safety.h"
#include "core/engine/engine_parts.h"
#include "core/naming/filename.h"
#include "core/naming/natural_order.h"
#include "core/platform/posix_file_system.h"

#include <algorithm>
#include <unordered_set>

using namespace EngineParts;

namespace EngineParts {

void platformFailure(int error) {
    throw RenameFailure(PosixFileSystem::errorText(error) + QLatin1Char('.'));
}

void fileChanged() {
    throw RenameFailure(QStringLiteral("The file or its folder changed. No replacement was made."));
}

} // namespace EngineParts

RenameEngine::RenameEngine(const QString& directory) : folder(FilePath::standardized(directory)) {
    if (int error = PosixFileSystem::makeFolders(folder.toUtf8(), 0700))
        platformFailure(error);
    FileSafety::directoryFD(folder);
}

RenameEngine::Lock RenameEngine::lock() const {
    UniqueFd fd;
    try {
        UniqueFd journals = FileSafety::directoryFD(folder);
        auto opened = PosixFileSystem::openLockFile(journals.get(), ".lock");
        if (opened)
            fd = std::move(*opened.value);
    } catch (const RenameFailure&) {
    }
    if (!fd)
        throw RenameFailure(QStringLiteral("Cannot open the rename lock."));
    if (PosixFileSystem::lockExclusiveWithoutWaiting(fd.get()) != 0)
        throw RenameFailure(
            QStringLiteral("Another Tessary operation is running. Try again when it finishes."));
    return Lock(std::move(fd));
}

QStringList RenameEngine::setAsideRecords() const {
    QStringList records;
    try {
        UniqueFd journals = FileSafety::directoryFD(folder);
        auto listing = PosixFileSystem::listFolder(journals.get());
        if (!listing)
            return records;
        for (const QByteArray& name : *listing.value) {
            if (name.startsWith("set-aside-") && name.endsWith(".json"))
                records.append(QString::fromUtf8(name));
        }
    } catch (const RenameFailure&) {
    }
    // The names begin with their UTC time, so text order is age order.
    records.sort();
    return records;
}

qsizetype RenameEngine::undoCount() const {
    try {
        return read(undoJournal).entries.size();
    } catch (const RenameFailure&) {
        return 0;
    }
}

QList<QUrl> RenameEngine::journalFolders(bool recovery) const {
    RenameJournal journal = read(recovery ? activeJournal : undoJournal);
    QStringList folders;
    std::unordered_set<QString> seen;
    for (const JournalEntry& entry : journal.entries) {
        QString parent = FilePath::parent(entry.original);
        if (seen.insert(Filename::canonical(parent)).second)
            folders.append(parent);
    }
    std::sort(folders.begin(), folders.end(),
              [](const QString& a, const QString& b) { return compareCodePoints(a, b) < 0; });
    QList<QUrl> urls;
    for (const QString& parent : folders)
        urls.append(QUrl::fromLocalFile(parent));
    return urls;
}

std::optional<RenameReport> RenameEngine::completedReport() const {
    if (hasRecovery() || !journalExists(undoJournal))
        return std::nullopt;
    RenameJournal journal = read(undoJournal);
    if (!journal.completed || journal.purpose != JournalPurpose::rename)
        throw RenameFailure(
            QStringLiteral("The last batch is not a completed rename. No receipt is available."));
    RenameReport report;
    for (const JournalEntry& entry : journal.entries)
        report.entries.append({FilePath::lastComponent(entry.original),
                               FilePath::lastComponent(entry.final), QStringLiteral("Renamed")});
    report.changedCount = journal.entries.size();
    report.completed = true;
    report.batchID = journal.id;
    return report;
}
