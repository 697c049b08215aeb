#include "core/engine/rename_engine.h"

#include "core/base/rename_failure.h"
#include "core/base/uuid_text.h"
#include "core/batch/file_record.h"
#include "core/batch/file_safety.h"
#include "core/engine/engine_parts.h"
#include "core/engine/move_flushing.h"
#include "core/journal/journaled_volumes.h"
#include "core/platform/posix_file_system.h"

#include <cerrno>

using namespace EngineParts;

namespace {

qsizetype utf8Length(const QString& text) {
    return text.toUtf8().size();
}

} // namespace

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
