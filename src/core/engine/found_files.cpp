#include "core/engine/rename_engine.h"

#include "core/base/rename_failure.h"
#include "core/batch/file_safety.h"
#include "core/engine/engine_parts.h"
#include "core/naming/filename.h"
#include "core/platform/exclusive_move.h"
#include "core/platform/posix_file_system.h"

#include <QHash>

#include <algorithm>

// Where the files of a batch are now: what recovery, restoring and undo
// look for before they move anything.

namespace {

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

} // namespace

namespace EngineParts {

bool hasTwin(const RenameJournal& journal, const JournalEntry& entry) {
    auto alike = [&](const JournalEntry& other) {
        return &other != &entry && FileIdentity::sameFile(entry.identity, other.identity);
    };
    return std::any_of(journal.entries.begin(), journal.entries.end(), alike);
}

bool holds(const JournalEntry& entry, const QString& name) {
    bool caseOnly =
        name != entry.staging && Filename::collisionKey(FilePath::lastComponent(entry.original)) ==
                                     Filename::collisionKey(FilePath::lastComponent(entry.final));
    return isAt(name, entry.identity, entry.parentIdentity) && (!caseOnly || listedAsSpelled(name));
}

} // namespace EngineParts

using namespace EngineParts;

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
