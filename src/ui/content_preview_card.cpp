#include "ui/content_view.h"

#include "ui/content_parts.h"

#include "ui/preview_row_delegate.h"
#include "ui/preview_table_model.h"
#include "ui/sheen.h"
#include "ui/symbols.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QKeySequence>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QStackedWidget>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>

using namespace ContentParts;

namespace {

// The preview's rows with each name column as wide as its longest name, so
// names are read whole; when the two columns cannot both be that wide, both
// names share the one column, the new name under the original.
class PreviewTable : public QTableView {
public:
    PreviewTable(PreviewTableModel* rows, PreviewRowDelegate* rowDelegate)
        : rows(rows), rowDelegate(rowDelegate) {
        setModel(rows);
        setItemDelegateForColumn(PreviewTableModel::proposed, rowDelegate);
        connect(rows, &QAbstractItemModel::modelReset, this, [this] {
            measured = false;
            fit();
        });
    }

protected:
    // Whichever column the row was entered by, it is the new name that is edited.
    bool edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) override {
        return QTableView::edit(index.siblingAtColumn(PreviewTableModel::proposed), trigger, event);
    }

    void resizeEvent(QResizeEvent* event) override {
        QTableView::resizeEvent(event);
        fit();
    }

private:
    // Measured when the rows change rather than at every resize; only the
    // longest names are measured, as 5,000 rows are too many to measure at
    // every keystroke.
    void measure() {
        for (int column : {PreviewTableModel::original, PreviewTableModel::proposed}) {
            int width = horizontalHeader()->sectionSizeHint(column);
            for (int row : rows->longestRows(PreviewTableModel::Column(column), 24))
                width = std::max(width, sizeHintForIndex(rows->index(row, column)).width());
            wanted[column] = width;
        }
    }

    void fit() {
        if (!measured) {
            measure();
            measured = true;
        }
        const bool stacked =
            wanted[PreviewTableModel::original] + wanted[PreviewTableModel::proposed] >
            viewport()->width();
        if (stacked != rowDelegate->isStacked()) {
            rowDelegate->setStacked(stacked);
            rows->setNamesStacked(stacked);
            setColumnHidden(PreviewTableModel::original, stacked);
            verticalHeader()->setDefaultSectionSize(stacked ? PreviewRowDelegate::stackedRowHeight
                                                            : PreviewRowDelegate::rowHeight);
            viewport()->update();
        }
        if (!stacked)
            horizontalHeader()->resizeSection(PreviewTableModel::original,
                                              wanted[PreviewTableModel::original]);
    }

    PreviewTableModel* rows;
    PreviewRowDelegate* rowDelegate;
    int wanted[PreviewTableModel::columnCount_] = {};
    bool measured = false;
};

} // namespace

QWidget* ContentView::makePreviewCard() {
    QFrame* frame = card();
    auto* layout = new QVBoxLayout(frame);
    // The rows reach nearly to the card's edges, where every pixel is
    // another character of a long name; the rest keeps the card's margin.
    constexpr int inset = 12;
    layout->setContentsMargins(4, 14, 4, 12);
    layout->setSpacing(8);

    auto* top = new QHBoxLayout;
    top->setContentsMargins(inset, 0, inset, 0);
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

    tableModel = new PreviewTableModel(model, this);
    table = new PreviewTable(tableModel, new PreviewRowDelegate(this));
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    table->setShowGrid(false);
    table->setAlternatingRowColors(true);
    table->setWordWrap(false);
    table->setTextElideMode(Qt::ElideMiddle);
    table->verticalHeader()->hide();
    table->verticalHeader()->setDefaultSectionSize(PreviewRowDelegate::rowHeight);
    table->setIconSize(QSize(25, 29));
    // The columns follow the names; a name cut for want of room keeps its
    // ends, and the full names and problems are in each cell's tooltip.
    table->horizontalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->horizontalHeader()->setStretchLastSection(true);
    table->horizontalHeader()->setHighlightSections(false);
    table->setFrameShape(QFrame::NoFrame);
    // Tab leaves the table for the next control instead of walking every cell.
    table->setTabKeyNavigation(false);
    // Rows dragged within the table are arranged there by hand; files
    // dragged in from elsewhere still go to the window.
    table->setDragDropMode(QAbstractItemView::InternalMove);
    table->setDragDropOverwriteMode(false);
    table->setDefaultDropAction(Qt::MoveAction);
    table->setDropIndicatorShown(true);
    tableModel->moved = [this](const QStringList& ids, int before) { model.moveRows(ids, before); };
    tableModel->named = [this](const QString& id, const QString& name) {
        model.nameByHand(id, name);
    };
    table->setEditTriggers(QAbstractItemView::EditKeyPressed | QAbstractItemView::DoubleClicked);
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
    summary->setContentsMargins(inset, 0, inset, 0);
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
    volumeNoteText->setContentsMargins(inset, 0, inset, 0);
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
    auto* conflictsInset = new QHBoxLayout;
    conflictsInset->setContentsMargins(inset, 0, inset, 0);
    conflictsInset->addWidget(conflictDetails);
    layout->addLayout(conflictsInset);
    return frame;
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
