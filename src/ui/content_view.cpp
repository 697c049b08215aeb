#include "ui/content_view.h"

#include "ui/inspector_text.h"
#include "ui/logo_painter.h"
#include "ui/preview_row_delegate.h"
#include "ui/preview_table_model.h"
#include "ui/progress_footer.h"
#include "ui/rename_action.h"
#include "ui/rules_inspector.h"
#include "ui/save_recipe_sheet.h"
#include "ui/sheen.h"
#include "ui/spreadsheet_editor.h"
#include "ui/spreadsheet_inspector.h"
#include "ui/symbols.h"
#include "ui/tutorial_view.h"

#include "core/naming/recipe.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QKeySequence>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QPainterPath>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QShortcut>
#include <QStackedWidget>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

QLabel* label(const QString& text, int pixelSize, QColor color, int weight = QFont::Normal) {
    return InspectorText::label(text, pixelSize, QFont::Weight(weight), color);
}

QLabel* sectionLabel(const QString& text) {
    return label(text, 11, Sheen::secondary(), QFont::DemiBold);
}

QPushButton* plainButton(const QString& text, const QString& symbol = {}) {
    auto* button = new QPushButton(text);
    button->setFlat(true);
    button->setCursor(Qt::PointingHandCursor);
    if (!symbol.isEmpty())
        button->setIcon(Symbols::icon(symbol));
    button->setStyleSheet(
        QStringLiteral("QPushButton { text-align: left; padding: 4px 8px; border: "
                       "none; border-radius: 6px; color: #24212e; }"
                       "QPushButton:hover { background: rgba(113,73,216,20); }"
                       "QPushButton:checked { background: #efeaf9; font-weight: 600; }"
                       "QPushButton:disabled { color: #a09aa8; }"));
    return button;
}

// Navigation entries tell assistive technology which one is current.
void markSelected(QPushButton* entry, bool selected) {
    entry->setCheckable(true);
    entry->setChecked(selected);
    entry->setAccessibleDescription(selected ? QStringLiteral("Selected") : QString());
}

QFrame* card() {
    auto* frame = new QFrame;
    frame->setObjectName(QStringLiteral("card"));
    frame->setStyleSheet(QStringLiteral(
        "#card { background: white; border: 1px solid rgba(0,0,0,19); border-radius: 12px; }"));
    return frame;
}

// The logo: the tag symbol on a rounded square of the gradient.
class Logo : public QWidget {
public:
    Logo() { setFixedSize(34, 34); }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        paintLogo(painter, width());
    }
};

// Drawn over everything while files are dragged over the window; it lets
// every click through.
class DropHighlight : public QWidget {
public:
    explicit DropHighlight(QWidget* parent) : QWidget(parent) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        hide();
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QColor fill = Sheen::violet();
        fill.setAlphaF(0.08f);
        painter.fillRect(rect(), fill);
        painter.setPen(QPen(Sheen::violet(), 3, Qt::DashLine));
        painter.drawRoundedRect(QRectF(rect()).adjusted(6, 6, -6, -6), 14, 14);
    }
};

QString countedFiles(qsizetype count) {
    return QString::number(count) +
           (count == 1 ? QStringLiteral(" file") : QStringLiteral(" files"));
}

} // namespace

ContentView::ContentView(AppModel& model, SettingsStore& settings, UrlOpener& urls, QWidget* parent)
    : QWidget(parent), model(model), settings(settings), urls(urls) {
    setAutoFillBackground(true);
    setPalette(Sheen::lightPalette());

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(makeHeader());

    auto* body = new QHBoxLayout;
    body->setContentsMargins(0, 0, 0, 0);
    body->setSpacing(0);
    body->addWidget(makeSidebar());

    auto* workspace = new QVBoxLayout;
    workspace->setContentsMargins(18, 14, 18, 10);
    workspace->setSpacing(10);
    workspace->addWidget(makeBanner());
    auto* row = new QHBoxLayout;
    row->setSpacing(14);
    row->addWidget(makePreviewCard(), 1);
    inspectors = new QStackedWidget;
    inspectors->setFixedWidth(290);
    inspectors->addWidget(new RulesInspector(model));
    inspectors->addWidget(new SpreadsheetInspector(model));
    row->addWidget(inspectors);
    workspace->addLayout(row, 1);
    workspace->addWidget(makeNoticeLine());
    body->addLayout(workspace, 1);
    layout->addLayout(body, 1);
    layout->addWidget(makeFooter());

    dropHighlight = new DropHighlight(this);

    connect(&model, &AppModel::changed, this, &ContentView::refresh);
    connect(&model, &AppModel::savedRecipesChanged, this, &ContentView::rebuildRecipes);
    connect(&model, &AppModel::selectionChanged, this, &ContentView::refreshSelection);
    connect(&model, &AppModel::rowsChanged, this, &ContentView::refreshSelection);
    connect(&model, &AppModel::showConfirmationChanged, this, &ContentView::askToRename);
    connect(&model, &AppModel::showRestoreConfirmationChanged, this,
            &ContentView::askToRestoreFound);
    connect(&model, &AppModel::errorChanged, this, &ContentView::showError);
    connect(&model, &AppModel::showSaveRecipeChanged, this, &ContentView::showSaveRecipe);
    connect(&model, &AppModel::showTutorialChanged, this, &ContentView::showTutorial);
    connect(&model, &AppModel::showMappingEditorChanged, this, &ContentView::refreshDialogs);
    rebuildRecipes();
    refresh();
    // The model may have started with something to say.
    QMetaObject::invokeMethod(this, &ContentView::showError, Qt::QueuedConnection);
}

QWidget* ContentView::makeHeader() {
    auto* header = new QWidget;
    header->setAutoFillBackground(true);
    QPalette palette = header->palette();
    palette.setColor(QPalette::Window, Qt::white);
    header->setPalette(palette);
    auto* layout = new QHBoxLayout(header);
    layout->setContentsMargins(18, 10, 18, 10);
    layout->addWidget(new Logo);
    layout->addWidget(label(QStringLiteral("Tessary"), 17, Sheen::ink(), QFont::Bold));
    layout->addStretch(1);
    addFiles = new SheenButton(QStringLiteral("Add files"), true);
    addFiles->setIcon(Symbols::icon(QStringLiteral("plus")));
    connect(addFiles, &QPushButton::clicked, this, [this] { model.openFiles(false); });
    layout->addWidget(addFiles);
    return header;
}

QWidget* ContentView::makeSidebar() {
    auto* sidebar = new QFrame;
    sidebar->setFixedWidth(226);
    sidebar->setObjectName(QStringLiteral("sidebar"));
    sidebar->setStyleSheet(QStringLiteral("#sidebar { background: #f3f0ec; border-right: 1px solid "
                                          "rgba(0,0,0,19); }"));
    auto* layout = new QVBoxLayout(sidebar);
    layout->setContentsMargins(12, 14, 12, 12);
    layout->setSpacing(2);

    layout->addWidget(sectionLabel(QStringLiteral("RENAME WITH")));
    const QList<QPair<QString, QString>> modes = {
        {QStringLiteral("Naming rules"), QStringLiteral("slider.horizontal.3")},
        {QStringLiteral("Spreadsheet"), QStringLiteral("tablecells")}};
    for (qsizetype index = 0; index < modes.size(); ++index) {
        auto* entry = plainButton(modes[index].first, modes[index].second);
        RenameMode mode = allRenameModes[index];
        connect(entry, &QPushButton::clicked, this, [this, mode] { model.setMode(mode); });
        modeEntries.append(entry);
        layout->addWidget(entry);
    }

    layout->addSpacing(12);
    layout->addWidget(sectionLabel(QStringLiteral("QUICK RECIPES")));
    startFresh = plainButton(QStringLiteral("Start fresh"), QStringLiteral("slider.horizontal.3"));
    connect(startFresh, &QPushButton::clicked, this, [this] { model.startFresh(); });
    layout->addWidget(startFresh);
    for (const Recipe& recipe : Recipe::builtIn()) {
        auto* entry = plainButton(recipe.name, recipe.symbol);
        connect(entry, &QPushButton::clicked, this, [this, recipe] { model.apply(recipe); });
        builtInEntries.append({entry, recipe.id});
        layout->addWidget(entry);
    }

    layout->addSpacing(12);
    layout->addWidget(sectionLabel(QStringLiteral("SAVED RECIPES")));
    savedRecipesLayout = new QVBoxLayout;
    savedRecipesLayout->setSpacing(2);
    layout->addLayout(savedRecipesLayout);
    auto* saveCurrent = plainButton(QStringLiteral("Save current rules as a recipe"));
    saveCurrent->setStyleSheet(saveCurrent->styleSheet() +
                               QStringLiteral("QPushButton { color: #7149d8; font-size: 12px; }"));
    connect(saveCurrent, &QPushButton::clicked, this, [this] { model.setShowSaveRecipe(true); });
    layout->addWidget(saveCurrent);

    layout->addStretch(1);
    tutorialButton =
        plainButton(QStringLiteral("Quick tutorial"), QStringLiteral("questionmark.circle"));
    tutorialButton->setToolTip(QStringLiteral("Practice a rename and undo with sample names"));
    connect(tutorialButton, &QPushButton::clicked, this, [this] { model.presentTutorial(); });
    layout->addWidget(tutorialButton);
    setAsideLine = label(QString(), 11, Sheen::secondary());
    setAsideLine->setWordWrap(true);
    // In line with the entries' text above it.
    setAsideLine->setContentsMargins(8, 4, 0, 4);
    setAsideLine->setTextFormat(Qt::RichText);
    setAsideLine->setTextInteractionFlags(Qt::LinksAccessibleByMouse |
                                          Qt::LinksAccessibleByKeyboard);
    setAsideLine->setToolTip(QStringLiteral(
        "Each record lists the files a recovery could not find, with the names they had. Delete "
        "a record when you no longer need it."));
    connect(setAsideLine, &QLabel::linkActivated, this, [this] { model.showJournal(); });
    layout->addWidget(setAsideLine);
    auto* privacy = new QHBoxLayout;
    auto* shield = new QLabel;
    shield->setPixmap(Symbols::icon(QStringLiteral("lock.shield")).pixmap(14, 14));
    privacy->addWidget(shield);
    privacy->addWidget(
        label(QStringLiteral("Files stay on your computer"), 11, Sheen::secondary()));
    privacy->addStretch(1);
    layout->addLayout(privacy);
    return sidebar;
}

void ContentView::rebuildRecipes() {
    while (QLayoutItem* item = savedRecipesLayout->takeAt(0)) {
        if (QWidget* widget = item->widget())
            widget->deleteLater();
        else if (QLayout* row = item->layout()) {
            while (QLayoutItem* inner = row->takeAt(0)) {
                if (inner->widget())
                    inner->widget()->deleteLater();
                delete inner;
            }
        }
        delete item;
    }
    if (model.savedRecipes().isEmpty()) {
        savedRecipesLayout->addWidget(
            label(QStringLiteral("Save rules you use often."), 12, Sheen::secondary()));
        return;
    }
    for (const Recipe& recipe : model.savedRecipes()) {
        auto* row = new QHBoxLayout;
        row->setSpacing(0);
        auto* entry = plainButton(recipe.name, recipe.symbol);
        entry->setProperty("recipeId", recipe.id.toString());
        connect(entry, &QPushButton::clicked, this, [this, recipe] { model.apply(recipe); });
        row->addWidget(entry, 1);
        auto* actions = new QToolButton;
        actions->setIcon(Symbols::icon(QStringLiteral("ellipsis")));
        actions->setAutoRaise(true);
        actions->setPopupMode(QToolButton::InstantPopup);
        actions->setAccessibleName(QStringLiteral("Recipe actions"));
        actions->setToolTip(QStringLiteral("Actions for ") + recipe.name);
        auto* menu = new QMenu(actions);
        menu->addAction(QStringLiteral("Delete recipe"), this,
                        [this, recipe] { model.deleteRecipe(recipe); });
        actions->setMenu(menu);
        row->addWidget(actions);
        savedRecipesLayout->addLayout(row);
    }
    refresh();
}

QWidget* ContentView::makeBanner() {
    banner = new QFrame;
    banner->setObjectName(QStringLiteral("banner"));
    banner->setStyleSheet(QStringLiteral("#banner { background: #fff3ef; border: 1px solid "
                                         "#f6c3b6; border-radius: 12px; }"));
    auto* outer = new QVBoxLayout(banner);
    outer->setContentsMargins(14, 10, 14, 10);
    auto* layout = new QHBoxLayout;
    auto* icon = new QLabel;
    icon->setPixmap(
        Symbols::icon(QStringLiteral("arrow.uturn.backward.circle.fill")).pixmap(22, 22));
    layout->addWidget(icon);
    auto* texts = new QVBoxLayout;
    QLabel* headline = label(QStringLiteral("An interrupted batch needs recovery"), 14,
                             Sheen::ink(), QFont::DemiBold);
    // At the window's smallest size the buttons leave the texts little room.
    headline->setWordWrap(true);
    texts->addWidget(headline);
    QLabel* advice = label(QStringLiteral("Keep .tessary files in place. Reconnect any external "
                                          "volumes before continuing."),
                           12, Sheen::secondary());
    advice->setWordWrap(true);
    texts->addWidget(advice);
    layout->addLayout(texts, 1);
    auto* journal = new SheenButton(QStringLiteral("Show journal"));
    connect(journal, &QPushButton::clicked, this, [this] { model.showJournal(); });
    layout->addWidget(journal);
    recoverButton = new SheenButton(QStringLiteral("Recover original names"), true);
    connect(recoverButton, &QPushButton::clicked, this, [this] { model.runRecoveryAction(true); });
    layout->addWidget(recoverButton);
    outer->addLayout(layout);

    // Under the texts, across the banner: the way out when recovery cannot
    // find every file.
    missingRow = new QWidget;
    auto* missing = new QHBoxLayout(missingRow);
    missing->setContentsMargins(icon->sizeHint().width() + layout->spacing(), 2, 0, 0);
    missingText = label(QString(), 12, Sheen::ink());
    missingText->setWordWrap(true);
    missing->addWidget(missingText, 1);
    restoreButton = new SheenButton(QStringLiteral("Restore the files that can be found…"));
    connect(restoreButton, &QPushButton::clicked, this,
            [this] { model.setShowRestoreConfirmation(true); });
    missing->addWidget(restoreButton);
    outer->addWidget(missingRow);
    return banner;
}

QWidget* ContentView::makePreviewCard() {
    QFrame* frame = card();
    auto* layout = new QVBoxLayout(frame);
    layout->setContentsMargins(16, 14, 16, 12);
    layout->setSpacing(8);

    auto* top = new QHBoxLayout;
    auto* titles = new QVBoxLayout;
    titles->setSpacing(0);
    liveCount = label(QString(), 11, Sheen::secondary(), QFont::DemiBold);
    titles->addWidget(liveCount);
    titles->addWidget(label(QStringLiteral("Filename preview"), 17, Sheen::ink(), QFont::Bold));
    top->addLayout(titles, 1);
    batchActions = new QToolButton;
    batchActions->setText(QStringLiteral("Batch actions"));
    batchActions->setToolTip(
        QStringLiteral("Add files, remove selected files, or clear the batch"));
    batchActions->setPopupMode(QToolButton::InstantPopup);
    auto* menu = new QMenu(batchActions);
    menu->addAction(QStringLiteral("Add files…"), this, [this] { model.openFiles(false); });
    menu->addAction(QStringLiteral("Add folder…"), this, [this] { model.openFiles(true); });
    removeSelectedAction = menu->addAction(QStringLiteral("Remove selected from batch"), this,
                                           [this] { model.removeSelected(); });
    menu->addAction(QStringLiteral("Clear batch"), this, [this] { model.clear(); });
    batchActions->setMenu(menu);
    top->addWidget(batchActions);
    layout->addLayout(top);

    previewStack = new QStackedWidget;
    auto* empty = new QWidget;
    auto* emptyLayout = new QVBoxLayout(empty);
    emptyLayout->addStretch(1);
    auto* emptyIcon = new QLabel;
    emptyIcon->setPixmap(Symbols::icon(QStringLiteral("doc.on.doc")).pixmap(40, 40));
    emptyIcon->setAlignment(Qt::AlignCenter);
    emptyLayout->addWidget(emptyIcon);
    for (QLabel* line :
         {label(QStringLiteral("A fresh start for your files."), 20, Sheen::ink(), QFont::Bold),
          label(QStringLiteral("Drop files or a folder to begin."), 14, Sheen::ink()),
          label(QStringLiteral("Immediate files only. Subfolders and links are skipped."), 12,
                Sheen::secondary())}) {
        line->setAlignment(Qt::AlignCenter);
        line->setWordWrap(true);
        emptyLayout->addWidget(line);
    }
    auto* emptyButtons = new QHBoxLayout;
    emptyButtons->addStretch(1);
    auto* choose = new SheenButton(QStringLiteral("Choose files"), true);
    connect(choose, &QPushButton::clicked, this, [this] { model.openFiles(false); });
    auto* folder = new SheenButton(QStringLiteral("Add folder"));
    connect(folder, &QPushButton::clicked, this, [this] { model.openFiles(true); });
    emptyButtons->addWidget(choose);
    emptyButtons->addWidget(folder);
    emptyButtons->addStretch(1);
    emptyLayout->addLayout(emptyButtons);
    emptyTutorialLink = plainButton(QStringLiteral("New here? Try the quick tutorial"));
    emptyTutorialLink->setStyleSheet(
        QStringLiteral("QPushButton { border: none; color: #7149d8; }"));
    connect(emptyTutorialLink, &QPushButton::clicked, this, [this] { model.presentTutorial(); });
    emptyLayout->addWidget(emptyTutorialLink, 0, Qt::AlignHCenter);
    emptyLayout->addStretch(1);
    previewStack->addWidget(empty);

    table = new QTableView;
    tableModel = new PreviewTableModel(model, table);
    table->setModel(tableModel);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    table->setShowGrid(false);
    table->setAlternatingRowColors(true);
    table->setWordWrap(false);
    table->setTextElideMode(Qt::ElideMiddle);
    table->verticalHeader()->hide();
    table->verticalHeader()->setDefaultSectionSize(44);
    table->setItemDelegateForColumn(PreviewTableModel::proposed, new PreviewRowDelegate(table));
    table->setIconSize(QSize(25, 29));
    // The person can widen either column to read a long name; the new name
    // takes whatever is left, and the full names and problems are in each
    // cell's tooltip.
    table->horizontalHeader()->setSectionResizeMode(QHeaderView::Interactive);
    table->horizontalHeader()->setStretchLastSection(true);
    table->horizontalHeader()->setDefaultSectionSize(200);
    table->horizontalHeader()->setHighlightSections(false);
    table->setFrameShape(QFrame::NoFrame);
    // Tab leaves the table for the next control instead of walking every cell.
    table->setTabKeyNavigation(false);
    for (QKeySequence key : {QKeySequence(QKeySequence::Delete), QKeySequence(Qt::Key_Backspace)}) {
        auto* remove = new QShortcut(key, table, nullptr, nullptr, Qt::WidgetShortcut);
        connect(remove, &QShortcut::activated, this, [this] { model.removeSelected(); });
    }
    connect(table->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        if (syncingSelection)
            return;
        QSet<QString> selected;
        for (const QModelIndex& index : table->selectionModel()->selectedRows())
            selected.insert(tableModel->pathAt(index.row()));
        model.setSelection(selected);
    });
    previewStack->addWidget(table);
    layout->addWidget(previewStack, 1);

    auto* summary = new QHBoxLayout;
    summaryText = label(QString(), 12, Sheen::secondary());
    reviewButton = plainButton(QString());
    reviewButton->setStyleSheet(QStringLiteral("QPushButton { border: none; color: #b42b2b; "
                                               "font-weight: 600; text-align: left; }"));
    connect(reviewButton, &QPushButton::clicked, this, [this] {
        conflictsShown = !conflictsShown;
        refresh();
    });
    removeButton = plainButton(QString());
    connect(removeButton, &QPushButton::clicked, this, [this] { model.removeSelected(); });
    summary->addWidget(summaryText);
    summary->addWidget(reviewButton);
    summary->addStretch(1);
    summary->addWidget(removeButton);
    layout->addLayout(summary);
    volumeNoteText = label(QString(), 12, Sheen::secondary());
    volumeNoteText->setWordWrap(true);
    layout->addWidget(volumeNoteText);

    conflictDetails = new QFrame;
    conflictDetails->setObjectName(QStringLiteral("conflicts"));
    conflictDetails->setStyleSheet(
        QStringLiteral("#conflicts { background: #fff6f4; border-radius: 8px; }"));
    auto* details = new QVBoxLayout(conflictDetails);
    details->addWidget(label(QStringLiteral("Resolve conflicts before renaming"), 13, Sheen::ink(),
                             QFont::DemiBold));
    conflictText = label(QString(), 12, Sheen::secondary());
    conflictText->setWordWrap(true);
    details->addWidget(conflictText);
    conflictList = label(QString(), 12, Sheen::ink());
    // Built from escaped names, so the markup is only ours.
    conflictList->setTextFormat(Qt::RichText);
    conflictList->setWordWrap(true);
    conflictList->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::LinksAccessibleByMouse |
                                          Qt::LinksAccessibleByKeyboard);
    // A conflict's name selects the rows it collides with in the table.
    connect(conflictList, &QLabel::linkActivated, this, [this](const QString& link) {
        qsizetype row = link.toLongLong();
        if (row >= 0 && row < model.rows().size())
            model.selectConflict(model.rows()[row].id());
    });
    auto* scroll = new QScrollArea;
    scroll->setWidget(conflictList);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    // Room for two conflicts at the default size; the table gives way.
    scroll->setMinimumHeight(120);
    scroll->setMaximumHeight(220);
    details->addWidget(scroll);
    layout->addWidget(conflictDetails);
    return frame;
}

QWidget* ContentView::makeNoticeLine() {
    noticeLine = new QWidget;
    auto* layout = new QHBoxLayout(noticeLine);
    layout->setContentsMargins(2, 0, 2, 0);
    noticeIcon = new QLabel;
    layout->addWidget(noticeIcon);
    noticeText = label(QString(), 12, Sheen::ink());
    noticeText->setWordWrap(true);
    // Three lines: after restoring the files that can be found, the notice
    // names a renamed file and the kept record, each a long name.
    noticeText->setMaximumHeight(noticeText->fontMetrics().lineSpacing() * 3 + 2);
    layout->addWidget(noticeText, 1);
    detailsButton = plainButton(QStringLiteral("Details"));
    connect(detailsButton, &QPushButton::clicked, this, &ContentView::showSkipped);
    layout->addWidget(detailsButton);
    return noticeLine;
}

void ContentView::showSkipped() {
    auto* popover = new QFrame(detailsButton, Qt::Popup);
    popover->setAttribute(Qt::WA_DeleteOnClose);
    auto* layout = new QVBoxLayout(popover);
    auto* text = new QPlainTextEdit(model.importDetails());
    text->setReadOnly(true);
    text->setAccessibleName(QStringLiteral("Skipped items"));
    layout->addWidget(text);
    popover->resize(420, 220);
    // Above the button, and kept inside the screen it is on.
    QPoint place = detailsButton->mapToGlobal(QPoint(0, -popover->height()));
    if (QScreen* screen = detailsButton->screen()) {
        QRect room = screen->availableGeometry();
        place.setX(std::clamp(place.x(), room.left(), room.right() - popover->width()));
        place.setY(std::clamp(place.y(), room.top(), room.bottom() - popover->height()));
    }
    popover->move(place);
    popover->show();
}

QWidget* ContentView::makeFooter() {
    auto* footer = new QWidget;
    footer->setAutoFillBackground(true);
    QPalette palette = footer->palette();
    palette.setColor(QPalette::Window, Qt::white);
    footer->setPalette(palette);
    auto* layout = new QHBoxLayout(footer);
    layout->setContentsMargins(18, 10, 18, 10);
    undoButton = new SheenButton(QStringLiteral("Undo last batch"));
    undoButton->setIcon(Symbols::icon(QStringLiteral("arrow.uturn.backward")));
    undoButton->setToolTip(
        QStringLiteral("Restores the most recent batch, including after relaunch (%1)")
            .arg(QKeySequence(Qt::CTRL | Qt::ALT | Qt::Key_Z).toString(QKeySequence::NativeText)));
    connect(undoButton, &QPushButton::clicked, this, [this] { model.runRecoveryAction(false); });
    layout->addWidget(undoButton);
    auto* status = new QVBoxLayout;
    status->setSpacing(0);
    footerStatus = label(QString(), 12, Sheen::ink(), QFont::DemiBold);
    status->addWidget(footerStatus);
    status->addWidget(
        label(QStringLiteral("Contents and extensions stay intact."), 11, Sheen::secondary()));
    layout->addLayout(status);
    layout->addWidget(new ProgressFooter(model));
    layout->addStretch(1);
    exportMenu = new QToolButton;
    exportMenu->setText(QStringLiteral("Export"));
    exportMenu->setIcon(Symbols::icon(QStringLiteral("square.and.arrow.up")));
    exportMenu->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    exportMenu->setToolTip(
        QStringLiteral("Save a standalone HTML draft or the last completed rename receipt"));
    exportMenu->setPopupMode(QToolButton::InstantPopup);
    auto* menu = new QMenu(exportMenu);
    exportDraft = menu->addAction(QStringLiteral("Draft preview…"), this,
                                  [this] { model.exportReport(false); });
    exportReceipt = menu->addAction(QStringLiteral("Last rename receipt…"), this,
                                    [this] { model.exportReport(true); });
    exportMenu->setMenu(menu);
    layout->addWidget(exportMenu);
    layout->addWidget(new RenameAction(model));
    return footer;
}

void ContentView::setDropTarget(bool target) {
    dropHighlight->setGeometry(rect());
    dropHighlight->raise();
    dropHighlight->setVisible(target);
}

void ContentView::refresh() {
    const bool disabled = model.batchControlsDisabled();
    addFiles->setEnabled(!disabled);
    for (qsizetype index = 0; index < modeEntries.size(); ++index)
        markSelected(modeEntries[index], model.mode() == allRenameModes[index]);
    markSelected(startFresh, model.isFresh());
    for (const auto& [entry, id] : builtInEntries)
        markSelected(entry, model.selectedRecipe() && model.selectedRecipe()->id == id);
    for (QPushButton* entry : findChildren<QPushButton*>()) {
        QVariant id = entry->property("recipeId");
        if (id.isValid())
            markSelected(entry, model.selectedRecipe() &&
                                    model.selectedRecipe()->id.toString() == id.toString());
    }
    tutorialButton->setEnabled(model.canPresentTutorial());

    banner->setVisible(model.hasRecovery());
    recoverButton->setEnabled(!disabled);
    const qsizetype missing = model.missingFiles().size();
    missingRow->setVisible(model.recoveryFailed());
    if (missing == 0)
        missingText->setText(QStringLiteral(
            "Recovery could not put every file back. Restore the files that can be found: a file "
            "whose original name another file has taken comes back beside it."));
    else
        missingText->setText(
            missing == 1
                ? QStringLiteral("1 file of this batch cannot be found. Put it back and recover "
                                 "again, or restore the files that can be found.")
                : QStringLiteral("%1 files of this batch cannot be found. Put them back and "
                                 "recover again, or restore the files that can be found.")
                      .arg(missing));
    restoreButton->setEnabled(model.canRestoreFound());
    const qsizetype setAside = model.setAsideCount();
    setAsideLine->setVisible(setAside > 0);
    setAsideLine->setText(
        QStringLiteral("<a href=\"journal\" style=\"color:#7149d8\">%1 set-aside batch %2</a> in "
                       "the journal folder")
            .arg(setAside)
            .arg(setAside == 1 ? QStringLiteral("record") : QStringLiteral("records")));

    const qsizetype fileCount = model.files().size();
    liveCount->setText(QStringLiteral("Live preview · %1 files").arg(fileCount));
    batchActions->setEnabled(!disabled);
    removeSelectedAction->setEnabled(!model.selection().isEmpty());
    previewStack->setCurrentIndex(fileCount == 0 ? 0 : 1);
    emptyTutorialLink->setVisible(model.canPresentTutorial());
    inspectors->setCurrentIndex(model.mode() == RenameMode::rules ? 0 : 1);

    const bool spreadsheet = model.mode() == RenameMode::spreadsheet;
    const qsizetype conflicts = model.conflicts();
    const qsizetype diagnostics = model.mappingDiagnostics().size();
    summaryText->setVisible(model.previewing() ||
                            (conflicts == 0 && !(spreadsheet && diagnostics)));
    reviewButton->setVisible(!model.previewing() &&
                             (conflicts > 0 || (spreadsheet && diagnostics)));
    if (model.previewing()) {
        summaryText->setText(QStringLiteral("Updating preview…"));
    } else if (spreadsheet && diagnostics) {
        reviewButton->setText(QStringLiteral("Review %1 spreadsheet issues").arg(diagnostics));
    } else if (conflicts) {
        reviewButton->setText(
            QStringLiteral("Review %1 %2")
                .arg(conflicts)
                .arg(conflicts == 1 ? QStringLiteral("conflict") : QStringLiteral("conflicts")));
    } else {
        summaryText->setText(QStringLiteral("✓ %1 ready · %2 unchanged")
                                 .arg(model.changedCount())
                                 .arg(fileCount - model.changedCount()));
    }
    volumeNoteText->setVisible(model.volumeNote() && !model.previewing());
    volumeNoteText->setText(model.volumeNote().value_or(QString()));
    removeButton->setVisible(!model.selection().isEmpty());
    removeButton->setText(QStringLiteral("Remove %1").arg(model.selection().size()));

    conflictDetails->setVisible(conflicts > 0 && conflictsShown);
    if (conflictDetails->isVisible()) {
        conflictText->setText(spreadsheet
                                  ? QStringLiteral("Edit the spreadsheet or remove affected "
                                                   "files and their mappings. Resolve every "
                                                   "issue before renaming.")
                                  : QStringLiteral("Change the rules or remove affected "
                                                   "files from this batch. Resolve every "
                                                   "conflict before starting a rename."));
        QStringList lines;
        for (qsizetype index = 0; index < model.rows().size(); ++index) {
            const PreviewRow& row = model.rows()[index];
            if (!row.problem)
                continue;
            lines.append(QStringLiteral("<a href='%1' style='color:#1d1d1f; font-weight:600; "
                                        "text-decoration:none'>%2</a><br>Proposed: %3<br><span "
                                        "style='color:#b42b2b'>%4</span>")
                             .arg(index)
                             .arg(row.intent.source.name().toHtmlEscaped(),
                                  row.intent.filename.toHtmlEscaped(),
                                  row.problem->toHtmlEscaped()));
        }
        conflictList->setText(lines.join(QStringLiteral("<br><br>")));
    }

    noticeLine->setVisible(!model.notice().isEmpty());
    noticeIcon->setPixmap(
        Symbols::icon(model.busy() ? QStringLiteral("hourglass") : QStringLiteral("info.circle"))
            .pixmap(16, 16));
    noticeText->setText(model.notice());
    detailsButton->setVisible(!model.importDetails().isEmpty());

    undoButton->setEnabled(!disabled && !model.hasRecovery() && model.undoCount() > 0);
    footerStatus->setText(
        model.undoCount() == 0
            ? QStringLiteral("Preview first. Rename when ready.")
            : QStringLiteral("%1 %2 saved for undo")
                  .arg(model.undoCount())
                  .arg(model.undoCount() == 1 ? QStringLiteral("name") : QStringLiteral("names")));
    exportDraft->setEnabled(model.hasPreviewReport());
    exportReceipt->setEnabled(model.completedReport().has_value());
}

void ContentView::refreshSelection() {
    syncingSelection = true;
    QItemSelection selection;
    for (int row = 0; row < tableModel->rowCount(); ++row) {
        if (model.selection().contains(tableModel->pathAt(row)))
            selection.select(tableModel->index(row, 0),
                             tableModel->index(row, PreviewTableModel::columnCount_ - 1));
    }
    table->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    syncingSelection = false;
}

void ContentView::refreshDialogs() {
    if (model.showMappingEditor()) {
        if (!mappingEditor)
            mappingEditor = new SpreadsheetEditor(model, this);
        mappingEditor->show();
        mappingEditor->raise();
    } else if (mappingEditor) {
        mappingEditor->hide();
    }
}

void ContentView::askToRename() {
    if (!model.showConfirmation() || confirming)
        return;
    confirming = true;
    const qsizetype changes = model.changedCount();
    auto* box = new QMessageBox(QMessageBox::Question,
                                QStringLiteral("Rename %1 in place?").arg(countedFiles(changes)),
                                QStringLiteral("Rename %1 in place?").arg(countedFiles(changes)),
                                QMessageBox::NoButton, this);
    box->setInformativeText(QStringLiteral(
        "The names shown in the preview will be applied in their current folders. File contents "
        "and extensions stay unchanged. Cloud or shared folders may sync these changes. This "
        "replaces the previous undo batch."));
    box->addButton(QStringLiteral("Cancel"), QMessageBox::RejectRole);
    QPushButton* confirm = box->addButton(QStringLiteral("Rename files"), QMessageBox::AcceptRole);
    box->setDefaultButton(confirm);
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QMessageBox::finished, this, [this, box, confirm] {
        confirming = false;
        bool renaming = box->clickedButton() == confirm;
        model.setShowConfirmation(false);
        if (renaming)
            model.rename();
    });
    box->open();
}

void ContentView::askToRestoreFound() {
    if (!model.showRestoreConfirmation() || confirmingRestore)
        return;
    confirmingRestore = true;
    const qsizetype missing = model.missingFiles().size();
    auto* box = new QMessageBox(
        QMessageBox::Question, QStringLiteral("Restore the files that can be found?"),
        QStringLiteral("Restore the files that can be found?"), QMessageBox::NoButton, this);
    if (missing == 0)
        box->setInformativeText(QStringLiteral(
            "Every file of the interrupted batch goes back to its original name, or beside it "
            "when another file has taken that name. The batch's journal is kept as a record in "
            "the journal folder. New batches can start again."));
    else
        box->setInformativeText(
            (missing == 1 ? QStringLiteral("1 file of the interrupted batch cannot be found:")
                          : QStringLiteral("%1 files of the interrupted batch cannot be found:")
                                .arg(missing)) +
            QStringLiteral("\n\n") + model.missingFileNames().join(QLatin1Char('\n')) +
            QStringLiteral("\n\nEvery other file goes back to its original name. The missing "
                           "files are left alone: the batch is set aside as a record in the "
                           "journal folder, which lists each missing file's original, new and "
                           "staging names. New batches can start again."));
    // Filenames are shown as they are, never read as markup.
    if (auto* informative = box->findChild<QLabel*>(QStringLiteral("qt_msgbox_informativelabel")))
        informative->setTextFormat(Qt::PlainText);
    box->addButton(QStringLiteral("Cancel"), QMessageBox::RejectRole);
    QPushButton* confirm =
        box->addButton(QStringLiteral("Restore found files"), QMessageBox::AcceptRole);
    box->setDefaultButton(confirm);
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QMessageBox::finished, this, [this, box, confirm] {
        confirmingRestore = false;
        bool restoring = box->clickedButton() == confirm;
        model.setShowRestoreConfirmation(false);
        if (restoring)
            model.restoreFound();
    });
    box->open();
}

void ContentView::showError() {
    if (!model.error() || alerting)
        return;
    alerting = true;
    auto* box =
        new QMessageBox(QMessageBox::Warning, QStringLiteral("Tessary needs your attention"),
                        QStringLiteral("Tessary needs your attention"), QMessageBox::Ok, this);
    box->setInformativeText(*model.error());
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QMessageBox::finished, this, [this] {
        alerting = false;
        model.setError(std::nullopt);
    });
    box->open();
}

void ContentView::showSaveRecipe() {
    if (model.showSaveRecipe()) {
        if (!saveRecipeSheet)
            saveRecipeSheet = new SaveRecipeSheet(model, this);
        saveRecipeSheet->show();
        saveRecipeSheet->raise();
    } else if (saveRecipeSheet) {
        saveRecipeSheet->hide();
    }
}

void ContentView::showTutorial() {
    if (model.showTutorial()) {
        if (!tutorial) {
            tutorial = new TutorialView(model, settings, urls, this);
            tutorial->setAttribute(Qt::WA_DeleteOnClose);
        }
        tutorial->show();
        tutorial->raise();
    } else if (tutorial) {
        tutorial->close();
    }
}
