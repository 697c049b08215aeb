#include "core/engine/rename_engine.h"

#include "core/base/rename_failure.h"
#include "core/base/uuid_text.h"
#include "core/batch/file_record.h"
#include "core/batch/file_safety.h"
#include "core/engine/engine_parts.h"
#include "core/engine/move_flushing.h"
#include "core/journal/journaled_volumes.h"
#include "core/naming/filename.h"
#include "core/platform/posix_file_system.h"

#include <QDateTime>
#include <QHash>
#include <QMap>
#include <QSet>

using namespace EngineParts;

namespace {

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
                        volumeCheck(folder.key()) +
                        QStringLiteral(" separates them and may empty either one; then keep "
                                       "the one that is not empty, under the name ") +
                        Filename::shown(FilePath::lastComponent(entry->original)) +
                        QLatin1Char('.'));
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

QStringList RenameEngine::undo(const RenameProgress::Observer& progress) {
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
        // A FAT32 card cut in the middle of an earlier undo can keep a file
        // under its original name too, an entry sharing its clusters that
        // recovery left in place, and a card check may since have emptied
        // either entry. Where the original name holds the file, it is home:
        // moving it onto that entry would be refused, and removing either
        // would free clusters the other uses.
        if (entry.identity.renumbered && !hasTwin(journal, entry) && holds(entry, entry.original))
            continue;
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
    if (intents.isEmpty()) {
        removeDurably(undoJournal);
        steps.end();
    } else {
        perform(intents, JournalPurpose::undo, steps);
    }
    return extraNameNotes(journal);
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
