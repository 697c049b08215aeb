#include "ui/content_view.h"

#include "ui/content_parts.h"

#include "ui/save_recipe_sheet.h"
#include "ui/spreadsheet_editor.h"
#include "ui/tutorial_view.h"

#include "core/naming/recipe.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QStackedWidget>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>

using namespace ContentParts;

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
