#include "scripted_services.h"

#include "app/app_model.h"
#include "app/qsettings_store.h"
#include "ui/tutorial_view.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <memory>

using Step = TutorialView::Step;
using namespace Qt::StringLiterals;

namespace {

// The sheet with the confirmation answered by the test: each ask takes the
// next answer, and with none left the user cancels.
class AnsweredTutorial : public TutorialView {
public:
    using TutorialView::TutorialView;
    QList<bool> answers;
    int asked = 0;

protected:
    bool askToRenameSamples() override {
        ++asked;
        return !answers.isEmpty() && answers.takeFirst();
    }
};

QAbstractButton* visibleButton(QWidget* root, const QString& text) {
    for (QAbstractButton* button : root->findChildren<QAbstractButton*>()) {
        if (button->text() == text && button->isVisible())
            return button;
    }
    return nullptr;
}

// False when no such button is on screen or it cannot be pressed.
bool press(QWidget* root, const QString& text) {
    QAbstractButton* button = visibleButton(root, text);
    if (!button || !button->isEnabled())
        return false;
    QTest::mouseClick(button, Qt::LeftButton);
    return true;
}

QStringList shownTexts(QWidget* root) {
    QStringList texts;
    for (QLabel* label : root->findChildren<QLabel*>()) {
        if (label->isVisible() && !label->text().isEmpty())
            texts.append(label->text());
    }
    return texts;
}

bool showsAll(QWidget* root, const QStringList& expected) {
    const QStringList texts = shownTexts(root);
    return std::all_of(expected.cbegin(), expected.cend(),
                       [&](const QString& text) { return texts.contains(text); });
}

QLineEdit* projectField(QWidget* root) {
    for (QLineEdit* field : root->findChildren<QLineEdit*>()) {
        if (field->accessibleName() == u"Sample project name"_s)
            return field;
    }
    return nullptr;
}

void retype(QLineEdit* field, const QString& text) {
    field->selectAll();
    QTest::keyClick(field, Qt::Key_Backspace);
    QTest::keyClicks(field, text);
}

QString indicatorName(QWidget* root) {
    for (QWidget* widget : root->findChildren<QWidget*>()) {
        if (widget->accessibleName().startsWith(u"Tutorial step "_s))
            return widget->accessibleName();
    }
    return {};
}

const QStringList studioNorth = {"studio-north-001.pdf", "studio-north-002.jpg",
                                 "studio-north-003.png"};
const QStringList acmeLaunch = {"acme-launch-001.pdf", "acme-launch-002.jpg",
                                "acme-launch-003.png"};
const QStringList fromSpreadsheet = {"north-deck.pdf", "north-photo.jpg", "north-logo.png"};
const QString noProjectName = u"Enter a project name to try this recipe."_s;

} // namespace

class TutorialTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init();
    void cleanup();
    void practiceRefusesABlankOrUnusableProjectName();
    void rulesLoopRenamesAndUndoesOnScreenOnly();
    void spreadsheetLoopNeedsNoProjectName();
    void theAlertRenamesOnceAndBackUndoesIt();
    void everyWayOutRecordsTheTutorialAsSeen_data();
    void everyWayOutRecordsTheTutorialAsSeen();

private:
    std::unique_ptr<QTemporaryDir> disk;
    ScriptedDialogs dialogs;
    ScriptedClipboard clipboard;
    RecordingUrlOpener urls;
    std::unique_ptr<QSettingsStore> settings;
    std::unique_ptr<AppModel> model;
    std::unique_ptr<AnsweredTutorial> view;

    bool seen() const { return settings->flag(u"hasSeenTutorial"_s); }
};

void TutorialTest::init() {
    disk = std::make_unique<QTemporaryDir>();
    urls = RecordingUrlOpener();
    settings = std::make_unique<QSettingsStore>(disk->filePath(u"settings.ini"_s));
    model = std::make_unique<AppModel>(
        PlatformServices{dialogs, clipboard, *settings, urls},
        AppModel::Startup{disk->filePath(u"journal"_s), {}, QProcessEnvironment()});
    model->presentTutorial();
    QVERIFY(model->showTutorial());
    view = std::make_unique<AnsweredTutorial>(*model, *settings, urls);
    view->show();
    QVERIFY(QTest::qWaitForWindowExposed(view.get()));
}

void TutorialTest::cleanup() {
    view.reset();
    model.reset();
}

// The names each project name proposes are checked on screen below.
void TutorialTest::practiceRefusesABlankOrUnusableProjectName() {
    for (auto [name, problem] : {std::pair(u" \t\n "_s, noProjectName),
                                 std::pair(u"North/South"_s, u"Remove slashes, colons, or "
                                                             "control characters."_s)}) {
        TutorialPractice practice;
        practice.projectName = name;
        QCOMPARE(practice.problem(), std::optional<QString>(problem));
    }
}

void TutorialTest::rulesLoopRenamesAndUndoesOnScreenOnly() {
    QCOMPARE(view->step(), Step::welcome);
    QCOMPARE(indicatorName(view.get()), u"Tutorial step 1 of 4"_s);
    QVERIFY(!visibleButton(view.get(), u"Back"_s));
    QVERIFY(showsAll(view.get(), {"Your first rename, without the worry."}));

    QVERIFY(press(view.get(), u"Try sample files"_s));
    QCOMPARE(indicatorName(view.get()), u"Tutorial step 2 of 4"_s);
    QVERIFY(showsAll(view.get(), TutorialPractice::sampleNames() + studioNorth));
    QVERIFY(showsAll(view.get(), {"3 ready · extensions stay the same"}));
    retype(projectField(view.get()), u"Acme Launch"_s);
    QVERIFY(showsAll(view.get(), acmeLaunch));

    // Cancel at the alert leaves the samples as they are.
    QVERIFY(press(view.get(), u"Rename sample files"_s));
    QCOMPARE(view->asked, 1);
    QCOMPARE(view->step(), Step::preview);
    QVERIFY(!view->practice().renamedNames);

    view->answers = {true};
    QVERIFY(press(view.get(), u"Rename sample files"_s));
    QCOMPARE(view->step(), Step::undo);
    QCOMPARE(view->practice().renamedNames, std::optional<QStringList>(acmeLaunch));
    QVERIFY(showsAll(view.get(), QStringList{"A fresh set of names."} + acmeLaunch));

    QVERIFY(press(view.get(), u"Undo sample rename"_s));
    QCOMPARE(view->step(), Step::undo);
    QVERIFY(!view->practice().renamedNames);
    QVERIFY(showsAll(view.get(), {"Back to the originals."}));
    QVERIFY(!shownTexts(view.get()).contains(acmeLaunch.front()));

    QVERIFY(press(view.get(), u"Continue"_s));
    QCOMPARE(view->step(), Step::finish);
    QCOMPARE(indicatorName(view.get()), u"Tutorial step 4 of 4"_s);
    QVERIFY(press(view.get(), u"Full guide ↗"_s));
    QCOMPARE(urls.opened, QList<QUrl>{TutorialView::userGuide()});
    QVERIFY(TutorialView::userGuide().isLocalFile());

    QVERIFY(press(view.get(), u"Start using Tessary"_s));
    QVERIFY(!view->isVisible());
    QVERIFY(seen());
    QVERIFY(!model->showTutorial());
    QVERIFY(model->files().isEmpty());
    QCOMPARE(model->undoCount(), 0);
    QVERIFY(!QFile::exists(disk->filePath(u"journal/undo.json"_s)));
}

void TutorialTest::spreadsheetLoopNeedsNoProjectName() {
    QVERIFY(press(view.get(), u"Try sample files"_s));
    retype(projectField(view.get()), u"North/South"_s);
    QVERIFY(showsAll(view.get(), {u"Remove slashes, colons, or control characters."_s}));
    QVERIFY(!press(view.get(), u"Rename sample files"_s));
    retype(projectField(view.get()), u"   "_s);
    QVERIFY(showsAll(view.get(), {noProjectName}));
    QVERIFY(!press(view.get(), u"Rename sample files"_s));
    QCOMPARE(view->asked, 0);
    view->confirmSampleRename();
    QCOMPARE(view->step(), Step::preview);

    QVERIFY(press(view.get(), u"Spreadsheet"_s));
    QVERIFY(!projectField(view.get())->isVisible());
    QVERIFY(!shownTexts(view.get()).contains(noProjectName));
    QVERIFY(
        showsAll(view.get(), fromSpreadsheet + QStringList{TutorialPractice::spreadsheetSample()}));

    // Return is the primary button's key.
    view->answers = {true};
    QTest::keyClick(view.get(), Qt::Key_Return);
    QCOMPARE(view->step(), Step::undo);
    QCOMPARE(view->practice().renamedNames, std::optional<QStringList>(fromSpreadsheet));

    QVERIFY(press(view.get(), u"Back"_s));
    QVERIFY(press(view.get(), u"Naming rules"_s));
    QVERIFY(showsAll(view.get(), {noProjectName}));
    QVERIFY(!visibleButton(view.get(), u"Rename sample files"_s)->isEnabled());
}

void TutorialTest::theAlertRenamesOnceAndBackUndoesIt() {
    TutorialView plain(*model, *settings, urls);
    plain.show();
    QVERIFY(QTest::qWaitForWindowExposed(&plain));
    QVERIFY(press(&plain, u"Try sample files"_s));

    QString title;
    QString message;
    auto answerWith = [&](const QString& choice) {
        QTimer::singleShot(0, [&, choice] {
            auto* alert = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!alert)
                return;
            title = alert->windowTitle();
            message = alert->informativeText();
            press(alert, choice);
        });
    };
    answerWith(u"Cancel"_s);
    QVERIFY(press(&plain, u"Rename sample files"_s));
    QCOMPARE(title, u"Rename these 3 sample files?"_s);
    QVERIFY(message.startsWith(u"This practice changes sample names on screen only."_s));
    QCOMPARE(plain.step(), Step::preview);

    answerWith(u"Rename samples"_s);
    QVERIFY(press(&plain, u"Rename sample files"_s));
    QCOMPARE(plain.step(), Step::undo);
    QCOMPARE(plain.practice().renamedNames, std::optional<QStringList>(studioNorth));

    // A second "Rename samples" finds the samples already renamed.
    const TutorialPractice once = plain.practice();
    plain.confirmSampleRename();
    QVERIFY(plain.practice() == once);
    QCOMPARE(plain.step(), Step::undo);

    QVERIFY(press(&plain, u"Back"_s));
    QCOMPARE(plain.step(), Step::preview);
    QVERIFY(!plain.practice().renamedNames);
    QVERIFY(showsAll(&plain, TutorialPractice::sampleNames() + studioNorth));
    QVERIFY(press(&plain, u"Back"_s));
    QCOMPARE(plain.step(), Step::welcome);
    plain.goBack();
    QCOMPARE(plain.step(), Step::welcome);

    AnsweredTutorial next(*model, *settings, urls);
    QCOMPARE(next.step(), Step::welcome);
    QVERIFY(next.practice() == TutorialPractice());
}

void TutorialTest::everyWayOutRecordsTheTutorialAsSeen_data() {
    QTest::addColumn<QString>("way");
    QTest::newRow("Skip tutorial on welcome") << "skip";
    QTest::newRow("Skip tutorial after the rename") << "skip after rename";
    QTest::newRow("Escape") << "escape";
    QTest::newRow("window closed") << "close";
    QTest::newRow("model lets go") << "model";
}

void TutorialTest::everyWayOutRecordsTheTutorialAsSeen() {
    QFETCH(QString, way);
    QVERIFY(!seen());
    if (way == "skip after rename") {
        view->answers = {true};
        QVERIFY(press(view.get(), u"Try sample files"_s));
        QVERIFY(press(view.get(), u"Rename sample files"_s));
    }
    if (way.startsWith("skip")) {
        QVERIFY(press(view.get(), u"Skip tutorial"_s));
    } else if (way == "escape") {
        QTest::keyClick(view.get(), Qt::Key_Escape);
    } else if (way == "close") {
        view->close();
    } else {
        model->setShowTutorial(false);
    }
    // A shortcut clicks its button after a short press animation.
    QTRY_VERIFY(!view->isVisible());
    QVERIFY(seen());
    QVERIFY(!model->showTutorial());
}

QTEST_MAIN(TutorialTest)
#include "test_tutorial.moc"
