#include "core/engine/rename_engine.h"

#include "core/base/batch_limit.h"
#include "core/base/rename_failure.h"
#include "core/base/uuid_text.h"
#include "core/batch/file_record.h"
#include "core/batch/file_safety.h"
#include "core/engine/move_flushing.h"
#include "core/journal/journaled_volumes.h"
#include "core/naming/filename.h"
#include "core/naming/natural_order.h"
#include "core/platform/exclusive_move.h"
#include "core/platform/posix_file_system.h"
#include "core/preview/rename_preview.h"

#include <QDateTime>
#include <QHash>
#include <QMap>
#include <QSet>

#include <algorithm>
#include <cerrno>
#include <unordered_set>

namespace {

constexpr const char* activeJournal = "active.json";
constexpr const char* undoJournal = "undo.json";

[[noreturn]] void platformFailure(int error) {
    throw RenameFailure(PosixFileSystem::errorText(error) + QLatin1Char('.'));
}

[[noreturn]] void tooManyFiles() {
    throw RenameFailure(QStringLiteral("A batch must contain at most 5,000 unique files."));
}

[[noreturn]] void fileChanged() {
    throw RenameFailure(QStringLiteral("The file or its folder changed. No replacement was made."));
}

qsizetype utf8Length(const QString& text) {
    return text.toUtf8().size();
}

// "report (restored).pdf", then "report (restored 2).pdf" and on: names for a
// file whose original name was taken while it was away.
QStringList besideNames(const QString& original) {
    qsizetype period = original.lastIndexOf(QLatin1Char('.'));
    if (period <= 0)
        period = original.size();
    QStringList names;
    for (int number = 1; number <= 20; ++number) {
        QString mark = number == 1 ? QStringLiteral(" (restored)")
                                   : QStringLiteral(" (restored %1)").arg(number);
        names.append(original.left(period) + mark + original.mid(period));
    }
    return names;
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

// The entries whose file was found nowhere.
QList<JournalEntry> unfound(const RenameJournal& journal,
                            const QList<std::optional<QString>>& found) {
    QList<JournalEntry> missing;
    for (qsizetype index = 0; index < found.size(); ++index) {
        if (!found[index])
            missing.append(journal.entries[index]);
    }
    return missing;
}

bool isAt(const QString& path, const FileIdentity& identity, const FileIdentity& parentIdentity) {
    try {
        UniqueFd folder = FileSafety::directoryFD(FilePath::parent(path));
        auto file = FileSafety::fileStat(FilePath::lastComponent(path), folder.get());
        auto opened = PosixFileSystem::statDescriptor(folder.get());
        return opened && FileIdentity::sameFile(identity, file.identity) &&
               FileIdentity::sameFile(parentIdentity, opened.value->identity);
    } catch (const RenameFailure&) {
        return false;
    }
}

// Whether the folder lists `path`'s name spelled exactly so. A folder that
// ignores letter case (FAT32, exFAT, casefolded ext4) finds "IMG_0001.JPG"
// under "img_0001.JPG" too, so a file renamed only in case answers to both of
// its names; only the listing tells which one it has.
bool listedAsSpelled(const QString& path) {
    try {
        UniqueFd folder = FileSafety::directoryFD(FilePath::parent(path));
        auto listing = PosixFileSystem::listFolder(folder.get());
        const QByteArray name = FilePath::lastComponent(path).toUtf8();
        return listing && std::find(listing.value->begin(), listing.value->end(), name) !=
                              listing.value->end();
    } catch (const RenameFailure&) {
        return false;
    }
}

// Whether another file of the batch agrees with `entry`'s in everything that
// recognises a file on a card, so that only its staging name tells them apart.
bool hasTwin(const RenameJournal& journal, const JournalEntry& entry) {
    auto alike = [&](const JournalEntry& other) {
        return &other != &entry && FileIdentity::sameFile(entry.identity, other.identity);
    };
    return std::any_of(journal.entries.begin(), journal.entries.end(), alike);
}

// Whether `name`, one of the entry's names, holds its file. A file renamed
// only in case answers to both spellings, so the listing decides there.
bool holds(const JournalEntry& entry, const QString& name) {
    bool caseOnly =
        name != entry.staging && Filename::collisionKey(FilePath::lastComponent(entry.original)) ==
                                     Filename::collisionKey(FilePath::lastComponent(entry.final));
    return isAt(name, entry.identity, entry.parentIdentity) && (!caseOnly || listedAsSpelled(name));
}

// How to check the card or disk that holds `folder`, in a sentence's words.
QString volumeCheck(const QString& folder) {
    VolumeFormat format = VolumeFormat::other;
    try {
        format = PosixFileSystem::volumeFormat(FileSafety::directoryFD(folder).get());
    } catch (const RenameFailure&) {
    }
    switch (format) {
    case VolumeFormat::fat32:
        return QStringLiteral("a card check (fsck.vfat, or Windows' \"Scan and fix\")");
    case VolumeFormat::exfat:
        return QStringLiteral("a card check (fsck.exfat, or Windows' \"Scan and fix\")");
    default:
        return QStringLiteral("a disk check (chkdsk in Windows)");
    }
}

// What the person should know of a card that was pulled in the middle of a
// move and is now recovered: a file it kept under a second name, which shares
// the file's contents and so must not simply be deleted. That name may be
// none of the batch's: FAT32 can lose a long name and keep its short form
// ("TESSAR~2"), so each folder is looked through for its files' contents
// under names that are not theirs.
QStringList extraNameNotes(const RenameJournal& journal) {
    QMap<QString, QList<const JournalEntry*>> byFolder;
    QSet<QString> originals;
    for (const JournalEntry& entry : journal.entries) {
        originals.insert(entry.original);
        if (entry.identity.renumbered)
            byFolder[FilePath::parent(entry.original)].append(&entry);
    }
    QStringList notes;
    for (auto folder = byFolder.cbegin(); folder != byFolder.cend(); ++folder) {
        QMultiHash<std::uint64_t, const JournalEntry*> bySize;
        for (const JournalEntry* entry : folder.value())
            bySize.insert(entry->identity.size, entry);
        try {
            UniqueFd fd = FileSafety::directoryFD(folder.key());
            auto listing = PosixFileSystem::listFolder(fd.get());
            if (!listing)
                continue;
            for (const QByteArray& name : *listing.value) {
                const QString path = FilePath::joined(folder.key(), QString::fromUtf8(name));
                if (originals.contains(path))
                    continue;
                PosixFileSystem::Status status;
                try {
                    status = FileSafety::fileStat(QString::fromUtf8(name), fd.get());
                } catch (const RenameFailure&) {
                    continue;
                }
                for (const JournalEntry* entry : bySize.values(status.size)) {
                    if (!FileIdentity::sameFile(entry->identity, status.identity) ||
                        !holds(*entry, entry->original))
                        continue;
                    notes.append(
                        Filename::shown(FilePath::lastComponent(entry->original)) +
                        QStringLiteral(" is back under its name, and the card also kept it as ") +
                        Filename::shown(QString::fromUtf8(name)) +
                        QStringLiteral(". Both names share its contents, so delete neither: ") +
                        volumeCheck(folder.key()) + QStringLiteral(" clears the extra name."));
                    // Twins in one folder (a burst of identical photos) cannot
                    // be told apart here; either name gets the same advice.
                    break;
                }
            }
        } catch (const RenameFailure&) {
        }
    }
    return notes;
}

// A file a pulled card may have lost: exFAT can drop the one entry it was
// writing.
QStringList lostNotes(const QList<JournalEntry>& missing) {
    QStringList notes;
    for (const JournalEntry& entry : missing) {
        if (entry.identity.renumbered)
            notes.append(Filename::shown(FilePath::lastComponent(entry.original)) +
                         QStringLiteral(" may have been lost by its card when it was pulled: ") +
                         volumeCheck(FilePath::parent(entry.original)) +
                         QStringLiteral(" may bring it back."));
    }
    return notes;
}

} // namespace

// Held for the whole of execute, undo and recover. flock belongs to the open
// file description, so it excludes other threads, other engines on the same
// folder and other processes alike, and the kernel drops it if we crash.
class RenameEngine::Lock {
public:
    explicit Lock(UniqueFd fd) : fd(std::move(fd)) {}
    Lock(Lock&&) = default;
    ~Lock() {
        if (fd)
            PosixFileSystem::unlock(fd.get());
    }

private:
    UniqueFd fd;
};

// What an operation's observer hears: the files dealt with, as a share of the
// moves the operation takes, each value once. Reporting touches no disk, so an
// observer changes nothing about what a crash at any step leaves behind.
class RenameEngine::Steps {
public:
    Steps(const RenameProgress::Observer& observer, RenameProgress::Phase phase)
        : observer(observer), phase(phase) {}

    // `moves` is 0 while the operation is still looking at its files.
    void begin(qsizetype files, qsizetype moves) {
        this->files = files;
        this->moves = moves;
        taken = 0;
        report(0);
    }
    void moved() {
        ++taken;
        report(moves > 0 ? files * taken / moves : 0);
    }
    void end() { report(files); }

private:
    void report(qsizetype done) {
        RenameProgress now{phase, done, files};
        if (!observer || last == now)
            return;
        last = now;
        observer(now);
    }

    const RenameProgress::Observer& observer;
    const RenameProgress::Phase phase;
    std::optional<RenameProgress> last;
    qsizetype files = 0;
    qsizetype moves = 0;
    qsizetype taken = 0;
};

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

bool RenameEngine::journalExists(const char* name) const {
    QString path = FilePath::joined(folder, QLatin1String(name));
    auto status = PosixFileSystem::statPath(path.toUtf8());
    // Only a definite "no such file" means there is none. A journal that could
    // not be looked at is taken as present, so a new batch never starts over
    // an interrupted one that a failing disk hid for a moment.
    return status || status.error != ENOENT;
}

bool RenameEngine::hasRecovery() const {
    return journalExists(activeJournal);
}

RenameJournal RenameEngine::read(const char* name) const {
    UniqueFd file;
    try {
        UniqueFd journals = FileSafety::directoryFD(folder);
        if (auto opened = PosixFileSystem::openForReading(journals.get(), name))
            file = std::move(*opened.value);
    } catch (const RenameFailure&) {
    }
    if (!file)
        throw RenameFailure(QStringLiteral("No readable rename journal was found."));

    auto status = PosixFileSystem::statDescriptor(file.get());
    if (!status || !status.value->isRegular ||
        status.value->size > std::uint64_t(RenameJournal::maximumDocumentBytes))
        throw RenameFailure(QStringLiteral("The rename journal is not a regular file or exceeds "
                                           "the safe size limit. No files were changed."));
    // One byte more than allowed, so a file that grew since fstat is caught.
    auto bytes = PosixFileSystem::readUpTo(file.get(), RenameJournal::maximumDocumentBytes + 1);
    if (!bytes)
        platformFailure(bytes.error);
    if (bytes.value->size() > RenameJournal::maximumDocumentBytes)
        throw RenameFailure(QStringLiteral(
            "The rename journal exceeds the safe size limit. No files were changed."));
    RenameJournal journal = RenameJournal::decoded(*bytes.value);
    JournaledVolumes::follow(journal);
    return journal;
}

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

QByteArray RenameEngine::journalDocument(const RenameJournal& journal) {
    bool tooLarge = journal.entries.size() > RenameJournal::maximumEntries;
    for (const JournalEntry& entry : journal.entries) {
        tooLarge = tooLarge || utf8Length(entry.original) > RenameJournal::maximumPathBytes ||
                   utf8Length(entry.final) > RenameJournal::maximumPathBytes ||
                   utf8Length(entry.staging) > RenameJournal::maximumPathBytes;
    }
    if (tooLarge)
        throw RenameFailure(QStringLiteral("The batch or a complete file path is too large to "
                                           "journal safely. Shorten the folder path or filename. "
                                           "No new files were renamed."));
    QByteArray document = journal.encoded();
    if (document.size() > RenameJournal::maximumDocumentBytes)
        throw RenameFailure(QStringLiteral(
            "This batch exceeds the safe journal size limit. No new files were renamed."));
    // A journal that its own reader refuses would leave the user with files
    // nobody can recover, so it is read back before it may be written. Linux
    // keeps two folders whose names differ only in Unicode form apart, while
    // the reader counts their paths as one.
    try {
        RenameJournal::decoded(document);
    } catch (const RenameFailure&) {
        throw RenameFailure(QStringLiteral(
            "This batch cannot be journaled so that recovery could read it back: two of its "
            "paths differ only in Unicode form. Rename those files in separate batches. No new "
            "files were renamed."));
    }
    return document;
}

void RenameEngine::persist(const RenameJournal& journal, const char* target) {
    commit(journalDocument(journal), target, Commit::replacing);
}

void RenameEngine::commit(const QByteArray& document, const char* target, Commit mode) {
    UniqueFd journals;
    try {
        journals = FileSafety::directoryFD(folder);
    } catch (const RenameFailure&) {
        throw RenameFailure(QStringLiteral(
            "Cannot save a recovery journal. Check available disk space and folder access."));
    }
    const QByteArray temporary =
        (QStringLiteral(".journal-") + UuidText::text(QUuid::createUuid())).toUtf8();
    auto created = PosixFileSystem::createExclusive(journals.get(), temporary);
    if (!created)
        throw RenameFailure(QStringLiteral(
            "Cannot save a recovery journal. Check available disk space and folder access."));
    UniqueFd file = std::move(*created.value);
    // Whatever happens from here on, no temporary journal is left behind; after
    // a successful rename the name is already gone and removal fails harmlessly.
    struct RemoveTemporary {
        int folder;
        const QByteArray& name;
        UniqueFd& file;
        ~RemoveTemporary() {
            file.reset();
            PosixFileSystem::removeAt(folder, name);
        }
    } cleanup{journals.get(), temporary, file};

    if (PosixFileSystem::writeAll(file.get(), document) != 0)
        throw RenameFailure(
            QStringLiteral("Could not write the recovery journal. No new operation can start."));
    // The content must be on disk before its name is: otherwise a crash could
    // leave a journal name pointing at an empty or partial file.
    if (PosixFileSystem::sync(file.get()) != 0)
        throw RenameFailure(QStringLiteral("The recovery journal could not be saved to disk."));
    // The first version of an active journal never replaces anything: if one
    // appeared since the check in prepare, it belongs to an interrupted batch
    // and is worth more than this one. A link is exclusive on every file
    // system; the temporary name it leaves is removed below, and one left by a
    // crash in between is only a second name of the same journal.
    int refused = mode == Commit::exclusive
                      ? PosixFileSystem::linkExclusive(journals.get(), temporary, target)
                      : PosixFileSystem::renameReplacing(journals.get(), temporary, target);
    // A journal folder on a file system without hard links (FAT, some FUSE
    // volumes) gets the exclusive rename instead.
    if (mode == Commit::exclusive &&
        (refused == EPERM || refused == EOPNOTSUPP || refused == ENOSYS))
        refused = PosixFileSystem::renameExclusive(journals.get(), temporary, target);
    if (refused == EEXIST && mode == Commit::exclusive)
        throw RenameFailure(QStringLiteral("An interrupted batch needs recovery first."));
    if (refused != 0)
        throw RenameFailure(QStringLiteral("The recovery journal could not be committed."));
    // A journal folder on a card needs its new name written as a moved file's
    // is, or a pull leaves the name with an empty journal behind it.
    try {
        MoveFlushing flushing;
        flushing.moved(folder, journals.get(), QByteArray(target));
        flushing.settle();
    } catch (const RenameFailure&) {
        throw RenameFailure(QStringLiteral("Cannot sync the journal folder to disk."));
    }
}

void RenameEngine::syncJournalFolder() {
    UniqueFd journals = FileSafety::directoryFD(folder);
    if (PosixFileSystem::sync(journals.get()) != 0)
        throw RenameFailure(QStringLiteral("Cannot sync the journal folder to disk."));
}

void RenameEngine::finish(const RenameJournal& journal) {
    // Each step leaves a state from which running finish again ends the same
    // way, so recovery can repeat it after a crash between the steps.
    if (journal.purpose == JournalPurpose::rename)
        persist(journal, undoJournal);
    else if (journalExists(undoJournal))
        removeDurably(undoJournal);
    removeDurably(activeJournal);
}

void RenameEngine::removeDurably(const char* name) {
    {
        UniqueFd journals = FileSafety::directoryFD(folder);
        if (int error = PosixFileSystem::removeAt(journals.get(), QByteArray(name)))
            platformFailure(error);
    }
    syncJournalFolder();
}

void RenameEngine::undo(const RenameProgress::Observer& progress) {
    Lock held = lock();
    RenameJournal journal = read(undoJournal);
    Steps steps(progress, RenameProgress::Phase::undoing);
    steps.begin(journal.entries.size(), 0);
    QList<RenameIntent> intents;
    intents.reserve(journal.entries.size());
    // Every file is checked before anything moves: undo either starts with all
    // of them where the batch left them, or does not start.
    for (const JournalEntry& entry : journal.entries) {
        QString path = FilePath::standardized(entry.final);
        if (FileSafety::isInsidePackage(path))
            throw RenameFailure(
                QStringLiteral("Files inside application or document bundles are not supported."));
        auto now = FileSafety::record(QUrl::fromLocalFile(path), false);
        if (!FileIdentity::sameFile(entry.identity, now.file) &&
            entry.identity.device == JournaledVolumes::unrecognisedDevice)
            throw RenameFailure(
                QStringLiteral("The volume of ") + FilePath::lastComponent(path) +
                QStringLiteral(" was mounted again and cannot be recognised, so undo cannot be "
                               "sure it is the same file. No files were changed."));
        if (!FileIdentity::sameFile(entry.identity, now.file) ||
            !FileIdentity::sameFile(entry.parentIdentity, now.folder))
            throw RenameFailure(
                FilePath::lastComponent(path) +
                QStringLiteral(" was replaced or moved. Undo cannot safely continue."));
        intents.append(
            {FileRecord{path, now.file, now.folder}, FilePath::lastComponent(entry.original)});
    }
    perform(intents, JournalPurpose::undo, steps);
}

std::optional<QStringList> RenameEngine::recover(const RenameProgress::Observer& progress) {
    Lock held = lock();
    if (!hasRecovery())
        return std::nullopt;
    RenameJournal journal = read(activeJournal);
    Steps steps(progress, RenameProgress::Phase::recovering);
    steps.begin(journal.entries.size(), 0);
    if (journal.completed) {
        finish(journal);
        steps.end();
        return QStringList();
    }
    FolderLocks locks = lockFolders(journal);
    dropSecondNames(journal);
    // Every file is located before any moves, so a file on a volume that is not
    // mounted stops recovery with nothing moved anywhere.
    const QList<std::optional<QString>> found = locate(journal);
    for (qsizetype index = 0; index < found.size(); ++index) {
        if (!found[index]) {
            const JournalEntry& entry = journal.entries[index];
            QString failure = QStringLiteral("Recovery cannot find the original ") +
                              Filename::shown(FilePath::lastComponent(entry.original)) +
                              QStringLiteral(". Reconnect its volume or restore it to a recorded "
                                             "location, then retry. The journal remains in ") +
                              folder + QLatin1Char('.');
            for (const QString& note : lostNotes({entry}))
                failure += QLatin1Char(' ') + note;
            throw RenameFailure(failure);
        }
    }
    restore(journal, found, nullptr, steps);
    removeDurably(activeJournal);
    return extraNameNotes(journal);
}

SetAsideBatch RenameEngine::restoreFound(const RenameProgress::Observer& progress) {
    Lock held = lock();
    RenameJournal journal = read(activeJournal);
    Steps steps(progress, RenameProgress::Phase::restoring);
    steps.begin(journal.entries.size(), 0);
    if (journal.completed) {
        finish(journal);
        steps.end();
        return {};
    }
    FolderLocks locks = lockFolders(journal);
    dropSecondNames(journal);
    const QList<std::optional<QString>> found = locateForRestoring(journal);
    SetAsideBatch result;
    result.restored = restore(journal, found, &result.renamed, steps);
    result.missing = unfound(journal, found);
    result.notes = extraNameNotes(journal) + lostNotes(result.missing);
    if (result.missing.isEmpty() && result.renamed.isEmpty()) {
        removeDurably(activeJournal);
        return result;
    }
    // The journal is the only record of where the missing files were and under
    // which names; it is kept under a dated name that no operation acts on, and
    // it stops blocking new batches only once that name is on disk.
    const QString record = QStringLiteral("set-aside-") +
                           QDateTime::currentDateTimeUtc().toString(u"yyyyMMdd'T'HHmmss'Z'") +
                           QLatin1Char('-') + UuidText::text(journal.id) + QStringLiteral(".json");
    {
        UniqueFd journals = FileSafety::directoryFD(folder);
        if (int error =
                PosixFileSystem::renameReplacing(journals.get(), activeJournal, record.toUtf8()))
            platformFailure(error);
    }
    syncJournalFolder();
    result.record = FilePath::joined(folder, record);
    return result;
}

FolderLocks RenameEngine::lockFolders(const RenameJournal& journal) {
    QStringList folders;
    for (const JournalEntry& entry : journal.entries)
        folders.append(FilePath::parent(entry.original));
    folders.removeDuplicates();
    return FolderLocks::acquire(folders);
}

// Where each file of an unfinished batch is now: its staging name first (the
// only name no other file can have), then its original and its final name.
//
// On a card (FAT32, exFAT) a file is recognised by its size and times, not its
// inode, and two files of one batch may agree in all of them (raw photos of a
// burst). A name that is the original or final name of two such twins could
// hold either, so neither is taken to be there: such a file is found only
// under its staging name, and otherwise stays visible where it is.
//
// A FAT32 card pulled between the flush of a moved file and that of its
// folder keeps the one move in flight under both names: two entries that
// share the file's clusters. Removing or replacing either would free the
// clusters the other still uses, so a file found under its staging name and
// its original name counts as back where it was, and the staging entry stays
// as it is, for a card check to clear.
QList<std::optional<QString>> RenameEngine::locate(const RenameJournal& journal) const {
    // What recognises a file on a card, with one of its names.
    auto twinKey = [](const FileIdentity& identity, const QString& name) {
        return QStringLiteral("%1 %2 %3.%4 %5.%6 ")
                   .arg(identity.device)
                   .arg(identity.size)
                   .arg(identity.modifiedSeconds)
                   .arg(identity.modifiedNanos)
                   .arg(identity.birthSeconds)
                   .arg(identity.birthNanos) +
               name;
    };
    QHash<QString, int> claims;
    for (const JournalEntry& entry : journal.entries) {
        if (entry.identity.renumbered) {
            for (const QString& name : {entry.original, entry.final})
                ++claims[twinKey(entry.identity, name)];
        }
    }
    QList<std::optional<QString>> found;
    found.reserve(journal.entries.size());
    for (const JournalEntry& entry : journal.entries) {
        auto heldBy = [&](const QString& candidate) {
            bool contested = candidate != entry.staging && entry.identity.renumbered &&
                             claims.value(twinKey(entry.identity, candidate)) > 1;
            return !contested && holds(entry, candidate);
        };
        std::optional<QString> place;
        for (const QString& candidate : {entry.staging, entry.original, entry.final}) {
            if (heldBy(candidate)) {
                place = candidate;
                break;
            }
        }
        if (place == entry.staging && entry.identity.renumbered && heldBy(entry.original))
            place = entry.original;
        found.append(place);
    }
    return found;
}

// Where each file is for restoring what can be found: as recovery finds it,
// and also a file under its staging name that recovery does not know by its
// full identity. That one came there with this batch, since no other program
// makes a name with the batch's id in it; its identity can only have changed
// where the file system records no birth time and the volume came back under
// another device, and there it keeps its inode. The user chose this way out,
// so it comes back to a visible name rather than staying hidden; its entry
// takes the identities it has now.
QList<std::optional<QString>> RenameEngine::locateForRestoring(RenameJournal& journal) const {
    QList<std::optional<QString>> found = locate(journal);
    for (qsizetype index = 0; index < found.size(); ++index) {
        JournalEntry& entry = journal.entries[index];
        if (found[index])
            continue;
        try {
            FileSafety::Identities now =
                FileSafety::record(QUrl::fromLocalFile(entry.staging), true);
            if (now.file.inode == entry.identity.inode) {
                entry.identity = now.file;
                entry.parentIdentity = now.folder;
                found[index] = entry.staging;
            }
        } catch (const RenameFailure&) {
        }
    }
    return found;
}

// A move by link interrupted before its old name went leaves a file under its
// staging name and its original or final name, or, when it went straight to
// its new name, under its original and final name. Files are only recognised
// under a single name, and that second name would stand in the way of the
// file whose name it is, so it goes before anything is located. Only a second
// name of the very same inode goes, which loses no data; never on a card,
// whose two entries of one file are two inodes sharing clusters.
void RenameEngine::dropSecondNames(const RenameJournal& journal) {
    for (const JournalEntry& entry : journal.entries) {
        if (entry.identity.renumbered)
            continue;
        try {
            UniqueFd fd = FileSafety::directoryFD(FilePath::parent(entry.staging));
            const QByteArray staging = FilePath::lastComponent(entry.staging).toUtf8();
            const QByteArray original = FilePath::lastComponent(entry.original).toUtf8();
            const QByteArray final = FilePath::lastComponent(entry.final).toUtf8();
            ExclusiveMove::dropSecondName(fd.get(), staging, original);
            ExclusiveMove::dropSecondName(fd.get(), staging, final);
            ExclusiveMove::dropSecondName(fd.get(), original, final);
        } catch (const RenameFailure&) {
        }
    }
}

// Puts every found file back under its original name and returns how many.
// Through the staging names again, so exchanged or rotated names come back
// without meeting each other, whatever mix the interruption left. A file
// already at its original name stays put: moving it could only fail, as it
// does for ever on a file the user may not rename (an immutable file, or
// another user's file in a sticky folder). With `aside`, a file whose
// original name another program has taken since gets a name beside it
// instead of staying hidden, and is listed there.
qsizetype RenameEngine::restore(const RenameJournal& journal,
                                const QList<std::optional<QString>>& found,
                                QList<SetAsideBatch::Renamed>* aside, Steps& steps) {
    qsizetype moves = 0;
    for (qsizetype index = 0; index < journal.entries.size(); ++index) {
        const JournalEntry& entry = journal.entries[index];
        if (found[index] && *found[index] != entry.original)
            moves += *found[index] == entry.staging ? 1 : 2;
    }
    steps.begin(journal.entries.size(), moves);
    MoveFlushing flushing;
    // Moves that did happen are written out before a failure is reported, as
    // after every pass, so the next crash finds them as this one left them.
    struct SettleOnFailure {
        MoveFlushing& flushing;
        ~SettleOnFailure() {
            if (std::uncaught_exceptions() == 0)
                return;
            try {
                flushing.settle();
            } catch (const RenameFailure&) {
            }
        }
    } settleOnFailure{flushing};
    QList<std::optional<QString>> at = found;
    for (qsizetype index = 0; index < journal.entries.size(); ++index) {
        const JournalEntry& entry = journal.entries[index];
        if (at[index] && *at[index] != entry.staging && *at[index] != entry.original) {
            move(*at[index], entry.staging, entry.identity, entry.parentIdentity, flushing);
            at[index] = entry.staging;
            steps.moved();
        }
    }
    flushing.settle();
    // A FAT32 card pulled in the middle of a move to the final name keeps the
    // file under its staging and its final entry, both on its clusters (see
    // locate). The staging entry cannot be moved onto the original name while
    // the final entry stands in another file's way, nor may either entry be
    // removed; so the final entry goes back to the original name, now free,
    // and the staging entry stays for a card check.
    for (qsizetype index = 0; index < journal.entries.size(); ++index) {
        const JournalEntry& entry = journal.entries[index];
        if (at[index] == entry.staging && entry.identity.renumbered && holds(entry, entry.final) &&
            !hasTwin(journal, entry)) {
            move(entry.final, entry.original, entry.identity, entry.parentIdentity, flushing);
            at[index] = entry.original;
            steps.moved();
        }
    }
    qsizetype restored = 0;
    for (qsizetype index = 0; index < journal.entries.size(); ++index) {
        const JournalEntry& entry = journal.entries[index];
        if (!at[index])
            continue;
        ++restored;
        if (*at[index] == entry.original)
            continue;
        const QString original = FilePath::lastComponent(entry.original);
        QString name = move(entry.staging, entry.original, entry.identity, entry.parentIdentity,
                            flushing, aside ? besideNames(original) : QStringList());
        steps.moved();
        if (name != original) {
            aside->append({entry, name});
            --restored;
        }
    }
    flushing.settle();
    steps.end();
    return restored;
}

QList<JournalEntry> RenameEngine::missingFiles() const {
    RenameJournal journal = read(activeJournal);
    if (journal.completed)
        return {};
    return unfound(journal, locateForRestoring(journal));
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
