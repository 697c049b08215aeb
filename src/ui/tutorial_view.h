#pragma once

#include "ui/tutorial_practice.h"

#include <QDialog>
#include <QUrl>

class AppModel;
class QLabel;
class QLineEdit;
class QPushButton;
class QStackedWidget;
class QWidget;
class SettingsStore;
class UrlOpener;

namespace TutorialParts {
class NamePairs;
class StepIndicator;
} // namespace TutorialParts

// The quick tutorial sheet: a practice rename and undo of three sample names,
// by naming rules or by spreadsheet, that never touches the disk, the batch or
// the journal. The window shows a new one each time the model's
// `showTutorial` is set, so every showing starts at `welcome` with a fresh
// practice. However it closes, it records "hasSeenTutorial" and clears the
// model's `showTutorial`.
class TutorialView : public QDialog {
    Q_OBJECT
public:
    enum class Step { welcome = 0, preview = 1, undo = 2, finish = 3 };

    TutorialView(AppModel& model, SettingsStore& settings, UrlOpener& urls,
                 QWidget* parent = nullptr);

    Step step() const { return currentStep; }
    const TutorialPractice& practice() const { return currentPractice; }

    // The label of the primary button for the current step and practice.
    QString actionTitle() const;

    // The local copy of the user guide that "Full guide ↗" opens.
    static QUrl userGuide();

public slots:
    // The primary button.
    void advance();
    // "Back": from `undo` it also undoes the sample rename.
    void goBack();
    // The alert's "Rename samples": renames the samples once, and only while
    // the practice has no problem.
    void confirmSampleRename();
    // Whatever closes the sheet also dismisses the tutorial for good.
    void done(int result) override;

protected:
    // Asks with the confirmation alert; true when the user chose "Rename
    // samples". Tests answer here instead of at a modal alert.
    virtual bool askToRenameSamples();

private:
    AppModel& model;
    SettingsStore& settings;
    UrlOpener& urls;
    Step currentStep = Step::welcome;
    TutorialPractice currentPractice;

    TutorialParts::StepIndicator* indicator = nullptr;
    QStackedWidget* pages = nullptr;
    QPushButton* rulesChoice = nullptr;
    QPushButton* spreadsheetChoice = nullptr;
    QWidget* rulesPanel = nullptr;
    QWidget* spreadsheetPanel = nullptr;
    QLineEdit* projectField = nullptr;
    QLabel* statusSymbol = nullptr;
    QLabel* statusText = nullptr;
    TutorialParts::NamePairs* previewPairs = nullptr;
    QLabel* undoHeading = nullptr;
    QLabel* undoText = nullptr;
    TutorialParts::NamePairs* undoPairs = nullptr;
    QPushButton* backButton = nullptr;
    QPushButton* primaryButton = nullptr;

    QWidget* makeHeader();
    QWidget* makeWelcome();
    QWidget* makePreview();
    QWidget* makeUndo();
    QWidget* makeFinish();
    QWidget* makeFooter();

    void setStep(Step step);
    void setMethod(RenameMode method);
    // Brings every widget in line with the step and the practice.
    void showState();
};
