#pragma once

#include "core/base/rename_progress.h"
#include "core/batch/folder_locks.h"
#include "core/batch/rename_intent.h"
#include "core/journal/journal_purpose.h"
#include "core/journal/rename_journal.h"
#include "core/journal/set_aside_batch.h"
#include "core/platform/unique_fd.h"
#include "core/reports/rename_report.h"

#include <QList>
#include <QString>
#include <QUrl>

#include <optional>

class MoveFlushing;

// The only component that renames the user's files. Every batch is journaled
// durably before the first file moves, every file passes through a hidden
// staging name in its own folder, every single rename is exclusive and is
// preceded by a check that the file and its folder are still the ones that
// were added, and every step is flushed to disk. A crash at any instant leaves
// each file at its original, staging or final name, and a journal that says
// which.
//
// The engine's state lives on disk in its journal folder: "active.json" (a
// batch not yet finished), "undo.json" (the last completed batch) and ".lock".
// Operations are synchronous and may block on the disk; `execute`, `undo` and
// `recover` take an exclusive lock that fails at once when another thread or
// process holds it. The read-only views take no lock. Those three and
// `restoreFound` tell an optional observer how far they have got, between
// their steps.
class RenameEngine {
public:
    // Creates the journal folder (0700) when missing and checks that it opens
    // without following links. Throws RenameFailure.
    explicit RenameEngine(const QString& directory);

    QString directory() const { return folder; }

    // Renames every intent whose name changes; `limit` is clamped to 0 to 5,000.
    // The whole batch is judged again first: any problem on any row refuses it
    // before anything is written. Throws RenameFailure.
    void execute(const QList<RenameIntent>& intents, qsizetype limit,
                 const RenameProgress::Observer& progress = {});

    // True while an interrupted batch waits for `recover`.
    bool hasRecovery() const;

    // Reverses the last completed batch, as a journaled batch of its own.
    // Returns what the person should know of the result, in sentences, as
    // `recover` does: a card may still hold a file under a second name.
    QStringList undo(const RenameProgress::Observer& progress = {});

    // Finishes a batch that was interrupted after all its files had their new
    // names, or otherwise puts every file of it back under its original name.
    // Nothing when no batch was waiting, which is no failure: people recover
    // by habit after any crash. Otherwise what the person should know of the
    // result, in sentences: usually none, but a card pulled in the middle of a
    // move can keep a file under a second name.
    std::optional<QStringList> recover(const RenameProgress::Observer& progress = {});

    // The way out when recovery cannot find some files, because another
    // program replaced them or their volume is gone for good. Every file that
    // is found, with its identity checked as recovery checks it, goes back to
    // its original name through its staging name; files that are not found are
    // left alone, and the active journal is kept as a dated record in the
    // journal folder rather than deleted. A file whose original name another
    // program took meanwhile comes back beside it, as "name (restored).ext". Throws RenameFailure;
    // the active journal stays after any failure.
    SetAsideBatch restoreFound(const RenameProgress::Observer& progress = {});

    // The entries of the active journal whose file `restoreFound` would not
    // find right now. Takes no lock and moves nothing; throws the reader's
    // failures.
    QList<JournalEntry> missingFiles() const;

    // The file names of the batches set aside by `restoreFound`, oldest first.
    QStringList setAsideRecords() const;

    // Files in the undo journal; 0 when there is none or it cannot be read.
    qsizetype undoCount() const;

    // The folders holding the files of the active journal (`recovery`) or of the
    // undo journal, sorted, each once. Throws the reader's failures.
    QList<QUrl> journalFolders(bool recovery) const;

    // The receipt of the last completed rename batch; nothing while a batch
    // awaits recovery or when there is no undo journal.
    std::optional<RenameReport> completedReport() const;

private:
    class Lock;
    class Steps;

    Lock lock() const;
    RenameJournal read(const char* name) const;
    RenameJournal prepare(const QList<RenameIntent>& intents, JournalPurpose purpose,
                          FolderLocks& locks);
    void perform(const QList<RenameIntent>& intents, JournalPurpose purpose, Steps& steps);
    // The checked move of one file inside its folder; when `to` is taken, the
    // last components in `alternatives` are tried in turn. Returns the last
    // component the file took.
    QString move(const QString& from, const QString& to, const FileIdentity& identity,
                 const FileIdentity& parentIdentity, MoveFlushing& flushing,
                 const QStringList& alternatives = {});
    static bool namesStayApart(const RenameJournal& journal);
    enum class Commit { exclusive, replacing };
    static QByteArray journalDocument(const RenameJournal& journal);
    void persist(const RenameJournal& journal, const char* target);
    void commit(const QByteArray& document, const char* target, Commit mode);
    void finish(const RenameJournal& journal);
    void removeDurably(const char* name);
    static FolderLocks lockFolders(const RenameJournal& journal);
    QList<std::optional<QString>> locate(const RenameJournal& journal) const;
    QList<std::optional<QString>> locateForRestoring(RenameJournal& journal) const;
    qsizetype restore(const RenameJournal& journal, const QList<std::optional<QString>>& found,
                      QList<SetAsideBatch::Renamed>* aside, Steps& steps);
    static void dropSecondNames(const RenameJournal& journal);
    void syncJournalFolder();
    void probeExclusiveRename(const QList<JournalEntry>& entries, const QUuid& batch);
    bool journalExists(const char* name) const;

    QString folder;
};
