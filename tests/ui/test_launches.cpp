// The real `tessary`, launched as a shell or a file manager launches it, while
// a window is open: its items go to that window, which comes to the front,
// and no second window opens. Runs once without a session bus (the local
// socket) and, where dbus-run-session exists, once on a private session bus.

#include "scripted_services.h"

#include "app/app_model.h"
#include "app/qsettings_store.h"
#include "ui/launch_channel.h"
#include "ui/main_window.h"
#include "ui/window_launches.h"

#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

constexpr int patience = 10000;

// Waits with the event loop running: the window in this process must answer.
bool ended(QProcess* process, int milliseconds = patience) {
    return QTest::qWaitFor([&] { return process->state() == QProcess::NotRunning; }, milliseconds);
}

bool showsText(QWidget* root, const QString& text) {
    for (QLabel* label : root->findChildren<QLabel*>()) {
        if (label->isVisible() && label->text() == text)
            return true;
    }
    return false;
}

} // namespace

class LaunchesTest : public QObject {
    Q_OBJECT
private slots:
    void laterLaunchesAndTheCliReachTheOpenWindow();

private:
    QTemporaryDir disk;
    QString at(const QString& name) const { return disk.filePath(name); }

    // Runs `program` from the temporary folder, as a person at a shell would.
    QProcess* run(const QString& program, const QStringList& arguments) {
        auto* process = new QProcess(this);
        process->setWorkingDirectory(disk.path());
        process->start(program, arguments);
        return process;
    }
    // A launch that hands its items to the open window and ends well.
    bool handsOver(const QStringList& arguments) {
        QProcess* launch = run(TESSARY_APP, arguments);
        return ended(launch) && launch->exitCode() == 0;
    }
};

void LaunchesTest::laterLaunchesAndTheCliReachTheOpenWindow() {
    QVERIFY(disk.isValid());
    // Never the person's own session: a window of theirs must not receive
    // the test's files, nor the test's launches reach their journal.
    if (!qEnvironmentVariableIsSet("TESSARY_TEST_BUS"))
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    qunsetenv("DISPLAY");
    qunsetenv("WAYLAND_DISPLAY");
    QDir().mkpath(at("runtime"));
    QFile(at("runtime")).setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("XDG_RUNTIME_DIR", at("runtime").toUtf8());
    qputenv("XDG_DATA_HOME", at("data").toUtf8());
    qputenv("XDG_CONFIG_HOME", at("config").toUtf8());
    qputenv("TESSARY_DEMO_ROOT", at("demo").toUtf8());
    qputenv("QT_QPA_PLATFORM", "offscreen");

    for (const char* folder : {"shoot", "My Trip", "loose"})
        QDir().mkpath(at(folder));
    for (const char* name : {"shoot/IMG_2.jpg", "shoot/IMG_10.jpg", "My Trip/day #1.jpg",
                             "My Trip/day #2.jpg", "My Trip/day #3.jpg", "loose/notes.txt"})
        QVERIFY(QFile(at(name)).open(QIODevice::WriteOnly));
    QSettingsStore settings(at("settings.ini"));
    settings.setFlag("hasSeenTutorial", true);
    ScriptedDialogs dialogs;
    ScriptedClipboard clipboard;
    RecordingUrlOpener urls;
    AppModel model(PlatformServices{dialogs, clipboard, settings, urls},
                   AppModel::Startup{at("journal"), {}, {}});
    MainWindow window(model, settings, urls);
    LaunchChannel channel("org.tessary.Tessary");
    QVERIFY(channel.claim({}, disk.path()));
    if (qEnvironmentVariableIsSet("TESSARY_TEST_BUS"))
        QVERIFY(
            QDBusConnection::sessionBus().interface()->isServiceRegistered("org.tessary.Tessary"));
    WindowLaunches launches(model, window);
    connect(&channel, &LaunchChannel::opened, &launches, &WindowLaunches::open);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    // Another window of the desktop has the focus when the launch comes.
    QWidget elsewhere;
    elsewhere.show();
    elsewhere.activateWindow();
    QTRY_VERIFY(elsewhere.isActiveWindow());

    // A relative path, a percent-encoded URI as Nemo and Nautilus pass them,
    // and a folder.
    const QString trip = QUrl::fromLocalFile(at("My Trip/day #1.jpg")).toString(QUrl::FullyEncoded);
    dialogs.openAnswers = {{QUrl::fromLocalFile(at("shoot"))},
                           {QUrl::fromLocalFile(at("My Trip"))},
                           {QUrl::fromLocalFile(at("loose"))}};
    QVERIFY(handsOver({"shoot/IMG_10.jpg", trip, at("loose")}));
    QTRY_COMPARE_WITH_TIMEOUT(model.files().size(), qsizetype(3), patience);
    // Through the same access step as a drop.
    QCOMPARE(dialogs.openRequests.size(), 3);
    QVERIFY(dialogs.openRequests[0].message.startsWith("You selected 3 items. "));
    QTRY_VERIFY(window.isActiveWindow());

    // Items that are not on this computer are refused with a sentence.
    QVERIFY(handsOver({"sftp://host/a.jpg"}));
    QTRY_COMPARE(model.error(), std::optional<QString>("Only files and folders on this computer "
                                                       "can be added, so sftp://host/a.jpg was "
                                                       "not added."));
    model.setError(std::nullopt);

    // While an editor is open the items wait, and are added when it closes.
    model.setShowSaveRecipe(true);
    QVERIFY(handsOver({at("shoot/IMG_2.jpg")}));
    QTest::qWait(200);
    QCOMPARE(model.files().size(), qsizetype(3));
    model.setShowSaveRecipe(false);
    QTRY_COMPARE_WITH_TIMEOUT(model.files().size(), qsizetype(4), patience);

    // Two launches at the same moment: neither opens a window, and neither's
    // items are lost.
    QProcess* first = run(TESSARY_APP, {"My Trip/day #2.jpg"});
    QProcess* second = run(TESSARY_APP, {"My Trip/day #3.jpg"});
    QVERIFY(ended(first) && ended(second));
    QCOMPARE(first->exitCode() + second->exitCode(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(model.files().size(), qsizetype(6), patience);

    // A demonstration opens a window of its own instead.
    QProcess* launch = run(TESSARY_APP, {"--demo"});
    QVERIFY(!ended(launch, 1500));
    QCOMPARE(QDir(at("demo/Journal")).exists(), true);
    launch->kill();
    launch->waitForFinished();
    QCOMPARE(model.files().size(), qsizetype(6));

    // tessary-cli undoes the window's batch: the window stops offering the undo.
    RenameRules rules;
    rules.prefix = "x-";
    model.setRules(rules);
    QTRY_VERIFY_WITH_TIMEOUT(model.canRename(), patience);
    model.rename();
    QTRY_VERIFY_WITH_TIMEOUT(showsText(&window, "6 names saved for undo"), patience);
    QProcess* undo = run(TESSARY_CLI, {"undo", "--journal", at("journal")});
    QVERIFY(ended(undo));
    QCOMPARE(undo->exitCode(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(model.undoCount(), qsizetype(0), patience);
    QVERIFY(!showsText(&window, "6 names saved for undo"));
    QCOMPARE(QDir(at("shoot")).entryList(QDir::Files), (QStringList{"IMG_10.jpg", "IMG_2.jpg"}));
}

QTEST_MAIN(LaunchesTest)
#include "test_launches.moc"
