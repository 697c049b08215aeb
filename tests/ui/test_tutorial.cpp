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

using Step = TutorialView::Step;
using namespace Qt::StringLiterals;

namespace {

// The title and text of the last alert answered.
QString lastAlert;
bool press(QWidget* root, const QString& text, const QString& answer = u"Cancel"_s);

// An alert that the next step opens is answered with the button `answer`.
void answerAlert(const QString& answer) {
    QTimer::singleShot(0, [answer] {
        if (auto* alert = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            lastAlert = alert->windowTitle() + u"\n"_s + alert->informativeText();
            press(alert, answer);
        }
    });
}

// False when no such button is on screen or it cannot be pressed. An alert
// the press opens is answered with `answer`, so none waits for a person; an
// answer that no alert took is spent before the next press.
bool press(QWidget* root, const QString& text, const QString& answer) {
    for (QAbstractButton* button : root->findChildren<QAbstractButton*>()) {
        if (button->text() == text && button->isVisible() && button->isEnabled()) {
            answerAlert(answer);
            QTest::mouseClick(button, Qt::LeftButton);
            QCoreApplication::processEvents();
            return true;
        }
    }
    return false;
}

// Whether labels on screen show all of `texts`.
bool shows(QWidget* root, QStringList texts) {
    for (QLabel* label : root->findChildren<QLabel*>()) {
        if (label->isVisible())
            texts.removeAll(label->text());
    }
    return texts.isEmpty();
}

void retype(QWidget* root, const QString& text) {
    auto* field = root->findChild<QLineEdit*>();
    field->selectAll();
    QTest::keyClicks(field, text);
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
    void cleanup() {
        view.reset();
        model.reset();
    }
    void rulesLoopRenamesAndUndoesOnScreenOnly();
    void spreadsheetLoopNeedsNoProjectNameAndBackUndoes();
    void everyWayOutRecordsTheTutorialAsSeen_data();
    void everyWayOutRecordsTheTutorialAsSeen();

private:
    std::unique_ptr<QTemporaryDir> disk;
    ScriptedDialogs dialogs;
    ScriptedClipboard clipboard;
    RecordingUrlOpener urls;
    std::unique_ptr<QSettingsStore> settings;
    std::unique_ptr<AppModel> model;
    std::unique_ptr<TutorialView> view;

    bool seen() const { return settings->flag(u"hasSeenTutorial"_s); }
};

void TutorialTest::init() {
    lastAlert.clear();
    disk = std::make_unique<QTemporaryDir>();
    urls = RecordingUrlOpener();
    settings = std::make_unique<QSettingsStore>(disk->filePath(u"settings.ini"_s));
    model = std::make_unique<AppModel>(
        PlatformServices{dialogs, clipboard, *settings, urls},
        AppModel::Startup{disk->filePath(u"journal"_s), {}, QProcessEnvironment()});
    model->presentTutorial();
    view = std::make_unique<TutorialView>(*model, *settings, urls);
    view->show();
    QVERIFY(QTest::qWaitForWindowExposed(view.get()));
}

void TutorialTest::rulesLoopRenamesAndUndoesOnScreenOnly() {
    QVERIFY(!press(view.get(), u"Back"_s));

    QVERIFY(press(view.get(), u"Try sample files"_s));
    QVERIFY(shows(view.get(), TutorialPractice::sampleNames() + studioNorth +
                                  QStringList{"3 ready · extensions stay the same"}));
    retype(view.get(), u"Acme Launch"_s);
    QVERIFY(shows(view.get(), acmeLaunch));

    // The alert asks first, and Cancel leaves the samples as they are.
    QVERIFY(press(view.get(), u"Rename sample files"_s));
    QVERIFY(lastAlert.startsWith(u"Rename these 3 sample files?\nThis practice changes sample "
                                 "names on screen only."_s));
    QCOMPARE(view->step(), Step::preview);
    QVERIFY(press(view.get(), u"Rename sample files"_s, u"Rename samples"_s));
    QVERIFY(shows(view.get(), QStringList{"A fresh set of names."} + acmeLaunch));

    QVERIFY(press(view.get(), u"Undo sample rename"_s));
    QVERIFY(shows(view.get(), {"Back to the originals."}));
    QVERIFY(!shows(view.get(), {acmeLaunch.front()}));

    QVERIFY(press(view.get(), u"Continue"_s));
    QVERIFY(std::ranges::any_of(view->findChildren<QWidget*>(), [](QWidget* widget) {
        return widget->accessibleName() == u"Tutorial step 4 of 4"_s;
    }));
    QVERIFY(press(view.get(), u"Full guide ↗"_s));
    QCOMPARE(urls.opened, QList<QUrl>{TutorialView::userGuide()});
    QVERIFY(TutorialView::userGuide().isLocalFile());

    QVERIFY(press(view.get(), u"Start using Tessary"_s));
    QVERIFY(!view->isVisible());
    QVERIFY(model->files().isEmpty());
    QVERIFY(!QFile::exists(disk->filePath(u"journal/undo.json"_s)));
}

void TutorialTest::spreadsheetLoopNeedsNoProjectNameAndBackUndoes() {
    QVERIFY(press(view.get(), u"Try sample files"_s));
    for (auto [typed, problem] :
         {std::pair(u"North/South"_s, u"Remove slashes, colons, or control characters."_s),
          std::pair(u"   "_s, noProjectName)}) {
        retype(view.get(), typed);
        QVERIFY(shows(view.get(), {problem}));
        QVERIFY(!press(view.get(), u"Rename sample files"_s));
    }
    view->confirmSampleRename();
    QCOMPARE(view->step(), Step::preview);

    QVERIFY(press(view.get(), u"Spreadsheet"_s));
    QVERIFY(!shows(view.get(), {noProjectName}));
    QVERIFY(
        shows(view.get(), fromSpreadsheet + QStringList{TutorialPractice::spreadsheetSample()}));

    // Return is the primary button's key.
    answerAlert(u"Rename samples"_s);
    QTest::keyClick(view.get(), Qt::Key_Return);
    QVERIFY(shows(view.get(), QStringList{"A fresh set of names."} + fromSpreadsheet));
    // A second confirmation finds the samples already renamed.
    const TutorialPractice once = view->practice();
    view->confirmSampleRename();
    QVERIFY(view->practice() == once);

    QVERIFY(press(view.get(), u"Back"_s));
    QCOMPARE(view->step(), Step::preview);
    QVERIFY(!view->practice().renamedNames);
    QVERIFY(press(view.get(), u"Naming rules"_s));
    QVERIFY(shows(view.get(), {noProjectName}));
    QVERIFY(press(view.get(), u"Back"_s));
    view->goBack();
    QCOMPARE(view->step(), Step::welcome);
}

void TutorialTest::everyWayOutRecordsTheTutorialAsSeen_data() {
    QTest::addColumn<QString>("way");
    for (const char* way : {"skip", "skip after rename", "escape", "close", "model"})
        QTest::newRow(way) << QString(way);
}

void TutorialTest::everyWayOutRecordsTheTutorialAsSeen() {
    QFETCH(QString, way);
    QVERIFY(!seen());
    if (way == "skip after rename") {
        QVERIFY(press(view.get(), u"Try sample files"_s));
        QVERIFY(press(view.get(), u"Rename sample files"_s, u"Rename samples"_s));
    }
    if (way.startsWith("skip"))
        QVERIFY(press(view.get(), u"Skip tutorial"_s));
    else if (way == "escape")
        QTest::keyClick(view.get(), Qt::Key_Escape);
    else if (way == "close")
        view->close();
    else
        model->setShowTutorial(false);
    // A shortcut clicks its button after a short press animation.
    QTRY_VERIFY(!view->isVisible());
    QVERIFY(seen());
    QVERIFY(!model->showTutorial());
}

QTEST_MAIN(TutorialTest)
#include "test_tutorial.moc"
