#pragma once

#include "app/app_model.h"

#include <QFrame>
#include <QPointer>
#include <QWidget>

class QLabel;
class QPushButton;
class QStackedWidget;
class QTableView;
class QToolButton;
class QVBoxLayout;
class PreviewTableModel;
class SheenButton;

// The window's content: header, sidebar, recovery banner, preview card beside
// the inspector of the current mode, notice line and footer. It shows the
// model's fields and calls its operations; the only thing it decides is what
// is visible.
class ContentView : public QWidget {
    Q_OBJECT
public:
    ContentView(AppModel& model, SettingsStore& settings, UrlOpener& urls,
                QWidget* parent = nullptr);

    // The drop highlight, shown while files are dragged over the window.
    void setDropTarget(bool target);
    // Puts the keyboard in the first field of the rules or spreadsheet
    // inspector, or in the preview's rows.
    void focusInspector();
    void focusPreview();
    // Opens the new name of the current row, or of the first selected one, for editing.
    void editName();
    // Makes `command`'s shortcut work only while the preview's rows have the keyboard.
    void takeKeysInPreview(QAction* command);

private:
    QWidget* makeHeader();
    QWidget* makeSidebar();
    QWidget* makeBanner();
    QWidget* makePreviewCard();
    QWidget* makeNoticeLine();
    QWidget* makeFooter();
    void rebuildRecipes();
    void refresh();
    void refreshSelection();
    void refreshDialogs();
    void showSkipped();
    void askToRename();
    void askToRestoreFound();
    void showError();
    void showSaveRecipe();
    void showTutorial();

    AppModel& model;
    SettingsStore& settings;
    UrlOpener& urls;

    QPushButton* addFiles = nullptr;
    QList<QPushButton*> modeEntries;
    QPushButton* startFresh = nullptr;
    QList<QPair<QPushButton*, QUuid>> builtInEntries;
    QVBoxLayout* savedRecipesLayout = nullptr;
    QPushButton* tutorialButton = nullptr;
    QLabel* setAsideLine = nullptr;

    QWidget* banner = nullptr;
    QPushButton* recoverButton = nullptr;
    QWidget* missingRow = nullptr;
    QLabel* missingText = nullptr;
    QPushButton* restoreButton = nullptr;

    QLabel* liveCount = nullptr;
    QToolButton* batchActions = nullptr;
    QAction* removeSelectedAction = nullptr;
    QStackedWidget* previewStack = nullptr;
    QPushButton* emptyTutorialLink = nullptr;
    QTableView* table = nullptr;
    PreviewTableModel* tableModel = nullptr;
    QLabel* summaryText = nullptr;
    // Shown when folders of the batch are on network or FUSE volumes.
    QLabel* volumeNoteText = nullptr;
    QPushButton* reviewButton = nullptr;
    QPushButton* removeButton = nullptr;
    QFrame* conflictDetails = nullptr;
    QLabel* conflictText = nullptr;
    QLabel* conflictList = nullptr;
    bool conflictsShown = false;
    QStackedWidget* inspectors = nullptr;

    QWidget* noticeLine = nullptr;
    QLabel* noticeIcon = nullptr;
    QLabel* noticeText = nullptr;
    QPushButton* detailsButton = nullptr;

    QPushButton* undoButton = nullptr;
    QLabel* footerStatus = nullptr;
    QToolButton* exportMenu = nullptr;
    QAction* exportDraft = nullptr;
    QAction* exportReceipt = nullptr;

    QWidget* dropHighlight = nullptr;
    QPointer<QWidget> mappingEditor;
    QPointer<QWidget> saveRecipeSheet;
    QPointer<QWidget> tutorial;
    bool syncingSelection = false;
    bool confirming = false;
    bool confirmingRestore = false;
    bool alerting = false;
};
