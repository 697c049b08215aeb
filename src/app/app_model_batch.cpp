// Adding, removing and clearing files, and the operations that change names
// on disk: rename, undo, recovery and restoring the files that can be found.

#include "app/app_model.h"
#include "core/base/batch_limit.h"

#include "app/background.h"

#include "core/base/rename_failure.h"
#include "core/batch/file_record.h"
#include "core/batch/folder_authorization.h"
#include "core/import/file_import.h"

#include <QCoreApplication>
#include <QPointer>

#include <chrono>

namespace {

QString counted(qsizetype count, const char* one, const char* many) {
    return QString::number(count) + QLatin1Char(' ') + QLatin1String(count == 1 ? one : many);
}

// About 30 reports a second: as often as a person can read a count change,
// and few enough that the window stays responsive while 10,000 moves report.
constexpr std::chrono::milliseconds progressInterval(33);

const QString recoveredNotice = QStringLiteral(
    "Recovery finished. Original names restored, or the completed batch was saved for undo.");

// Runs `work` and returns the sentence of its failure, if any.
template <typename Work> std::optional<QString> failureOf(Work work) {
    try {
        work();
    } catch (const RenameFailure& failure) {
        return failure.message;
    } catch (const std::exception& failure) {
        // Anything else must still reach the person as a sentence, not end
        // the app while names are changing.
        return QString::fromUtf8(failure.what());
    }
    return std::nullopt;
}

struct RecoveryOutcome {
    std::optional<QString> failure;
    QList<JournalEntry> missing;
    QStringList notes;
};

struct RestoreOutcome {
    std::optional<QString> failure;
    SetAsideBatch batch;
};

QString restoredNotice(const SetAsideBatch& batch) {
    // No record and nothing restored: the batch had finished renaming, and
    // restoring it was plain recovery.
    if (batch.record.isEmpty() && batch.restored == 0)
        return recoveredNotice;
    QStringList sentences;
    if (batch.restored > 0 || batch.renamed.isEmpty())
        sentences.append(batch.restored == 1
                             ? QStringLiteral("1 file is back under its original name.")
                             : QStringLiteral("%1 files are back under their original names.")
                                   .arg(batch.restored));
    if (batch.renamed.size() == 1)
        sentences.append(FilePath::lastComponent(batch.renamed.front().entry.original) +
                         QStringLiteral(" is back as ") + batch.renamed.front().name +
                         QStringLiteral(", because another file has taken its original name."));
    else if (batch.renamed.size() > 1)
        sentences.append(QStringLiteral("%1 files are back beside their original names, which "
                                        "other files have taken.")
                             .arg(batch.renamed.size()));
    const QString record = FilePath::lastComponent(batch.record);
    if (batch.missing.size() == 1)
        sentences.append(QStringLiteral("1 file could not be found; its names are kept in ") +
                         record + QStringLiteral(" in the journal folder."));
    else if (batch.missing.size() > 1)
        sentences.append(QStringLiteral("%1 files could not be found; their names are kept in ")
                             .arg(batch.missing.size()) +
                         record + QStringLiteral(" in the journal folder."));
    else if (!batch.record.isEmpty())
        sentences.append(QStringLiteral("The batch's journal is kept as ") + record +
                         QStringLiteral(" in the journal folder."));
    sentences += batch.notes;
    return sentences.join(QLatin1Char(' '));
}

// The folders recovery may need access to. A folder that is gone (its volume
// unplugged for good, or deleted) cannot be chosen in a dialog, and recovery
// touches nothing in it: it finds no file there and says so, and restoring
// what can be found sets those files aside. Asking for it would only stop the
// user before either.
QList<QUrl> existingFolders(const QList<QUrl>& folders) {
    QList<QUrl> existing;
    for (const QUrl& folder : folders) {
        try {
            FolderAuthorization::directoryIdentity(folder);
            existing.append(folder);
        } catch (const RenameFailure&) {
        }
    }
    return existing;
}

} // namespace

void AppModel::setBusy(bool busy, bool mutating) {
    assign(busy_, busy, &AppModel::busyChanged);
    assign(mutatingFiles_, mutating, &AppModel::mutatingFilesChanged);
    // The count of a finished operation must not stay in the notice; each
    // operation sets its own notice after this.
    if (!busy && progress_) {
        assign(progress_, std::optional<RenameProgress>(), &AppModel::progressChanged);
        setNotice(QString());
    }
}

// The returned observer runs on the background task's thread, where it may
// not touch the model: it queues each report to the main thread, dropping
// those that follow the last queued one too closely. The final count always
// passes, so the last thing shown is the whole batch.
RenameProgress::Observer AppModel::startProgress(RenameProgress::Phase phase,
                                                 void (AppModel::*show)(const RenameProgress&)) {
    (this->*show)({phase, 0, 0});
    QPointer<AppModel> model(this);
    std::chrono::steady_clock::time_point queued;
    return [model, queued, show](const RenameProgress& progress) mutable {
        auto now = std::chrono::steady_clock::now();
        if (progress.done < progress.total && now - queued < progressInterval)
            return;
        queued = now;
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [model, progress, show] {
                if (model)
                    (model.data()->*show)(progress);
            },
            Qt::QueuedConnection);
    };
}

void AppModel::showProgress(const RenameProgress& progress) {
    // Reports are queued before the task's result, so none arrives after its
    // operation ended; this guards the model against one that would.
    if (!busy_)
        return;
    assign(progress_, std::optional<RenameProgress>(progress), &AppModel::progressChanged);
    setNotice(progress.text());
}

void AppModel::openFiles(bool folders) {
    if (busy_ || authorizingFolders_ || hasModalEditor())
        return;
    FileDialogs::OpenRequest request;
    request.chooseFiles = !folders;
    request.chooseFolders = folders;
    request.multiple = true;
    request.prompt = folders ? QStringLiteral("Add folder") : QStringLiteral("Add files");
    request.message = folders ? QStringLiteral("Imports visible files directly inside each folder. "
                                               "Subfolders, bundles, and links are skipped.")
                              : QStringLiteral("Files are renamed in their current folders. "
                                               "Contents and extensions stay intact.");
    QList<QUrl> chosen = services.dialogs.open(request);
    if (chosen.isEmpty())
        return;
    add(chosen, folders ? chosen : QList<QUrl>());
}

void AppModel::add(const QList<QUrl>& items, const QList<QUrl>& selectedFolders) {
    if (busy_ || authorizingFolders_ || hasModalEditor())
        return;
    QList<QUrl> required;
    try {
        // Choosing a folder in the add panel is itself the permission for it.
        for (const QUrl& folder : selectedFolders)
            rememberFolder(folder);
        required = FolderAuthorization::requiredFolders(items);
    } catch (const RenameFailure& failure) {
        setError(failure.message);
        return;
    }
    QString reason =
        items.size() == 1
            ? QStringLiteral("You selected ‘") +
                  FilePath::lastComponent(FilePath::standardized(items.front().toLocalFile())) +
                  QStringLiteral("’.")
            : QStringLiteral("You selected %1 items.").arg(items.size());
    if (!authorizeFolders(required, reason))
        return;

    setBusy(true, false);
    runInBackground(
        this,
        [items, existing = files_, progress = startProgress(RenameProgress::Phase::adding)] {
            return FileImport::collect(items, existing, batchLimit, progress);
        },
        [this](const ImportResult& result) {
            assign(files_, result.files, &AppModel::filesChanged);
            readFacts();
            refreshPreview();
            setBusy(false, false);
            refreshPreview();
            assign(importDetails_, result.skipped.join(QLatin1Char('\n')),
                   &AppModel::importDetailsChanged);
            qsizetype count = files_.size();
            if (result.reachedLimit)
                setNotice(QStringLiteral("Added up to 5,000 files. Remaining items were skipped."));
            else if (!result.skipped.isEmpty())
                setNotice(counted(count, "file", "files") +
                          QStringLiteral(" added. Some unsupported items were skipped."));
            else
                showImportCount(count);
        });
}

void AppModel::showImportCount(qsizetype count) {
    setNotice(counted(count, "file", "files") + sortedBy());
    noticedImport = count;
}

// The order the preview lists the batch in: natural filename order unless
// the rules number it by a date or by size.
QString AppModel::sortedBy() const {
    if (mode_ != RenameMode::rules || rules_.order == NameOrder::name)
        return QStringLiteral(" · naturally sorted by name");
    if (rules_.order == NameOrder::arranged)
        return QStringLiteral(" · as arranged") +
               (rules_.descending ? QStringLiteral(", descending") : QString());
    QString key = rules_.order == NameOrder::taken      ? QStringLiteral("date taken")
                  : rules_.order == NameOrder::modified ? QStringLiteral("date modified")
                                                        : QStringLiteral("size");
    return QStringLiteral(" · sorted by ") + key +
           (rules_.descending ? QStringLiteral(", descending") : QString());
}

bool AppModel::receiveDrop(const QMimeData& data) {
    if (batchControlsDisabled())
        return false;
    QList<QUrl> items;
    for (const QUrl& url : data.urls()) {
        if (url.isLocalFile())
            items.append(url);
    }
    // After the drop has finished: adding may ask for folder access in a
    // modal panel, which must not run inside the drop itself.
    QMetaObject::invokeMethod(
        this, [this, items] { add(items, {}); }, Qt::QueuedConnection);
    return true;
}

void AppModel::removeSelected() {
    if (busy_ || authorizingFolders_ || hasModalEditor() || selection_.isEmpty())
        return;
    QList<FileRecord> kept;
    for (const FileRecord& file : files_) {
        if (!selection_.contains(file.id()))
            kept.append(file);
    }
    assign(files_, kept, &AppModel::filesChanged);
    // One added again comes after the others, as any file added later.
    arrangement.removeIf([this](const QString& id) { return selection_.contains(id); });
    refreshPreview();
    assign(selection_, QSet<QString>(), &AppModel::selectionChanged);
    refreshPreview();
    setNotice(QStringLiteral("Selection removed from this batch. Files on disk are unchanged."));
}

void AppModel::clear() {
    if (busy_ || authorizingFolders_ || hasModalEditor())
        return;
    assign(files_, QList<FileRecord>(), &AppModel::filesChanged);
    arrangement.clear();
    refreshPreview();
    assign(rows_, QList<PreviewRow>(), &AppModel::rowsChanged);
    assign(selection_, QSet<QString>(), &AppModel::selectionChanged);
    setNotice(QString());
    assign(importDetails_, QString(), &AppModel::importDetailsChanged);
    assign(mappingText_, QString(), &AppModel::mappingTextChanged);
    assign(mappingInputError_, std::optional<QString>(), &AppModel::mappingInputErrorChanged);
    refreshPreview();
    setMappingFormat(MappingFormat::automatic);
    // Nothing is left to preview: the pending computation is dropped for good.
    previewDelay.stop();
    abandonObservation(pendingInputs);
    pendingInputs.reset();
    ++previewGeneration;
    assign(previewing_, false, &AppModel::previewingChanged);
    assign(mappingDiagnostics_, QList<MappingDiagnostic>(), &AppModel::mappingDiagnosticsChanged);
    assign(mappingCount_, qsizetype(0), &AppModel::mappingCountChanged);
    notedFiles_.clear();
    assign(volumeNote_, std::optional<QString>(), &AppModel::volumeNoteChanged);
}

void AppModel::finishFileOperation(const std::optional<QString>& failure,
                                   const QString& successNotice) {
    setBusy(false, false);
    refreshJournal();
    if (failure) {
        setError(*failure);
        refreshPreview();
        return;
    }
    clear();
    setNotice(successNotice);
}

void AppModel::rename() {
    if (!canRename())
        return;
    setBusy(true, true);
    QList<RenameIntent> intents;
    intents.reserve(rows_.size());
    for (const PreviewRow& row : rows_)
        intents.append(row.intent);
    const qsizetype changes = changedCount();
    runInBackground(
        this,
        [engine = engine, intents, progress = startProgress(RenameProgress::Phase::renaming)] {
            return failureOf([&] { engine->execute(intents, batchLimit, progress); });
        },
        [this, changes](const std::optional<QString>& failure) {
            finishFileOperation(failure,
                                counted(changes, "file", "files") +
                                    QStringLiteral(" renamed. You can undo this batch, even after "
                                                   "reopening Tessary."));
        });
}

void AppModel::runRecoveryAction(bool recover) {
    if (!engine || batchControlsDisabled())
        return;
    if (recover ? !hasRecovery_ : (hasRecovery_ || undoCount_ < 1))
        return;
    QList<QUrl> folders;
    try {
        folders = engine->journalFolders(recover);
    } catch (const RenameFailure& failure) {
        setError(failure.message);
        return;
    }
    QString reason =
        recover ? QStringLiteral("Recovering this interrupted batch requires its original folders.")
                : QStringLiteral("Undoing the last batch requires its containing folders.");
    if (!authorizeFolders(recover ? existingFolders(folders) : folders, reason))
        return;

    setBusy(true, true);
    runInBackground(
        this,
        [engine = engine, recover,
         progress = startProgress(recover ? RenameProgress::Phase::recovering
                                          : RenameProgress::Phase::undoing)] {
            RecoveryOutcome outcome;
            outcome.failure = failureOf([&] {
                outcome.notes = recover ? engine->recover(progress).value_or(QStringList())
                                        : engine->undo(progress);
            });
            // Asked here, off the main thread: finding files may wait on
            // a slow volume. Whatever stopped recovery (a missing file, or
            // an original name another program has taken), restoring what
            // can be found is the way out, and the confirmation names the
            // files it would leave.
            if (recover && outcome.failure)
                (void)failureOf([&] { outcome.missing = engine->missingFiles(); });
            return outcome;
        },
        [this, recover](const RecoveryOutcome& outcome) {
            const QString done = recover ? recoveredNotice
                                         : QStringLiteral("The last batch was undone. "
                                                          "Original names restored.");
            finishFileOperation(outcome.failure,
                                (QStringList{done} + outcome.notes).join(QLatin1Char(' ')));
            if (recover && hasRecovery_) {
                assign(missingFiles_, outcome.missing, &AppModel::missingFilesChanged);
                assign(recoveryFailed_, outcome.failure.has_value(),
                       &AppModel::recoveryFailedChanged);
            }
        });
}

void AppModel::restoreFound() {
    if (!canRestoreFound())
        return;
    QList<QUrl> folders;
    try {
        folders = engine->journalFolders(true);
    } catch (const RenameFailure& failure) {
        setError(failure.message);
        return;
    }
    if (!authorizeFolders(existingFolders(folders),
                          QStringLiteral("Restoring the files of this interrupted batch "
                                         "requires their original folders.")))
        return;

    setBusy(true, true);
    runInBackground(
        this,
        [engine = engine, progress = startProgress(RenameProgress::Phase::restoring)] {
            RestoreOutcome outcome;
            outcome.failure = failureOf([&] { outcome.batch = engine->restoreFound(progress); });
            return outcome;
        },
        [this](const RestoreOutcome& outcome) {
            finishFileOperation(outcome.failure, restoredNotice(outcome.batch));
        });
}
