#include "ui/tutorial_view.h"

#include "ui/tutorial_parts.h"

#include "ui/help_pages.h"

#include "app/app_model.h"
#include "app/settings_store.h"
#include "app/url_opener.h"
#include "ui/sheen.h"
#include "ui/symbols.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

using namespace TutorialParts;

TutorialView::TutorialView(AppModel& model, SettingsStore& settings, UrlOpener& urls,
                           QWidget* parent)
    : QDialog(parent), model(model), settings(settings), urls(urls) {
    setWindowTitle(QStringLiteral("A quick tour of Tessary"));
    setWindowModality(Qt::WindowModal);
    setFixedSize(640, 500);
    setPalette(Sheen::lightPalette());
    setAutoFillBackground(true);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 20, 24, 16);
    layout->setSpacing(12);
    layout->addWidget(makeHeader());
    indicator = new StepIndicator;
    layout->addWidget(indicator);

    pages = new QStackedWidget;
    pages->addWidget(makeWelcome());
    pages->addWidget(makePreview());
    pages->addWidget(makeUndo());
    pages->addWidget(makeFinish());
    layout->addWidget(pages, 1);

    auto* rule = new QFrame;
    rule->setFrameShape(QFrame::HLine);
    rule->setFixedHeight(1);
    rule->setStyleSheet(QStringLiteral("background: %1; border: none;").arg(css(Sheen::border())));
    layout->addWidget(rule);
    layout->addWidget(makeFooter());
    // Only once the button is inside the dialog does it become the dialog's
    // own default, which Return keeps reaching after other buttons had focus.
    primaryButton->setDefault(true);

    // The window may clear `showTutorial` itself; the sheet goes with it.
    connect(&model, &AppModel::showTutorialChanged, this, [this] {
        if (!this->model.showTutorial() && isVisible())
            reject();
    });
    showState();
}

QUrl TutorialView::userGuide() {
    return HelpPages::url(HelpPages::Page::guide);
}

QString TutorialView::actionTitle() const {
    switch (currentStep) {
    case Step::welcome:
        return QStringLiteral("Try sample files");
    case Step::preview:
        return QStringLiteral("Rename sample files");
    case Step::undo:
        return currentPractice.renamedNames ? QStringLiteral("Undo sample rename")
                                            : QStringLiteral("Continue");
    case Step::finish:
        return QStringLiteral("Start using Tessary");
    }
    return {};
}

void TutorialView::advance() {
    switch (currentStep) {
    case Step::welcome:
        setStep(Step::preview);
        return;
    case Step::preview:
        if (askToRenameSamples())
            confirmSampleRename();
        return;
    case Step::undo:
        if (currentPractice.renamedNames) {
            currentPractice.renamedNames.reset();
            showState();
            return;
        }
        setStep(Step::finish);
        return;
    case Step::finish:
        accept();
        return;
    }
}

void TutorialView::goBack() {
    if (currentStep == Step::undo)
        currentPractice.renamedNames.reset();
    if (currentStep == Step::welcome) {
        showState();
        return;
    }
    setStep(Step(int(currentStep) - 1));
}

void TutorialView::confirmSampleRename() {
    if (currentPractice.renamedNames || currentPractice.problem())
        return;
    currentPractice.renamedNames = currentPractice.proposedNames();
    setStep(Step::undo);
}

void TutorialView::done(int result) {
    // Hidden first, so the model's change below finds the sheet already gone.
    QDialog::done(result);
    settings.setFlag(QStringLiteral("hasSeenTutorial"), true);
    model.setShowTutorial(false);
}

bool TutorialView::askToRenameSamples() {
    QMessageBox alert(this);
    alert.setWindowTitle(QStringLiteral("Rename these 3 sample files?"));
    alert.setTextFormat(Qt::PlainText);
    alert.setText(QStringLiteral("Rename these 3 sample files?"));
    alert.setInformativeText(
        QStringLiteral("This practice changes sample names on screen only. For your own files, "
                       "the confirmation applies the names in their current folders. Contents and "
                       "extensions stay the same."));
    QPushButton* rename =
        alert.addButton(QStringLiteral("Rename samples"), QMessageBox::AcceptRole);
    alert.addButton(QStringLiteral("Cancel"), QMessageBox::RejectRole);
    alert.setDefaultButton(rename);
    // Wide enough that the message reads in a few lines rather than a column.
    alert.setStyleSheet(QStringLiteral("QLabel { min-width: 340px; } #qt_msgbox_label { "
                                       "font-weight: bold; }"));
    alert.exec();
    return alert.clickedButton() == rename;
}

void TutorialView::setStep(Step step) {
    currentStep = step;
    showState();
}

void TutorialView::setMethod(RenameMode method) {
    currentPractice.method = method;
    showState();
}

void TutorialView::showState() {
    const int index = int(currentStep);
    indicator->setCurrent(index);
    pages->setCurrentIndex(index);

    const bool rules = currentPractice.method == RenameMode::rules;
    rulesChoice->setChecked(rules);
    spreadsheetChoice->setChecked(!rules);
    rulesPanel->setVisible(rules);
    spreadsheetPanel->setVisible(!rules);
    const std::optional<QString> problem = currentPractice.problem();
    statusSymbol->setPixmap(Symbols::icon(problem ? QStringLiteral("exclamationmark.circle.fill")
                                                  : QStringLiteral("checkmark.circle.fill"))
                                .pixmap(16, 16));
    statusText->setText(problem.value_or(QStringLiteral("3 ready · extensions stay the same")));
    previewPairs->setNewNames(currentPractice.proposedNames());

    const bool renamed = currentPractice.renamedNames.has_value();
    undoHeading->setText(renamed ? QStringLiteral("A fresh set of names.")
                                 : QStringLiteral("Back to the originals."));
    undoText->setText(renamed
                          ? QStringLiteral("Now try Undo last batch. In the app, it restores the "
                                           "most recent rename, even after you close and reopen "
                                           "Tessary.")
                          : QStringLiteral("That’s the whole loop: preview, confirm, and undo "
                                           "when you need to. This practice has not changed any "
                                           "files on disk."));
    undoPairs->setVisible(renamed);
    if (renamed)
        undoPairs->setNewNames(*currentPractice.renamedNames);

    backButton->setVisible(currentStep != Step::welcome);
    primaryButton->setText(actionTitle());
    primaryButton->setEnabled(!(currentStep == Step::preview && problem));
}
