#include "ui/content_view.h"

#include "ui/content_parts.h"

#include "ui/logo_painter.h"
#include "ui/preview_table_model.h"
#include "ui/rules_inspector.h"
#include "ui/sheen.h"
#include "ui/spreadsheet_inspector.h"
#include "ui/symbols.h"

#include "core/naming/recipe.h"

#include <QAction>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QStackedWidget>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>

using namespace ContentParts;

namespace {

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

void ContentView::focusInspector() {
    // The first control that takes the keyboard; the panel scrolling them
    // takes none.
    for (auto* widget : inspectors->currentWidget()->findChildren<QWidget*>()) {
        if (widget->isVisibleTo(this) && widget->isEnabled() &&
            (widget->focusPolicy() & Qt::TabFocus) && !widget->focusProxy()) {
            widget->setFocus(Qt::ShortcutFocusReason);
            return;
        }
    }
}

void ContentView::focusPreview() {
    table->setFocus(Qt::ShortcutFocusReason);
}

void ContentView::editName() {
    QModelIndex row = table->currentIndex();
    const QModelIndexList selected = table->selectionModel()->selectedRows();
    if (!selected.isEmpty() && !table->selectionModel()->isRowSelected(row.row()))
        row = selected.first();
    if (!row.isValid())
        return;
    table->setFocus(Qt::ShortcutFocusReason);
    table->edit(row);
}

void ContentView::takeKeysInPreview(QAction* command) {
    command->setShortcutContext(Qt::WidgetShortcut);
    table->addAction(command);
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
    // While a batch runs, the notice counts it and nothing here may say
    // what to do next.
    footerStatus->setText(
        model.busy() ? QString()
        : model.undoCount() == 0
            ? QStringLiteral("Preview first. Rename when ready.")
            : QStringLiteral("%1 %2 saved for undo")
                  .arg(model.undoCount())
                  .arg(model.undoCount() == 1 ? QStringLiteral("name") : QStringLiteral("names")));
    exportDraft->setEnabled(model.hasPreviewReport());
    exportReceipt->setEnabled(model.completedReport().has_value());
}
