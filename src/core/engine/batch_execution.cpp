#include "core/engine/rename_engine.h"

#include "core/base/batch_limit.h"
#include "core/base/rename_failure.h"
#include "core/base/uuid_text.h"
#include "core/batch/file_record.h"
#include "core/batch/file_safety.h"
#include "core/engine/engine_parts.h"
#include "core/engine/move_flushing.h"
#include "core/journal/journaled_volumes.h"
#include "core/naming/filename.h"
#include "core/platform/exclusive_move.h"
#include "core/platform/posix_file_system.h"
#include "core/preview/rename_preview.h"

#include <QSet>

#include <algorithm>
#include <cerrno>
#include <unordered_set>

using namespace EngineParts;

namespace {

[[noreturn]] void tooManyFiles() {
    throw RenameFailure(QStringLiteral("A batch must contain at most 5,000 unique files."));
}

// ".tessary-" + a batch id + "-probe", or that name + "-renamed".
bool isProbeName(const QByteArray& name) {
    static const QByteArray prefix = ".tessary-";
    if (!name.startsWith(prefix))
        return false;
    QByteArray rest = name.mid(prefix.size());
    if (!UuidText::parse(QString::fromLatin1(rest.left(36))))
        return false;
    rest = rest.mid(36);
    return rest == "-probe" || rest == "-probe-renamed";
}

// A process killed while probing leaves its empty probe file behind, under
// two names when it was probing by link. The folder is locked against every
// other Tessary operation by now, so no probe in it is still in use; only
// empty regular files of at most those two names, under the probe's exact
// names, are taken for ours.
void removeStaleProbes(int folder) {
    auto listing = PosixFileSystem::listFolder(folder);
    if (!listing)
        return;
    for (const QByteArray& name : *listing.value) {
        if (!isProbeName(name))
            continue;
        auto status = PosixFileSystem::statAt(folder, name);
        if (status && status.value->isRegular && status.value->linkCount <= 2 &&
            status.value->size == 0)
            PosixFileSystem::removeAt(folder, name);
    }
}

} // namespace

void RenameEngine::execute(const QList<RenameIntent>& intents, qsizetype limit,
                           const RenameProgress::Observer& progress) {
    Lock held = lock();
    if (intents.size() > std::clamp<qsizetype>(limit, 0, batchLimit))
        tooManyFiles();
    Steps steps(progress, RenameProgress::Phase::renaming);
    perform(intents, JournalPurpose::rename, steps);
}

RenameJournal RenameEngine::prepare(const QList<RenameIntent>& intents, JournalPurpose purpose,
                                    FolderLocks& locks) {
    if (hasRecovery())
        throw RenameFailure(QStringLiteral("An interrupted batch needs recovery first."));
    if (intents.size() > batchLimit)
        tooManyFiles();
    std::unordered_set<QString> paths;
    std::unordered_set<FileIdentity, FileIdentityHash> identities;
    for (const RenameIntent& intent : intents) {
        if (!paths.insert(Filename::canonical(intent.source.path)).second ||
            !identities.insert(intent.source.identity).second)
            tooManyFiles();
    }
    // Locked before the disk is judged, so another process can neither have
    // moved these files between the judgement and the journal, nor move them
    // while this batch runs.
    QStringList folders;
    for (const RenameIntent& intent : intents)
        folders.append(intent.source.folderPath());
    folders.removeDuplicates();
    locks = FolderLocks::acquire(folders);

    // The engine trusts no earlier preview: the disk is judged again now, and
    // one problem anywhere refuses the whole batch.
    const QList<PreviewRow> rows =
        RenamePreview::rows(intents, false, purpose == JournalPurpose::undo);
    for (const PreviewRow& row : rows) {
        if (row.problem)
            throw RenameFailure(row.intent.source.name() + QStringLiteral(": ") + *row.problem);
    }

    RenameJournal journal;
    journal.id = QUuid::createUuid();
    journal.purpose = purpose;
    for (const PreviewRow& row : rows) {
        if (!row.changed())
            continue;
        const FileRecord& source = row.intent.source;
        QString parent = source.folderPath();
        journal.entries.append({source.path, FilePath::joined(parent, row.intent.filename),
                                FilePath::joined(parent, RenameJournal::stagingName(
                                                             journal.id, journal.entries.size())),
                                source.identity, source.parentIdentity});
    }
    if (journal.entries.isEmpty())
        throw RenameFailure(QStringLiteral("There are no filename changes to apply."));
    journal.volumes = JournaledVolumes::of(journal.entries);

    // Everything that could refuse the journal is settled before the probe
    // writes into the user's folders.
    QByteArray document = journalDocument(journal);
    probeExclusiveRename(journal.entries, journal.id);
    commit(document, activeJournal, Commit::exclusive);
    return journal;
}

// Some file systems refuse both RENAME_NOREPLACE and hard links (FAT and exFAT
// over FUSE). Finding that out halfway through a batch would strand files at
// staging names, and recovery's own moves would be refused the same way, so
// every folder is tried once, with the very move the batch will use, before
// anything is journaled.
void RenameEngine::probeExclusiveRename(const QList<JournalEntry>& entries, const QUuid& batch) {
    QSet<QString> probed;
    const QString probeName = QStringLiteral(".tessary-") + UuidText::text(batch) + "-probe";
    const QByteArray created = probeName.toUtf8();
    const QByteArray renamed = (probeName + QStringLiteral("-renamed")).toUtf8();
    for (const JournalEntry& entry : entries) {
        QString parent = FilePath::parent(entry.original);
        if (probed.contains(parent))
            continue;
        probed.insert(parent);
        UniqueFd fd = FileSafety::directoryFD(parent);
        // The probe file goes only into the very folder the batch was judged in.
        auto opened = PosixFileSystem::statDescriptor(fd.get());
        if (!opened || !FileIdentity::sameFile(entry.parentIdentity, opened.value->identity))
            fileChanged();
        removeStaleProbes(fd.get());
        auto probe = PosixFileSystem::createExclusive(fd.get(), created);
        if (!probe)
            throw RenameFailure(QStringLiteral("Cannot rename files in ") +
                                FilePath::lastComponent(parent) + QStringLiteral(": ") +
                                PosixFileSystem::errorText(probe.error) +
                                QStringLiteral(". No files were renamed."));
        probe.value->reset();
        auto before = PosixFileSystem::statAt(fd.get(), created);
        int refused = ExclusiveMove::move(fd.get(), created, renamed);
        auto after = PosixFileSystem::statAt(fd.get(), renamed);
        // A volume that gives the file another inode under its new name (a
        // FUSE file system numbering names, not files) would make every file
        // of the batch look replaced once it moved.
        bool keepsIdentity = before && after && before.value->identity == after.value->identity;
        PosixFileSystem::removeAt(fd.get(), created);
        PosixFileSystem::removeAt(fd.get(), renamed);
        if (refused || !keepsIdentity)
            throw RenameFailure(QStringLiteral("This volume cannot rename files without the risk "
                                               "of replacing others. No files were renamed."));
    }
}

// Whether no file of the batch is to take a name that a file of the batch has
// now: no exchanges, rotations or chains, and no change of letter case only,
// which a folder that ignores case would take for the same name.
bool RenameEngine::namesStayApart(const RenameJournal& journal) {
    auto key = [](const QString& path) {
        return FilePath::parent(path) + QLatin1Char('/') +
               Filename::collisionKey(FilePath::lastComponent(path));
    };
    QSet<QString> current;
    for (const JournalEntry& entry : journal.entries)
        current.insert(key(entry.original));
    return std::none_of(
        journal.entries.begin(), journal.entries.end(),
        [&](const JournalEntry& entry) { return current.contains(key(entry.final)); });
}

void RenameEngine::perform(const QList<RenameIntent>& intents, JournalPurpose purpose,
                           Steps& steps) {
    FolderLocks locks;
    RenameJournal journal = prepare(intents, purpose, locks);
    MoveFlushing flushing;
    // On a volume that flushes every move, the staging pass would double the
    // device's waits and leave hidden names on a card pulled in its middle; a
    // file goes straight to its new name there when no name of the batch is in
    // its way. The journal is the same: recovery looks under all three names.
    const bool apart = namesStayApart(journal);
    QList<bool> straight;
    qsizetype moves = 0;
    for (const JournalEntry& entry : journal.entries) {
        straight.append(apart && !flushing.deferred(FilePath::parent(entry.original)));
        moves += straight.last() ? 1 : 2;
    }
    steps.begin(journal.entries.size(), moves);
    try {
        // Phase 1 empties every name the batch will take from its own files, so
        // phase 2 can exchange and rotate names without meeting one of them.
        for (qsizetype index = 0; index < journal.entries.size(); ++index) {
            const JournalEntry& entry = journal.entries[index];
            move(entry.original, straight[index] ? entry.final : entry.staging, entry.identity,
                 entry.parentIdentity, flushing);
            steps.moved();
        }
        flushing.settle();
        for (qsizetype index = 0; index < journal.entries.size(); ++index) {
            if (straight[index])
                continue;
            const JournalEntry& entry = journal.entries[index];
            move(entry.staging, entry.final, entry.identity, entry.parentIdentity, flushing);
            steps.moved();
        }
        flushing.settle();
        // Until this write lands, recovery reverses the batch; after it,
        // recovery finishes it.
        journal.completed = true;
        persist(journal, activeJournal);
        finish(journal);
    } catch (const RenameFailure& failure) {
        // What did move is written out, so the state recovery will meet does
        // not change under it with the next crash.
        try {
            flushing.settle();
        } catch (const RenameFailure&) {
        }
        throw RenameFailure(QStringLiteral("The batch stopped safely: ") + failure.message +
                            QStringLiteral(" A recovery journal was kept. Use Recover original "
                                           "names before another batch. Do not move any .tessary "
                                           "files."));
    }
}

QString RenameEngine::move(const QString& from, const QString& to, const FileIdentity& identity,
                           const FileIdentity& parentIdentity, MoveFlushing& flushing,
                           const QStringList& alternatives) {
    QString parent = FilePath::parent(from);
    if (FilePath::parent(to) != parent)
        throw RenameFailure(QStringLiteral("A rename must stay in its original folder."));
    UniqueFd fd = FileSafety::directoryFD(parent);
    auto opened = PosixFileSystem::statDescriptor(fd.get());
    if (!opened)
        throw RenameFailure(QStringLiteral("Cannot inspect the folder."));
    if (!FileIdentity::sameFile(parentIdentity, opened.value->identity))
        fileChanged();
    QString name = FilePath::lastComponent(from);
    if (!FileIdentity::sameFile(identity, FileSafety::fileStat(name, fd.get()).identity))
        fileChanged();
    // Between the check above and this call another program could swap the
    // file for another. The folder descriptor pins the folder and the
    // exclusive flag keeps any name from being replaced, but the swapped-in
    // file would take the new name; so the moved file is checked, and a
    // stranger is put back under the name it came from.
    const QByteArray source = name.toUtf8();
    const QStringList candidates = QStringList{FilePath::lastComponent(to)} + alternatives;
    QByteArray target;
    for (qsizetype index = 0;; ++index) {
        target = candidates[index].toUtf8();
        int error = ExclusiveMove::move(fd.get(), source, target);
        if (error == 0)
            break;
        if (error != EEXIST || index + 1 == candidates.size())
            throw RenameFailure(QStringLiteral("Cannot rename ") + name + QStringLiteral(": ") +
                                PosixFileSystem::errorText(error) +
                                QStringLiteral(". Nothing was overwritten."));
    }
    auto moved = PosixFileSystem::statAt(fd.get(), target);
    if (moved && !FileIdentity::sameFile(identity, moved.value->identity)) {
        if (ExclusiveMove::move(fd.get(), target, source) == 0)
            PosixFileSystem::sync(fd.get());
        fileChanged();
    }
    flushing.moved(parent, fd.get(), target);
    return QString::fromUtf8(target);
}
