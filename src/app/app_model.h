#pragma once

#include "app/platform_services.h"
#include "app/preview_computation.h"
#include "app/rename_mode.h"

#include "core/base/rename_progress.h"
#include "core/batch/file_record.h"
#include "core/engine/rename_engine.h"
#include "core/import/import_result.h"
#include "core/journal/journal_entry.h"
#include "core/mapping/mapping_document.h"
#include "core/mapping/mapping_format.h"
#include "core/naming/file_facts.h"
#include "core/naming/recipe.h"
#include "core/naming/rename_rules.h"
#include "core/platform/file_identity.h"
#include "core/preview/preview_row.h"
#include "core/reports/rename_report.h"

#include <QFutureWatcher>
#include <QHash>
#include <QList>
#include <QMimeData>
#include <QObject>
#include <QProcessEnvironment>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>

// The application's one controller. It holds the batch, the rules or the
// spreadsheet text, the live preview, the engine's journal state, the saved
// recipes and every flag, notice and error the window shows, and it decides
// what may happen when. Views only read it, call its operations and listen
// to its signals: every published field has a change signal, and `changed`
// follows any of them.
//
// Lives on the main thread. Slow work (the preview, imports, renames, undo,
// recovery) runs on the thread pool with copies of its inputs; results come
// back to the main thread through the event loop.
class AppModel : public QObject {
    Q_OBJECT

public:
    using PreviewComputation = std::function<PreviewResult(const PreviewInputs&)>;

    struct Startup {
        // The journal folder; empty selects the per-user data folder's "Tessary".
        std::optional<QString> journalDirectory;
        QStringList arguments;
        QProcessEnvironment environment;

        // The process's own arguments and environment.
        static Startup fromProcess();
    };

    AppModel(const PlatformServices& services, const Startup& startup, QObject* parent = nullptr);
    ~AppModel() override;

    // Published fields.
    const QList<FileRecord>& files() const { return files_; }
    const QList<PreviewRow>& rows() const { return rows_; }
    RenameMode mode() const { return mode_; }
    const QString& mappingText() const { return mappingText_; }
    MappingFormat mappingFormat() const { return mappingFormat_; }
    const QList<MappingDiagnostic>& mappingDiagnostics() const { return mappingDiagnostics_; }
    qsizetype mappingCount() const { return mappingCount_; }
    // A line for the summary when folders of the batch are on network or FUSE
    // volumes; never a problem.
    const std::optional<QString>& volumeNote() const { return volumeNote_; }
    const std::optional<QString>& mappingInputError() const { return mappingInputError_; }
    bool checkWindows() const { return checkWindows_; }
    bool showMappingEditor() const { return showMappingEditor_; }
    const std::optional<RenameReport>& completedReport() const { return completedReport_; }
    const RenameRules& rules() const { return rules_; }
    const std::optional<Recipe>& selectedRecipe() const { return selectedRecipe_; }
    const QSet<QString>& selection() const { return selection_; }
    const QList<Recipe>& savedRecipes() const { return savedRecipes_; }
    bool busy() const { return busy_; }
    bool mutatingFiles() const { return mutatingFiles_; }
    bool authorizingFolders() const { return authorizingFolders_; }
    bool previewing() const { return previewing_; }
    bool hasRecovery() const { return hasRecovery_; }
    qsizetype undoCount() const { return undoCount_; }
    // Whether the last recovery attempt failed and left the interrupted batch;
    // restoreFound() is offered from then on.
    bool recoveryFailed() const { return recoveryFailed_; }
    // The files of the interrupted batch that the last recovery attempt could
    // not find.
    const QList<JournalEntry>& missingFiles() const { return missingFiles_; }
    // How many batches restoreFound() set aside as records in the journal folder.
    qsizetype setAsideCount() const { return setAsideCount_; }
    bool showConfirmation() const { return showConfirmation_; }
    bool showRestoreConfirmation() const { return showRestoreConfirmation_; }
    bool showSaveRecipe() const { return showSaveRecipe_; }
    bool showTutorial() const { return showTutorial_; }
    const QString& recipeName() const { return recipeName_; }
    const QString& notice() const { return notice_; }
    const std::optional<QString>& error() const { return error_; }
    const QString& importDetails() const { return importDetails_; }
    // How far the running import, rename, undo or recovery has got; empty
    // when none runs. While it is set, the notice shows its text.
    const std::optional<RenameProgress>& progress() const { return progress_; }
    // How far reading the dates of newly added files has got; empty when no
    // reading runs. It runs beside everything else, and a preview whose rules
    // name or order by date waits for it.
    const std::optional<RenameProgress>& readingProgress() const { return readingProgress_; }

    // Fields the window writes directly. Mode, format, Windows check and rules
    // refresh the preview when they change.
    void setMode(RenameMode mode);
    void setMappingFormat(MappingFormat format);
    void setCheckWindows(bool check);
    void setRules(const RenameRules& rules);
    void setSelection(const QSet<QString>& selection);
    // Selects the preview row `id` and every row whose new name collides with
    // its own (same folder, same name ignoring case and Unicode form), so the
    // files of one conflict can be seen and removed together.
    void selectConflict(const QString& id);
    void setRecipeName(const QString& name);
    void setShowConfirmation(bool show);
    void setShowRestoreConfirmation(bool show);
    void setShowSaveRecipe(bool show);
    void setShowTutorial(bool show);
    void setShowMappingEditor(bool show);
    void setError(const std::optional<QString>& error);

    // Derived values, computed on every read.
    qsizetype changedCount() const;
    // "5000 files need 4 digits" when the sequence's last number has more
    // digits than the rules give it, so that the names would be uneven and no
    // longer sort; else empty.
    QString digitsNote() const;
    qsizetype conflicts() const;
    bool overLimit() const;
    bool isFresh() const;
    QString recipeTitle() const;
    bool hasModalEditor() const;
    bool batchControlsDisabled() const;
    bool canPresentTutorial() const;
    bool canRename() const;
    bool canRestoreFound() const;
    // The original names of the missing files as a confirmation lists them:
    // the first ten, then how many more there are.
    QStringList missingFileNames() const;
    std::optional<RenameReport> previewReport() const;
    // Whether previewReport() would give a report, without building one: the
    // window asks on every change.
    bool hasPreviewReport() const;
    bool hasEngine() const { return engine != nullptr; }
    // Where the engine keeps its journals; empty without an engine.
    QString journalFolder() const { return engine ? engine->directory() : QString(); }
    bool isDemo() const { return demo; }

    // The demonstration workspace's root: TESSARY_DEMO_ROOT when it is an
    // absolute path, else "Tessary-demo" in the temporary folder.
    static QString demoRoot(const QProcessEnvironment& environment);

    // Live preview.
    void refreshPreview();
    void refreshJournal();

    // Batch actions.
    void openFiles(bool folders);
    void add(const QList<QUrl>& items, const QList<QUrl>& selectedFolders);
    bool receiveDrop(const QMimeData& data);
    void removeSelected();
    // Moves the selected rows one place up (`offset` -1) or down (+1) in the
    // preview, or the rows `ids` to stand before the row now at `before`
    // (after the last when `before` is past it). The batch is numbered as
    // arranged from then on: the sequence follows.
    void moveSelection(int offset);
    void moveRows(const QStringList& ids, qsizetype before);
    // A new name typed for the file `id`, in place of the rules' name until
    // it is reset or the file leaves the batch. Rules mode only; an empty
    // name resets it.
    bool canNameByHand() const;
    void nameByHand(const QString& id, const QString& name);
    // Whether a selected row was named by hand; resetting gives the selected
    // rows the rules' names again.
    bool canResetNames() const;
    void resetSelectedNames();
    void clear();
    void rename();
    void runRecoveryAction(bool recover);
    // The way out of a recovery that cannot find some files: every file that
    // is found goes back to its original name, and the batch's journal is
    // kept as a record of the missing ones. The window confirms first.
    void restoreFound();

    // Folder grants.
    void rememberFolder(const QUrl& folder);
    bool authorizeFolders(const QList<QUrl>& folders, const QString& reason);

    // Recipes.
    void apply(const Recipe& recipe);
    void saveRecipe();
    void deleteRecipe(const Recipe& recipe);
    void startFresh();

    // Spreadsheet.
    void editSpreadsheet();
    void updateMappingText(const QString& text);
    void pasteMapping();
    void openMappingFile();
    void loadMapping(const QUrl& file);
    void clearMapping();

    // Reports and the tutorial.
    void exportReport(bool completed);
    void presentTutorial();
    // Opens the journal folder in the file manager, or a help page in the
    // browser; when no program can, the notice says so.
    void showJournal();
    void openPage(const QUrl& page);

signals:
    void filesChanged();
    void rowsChanged();
    void modeChanged();
    void mappingTextChanged();
    void mappingFormatChanged();
    void mappingDiagnosticsChanged();
    void mappingCountChanged();
    void volumeNoteChanged();
    void mappingInputErrorChanged();
    void checkWindowsChanged();
    void showMappingEditorChanged();
    void completedReportChanged();
    void rulesChanged();
    void selectedRecipeChanged();
    void selectionChanged();
    void savedRecipesChanged();
    void busyChanged();
    void mutatingFilesChanged();
    void authorizingFoldersChanged();
    void previewingChanged();
    void hasRecoveryChanged();
    void undoCountChanged();
    void missingFilesChanged();
    void recoveryFailedChanged();
    void setAsideCountChanged();
    void showConfirmationChanged();
    void showRestoreConfirmationChanged();
    void showSaveRecipeChanged();
    void showTutorialChanged();
    void recipeNameChanged();
    void noticeChanged();
    void errorChanged();
    void importDetailsChanged();
    void progressChanged();
    void readingProgressChanged();
    // After any of the above.
    void changed();
    // A preview result was applied to `rows`.
    void previewApplied();

protected:
    // What computes a preview on the thread pool; `computePreview` unless a
    // test holds computations back to supersede them. It is copied into each
    // task, so a task never reaches back into the model.
    void setPreviewComputation(PreviewComputation computation);

private:
    struct FolderGrant {
        QString path;
        FileIdentity identity;
        bool scoped = false;
    };

    template <typename T> bool assign(T& field, T value, void (AppModel::*signal)());
    void setNotice(const QString& notice);
    void fail(const QString& message);
    void makeDemo();
    void startPreviewComputation(quint64 generation, PreviewInputs inputs);
    void setBusy(bool busy, bool mutating);
    RenameProgress::Observer
    startProgress(RenameProgress::Phase phase,
                  void (AppModel::*show)(const RenameProgress&) = &AppModel::showProgress);
    void showProgress(const RenameProgress& progress);
    void showReadingProgress(const RenameProgress& progress);
    void readFacts();
    QList<std::optional<FileFacts>> knownFacts(const QList<FileRecord>& files,
                                               const RenameRules& rules, RenameMode mode) const;
    QList<FileRecord> previewFiles() const;
    QStringList shownOrder() const;
    void arrange(const QStringList& order);
    void forgetHandNamesOfRemovedFiles();
    void finishFileOperation(const std::optional<QString>& failure, const QString& successNotice);
    void saveRecipes();
    bool canChangeSpreadsheet() const;
    QString sortedBy() const;
    void showImportCount(qsizetype count);

    const PlatformServices services;
    std::shared_ptr<RenameEngine> engine;
    bool demo = false;
    QProcessEnvironment environment;
    QHash<QString, FolderGrant> folderGrants;

    PreviewComputation previewComputation = computePreview;
    // The preview waits this long after the last change before it computes.
    QTimer previewDelay;
    quint64 previewGeneration = 0;
    std::optional<PreviewInputs> pendingInputs;
    // The dates and sizes of every file added in this run, by identity, so a
    // file added again is never read twice.
    std::unordered_map<FileIdentity, FileFacts, FileIdentityHash> facts;

    QList<FileRecord> files_;
    QList<PreviewRow> rows_;
    RenameMode mode_ = RenameMode::rules;
    QString mappingText_;
    MappingFormat mappingFormat_ = MappingFormat::automatic;
    QList<MappingDiagnostic> mappingDiagnostics_;
    qsizetype mappingCount_ = 0;
    std::optional<QString> volumeNote_;
    // The files `volumeNote_` was taken for.
    QList<FileRecord> notedFiles_;
    std::optional<QString> mappingInputError_;
    bool checkWindows_ = false;
    bool showMappingEditor_ = false;
    std::optional<RenameReport> completedReport_;
    RenameRules rules_;
    std::optional<Recipe> selectedRecipe_;
    QSet<QString> selection_;
    // The files' ids in the order the person arranged them, once they did.
    QStringList arrangement;
    RulePreview::HandNames handNames;
    QList<Recipe> savedRecipes_;
    bool busy_ = false;
    bool mutatingFiles_ = false;
    bool authorizingFolders_ = false;
    bool previewing_ = false;
    bool hasRecovery_ = false;
    qsizetype undoCount_ = 0;
    QList<JournalEntry> missingFiles_;
    bool recoveryFailed_ = false;
    qsizetype setAsideCount_ = 0;
    bool showConfirmation_ = false;
    bool showRestoreConfirmation_ = false;
    bool showSaveRecipe_ = false;
    bool showTutorial_ = false;
    QString recipeName_;
    QString notice_;
    // The count of files the notice gives with the order they are listed in,
    // while it says so: the order is said afresh when the rules change it.
    std::optional<qsizetype> noticedImport;
    std::optional<QString> error_;
    QString importDetails_;
    std::optional<RenameProgress> progress_;
    std::optional<RenameProgress> readingProgress_;
};

// Every published field changes through here, so every change is signalled,
// and only real changes are.
template <typename T> bool AppModel::assign(T& field, T value, void (AppModel::*signal)()) {
    if (field == value)
        return false;
    field = std::move(value);
    emit(this->*signal)();
    emit changed();
    return true;
}
