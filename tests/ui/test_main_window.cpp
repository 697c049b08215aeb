#include "scripted_services.h"

#include "app/app_model.h"
#include "app/platform/qt_file_dialogs.h"
#include "app/qsettings_store.h"
#include "ui/main_window.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QProgressBar>
#include <QRegularExpression>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

namespace {

template <typename Widget = QAbstractButton> Widget* withText(QWidget* root, const QString& text) {
    for (Widget* widget : root->findChildren<Widget*>()) {
        if (widget->text() == text && widget->isVisible())
            return widget;
    }
    return nullptr;
}

// Answers the next message box that opens with the button labelled `choice`.
void answerNextMessageBox(const QString& choice) {
    QTimer::singleShot(0, [choice] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (QAbstractButton* button = box ? withText(box, choice) : nullptr)
            button->click();
        else
            answerNextMessageBox(choice);
    });
}

} // namespace

class MainWindowTest : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup() {
        window.reset();
        model.reset();
    }
    void dropRenameAndUndoAsAPersonWould();
    void longRenameShowsItsCountAndABar();
    void spreadsheetRenameQuittingAndRecovery();
    void folderChoosersSayWhyAndStartWhereThePersonIs();
    void keyboardLeavesTheTableAndRemovesRows();

private:
    std::unique_ptr<QTemporaryDir> disk;
    ScriptedDialogs dialogs;
    ScriptedClipboard clipboard;
    RecordingUrlOpener urls;
    std::unique_ptr<QSettingsStore> settings;
    std::unique_ptr<AppModel> model;
    std::unique_ptr<MainWindow> window;
    QString shoot;

    // What the window shows, and its buttons, as a person finds them.
    bool shows(const QString& text) { return withText<QLabel>(window.get(), text); }
    bool offers(const QString& text) { return withText(window.get(), text); }
    bool canPress(const QString& text) {
        return offers(text) && withText(window.get(), text)->isEnabled();
    }
    void press(const QString& text) { withText(window.get(), text)->click(); }
    QAction* command(const QString& title) { return withText<QAction>(window.get(), title); }
    QStringList shootNames() { return QDir(shoot).entryList(QDir::Files, QDir::Name); }

    void addFolder(const QString& folder, int timeout = 10000) {
        dialogs.openAnswers.append({QUrl::fromLocalFile(folder)});
        command("Add Folder…")->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(!model->files().isEmpty() && !model->previewing(), timeout);
    }

    // A new run of the app on the same journal and settings.
    void launch() {
        window.reset();
        model = std::make_unique<AppModel>(PlatformServices{dialogs, clipboard, *settings, urls},
                                           AppModel::Startup{disk->path() + "/journal", {}, {}});
        window = std::make_unique<MainWindow>(*model, *settings, urls);
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    }
};

void MainWindowTest::init() {
    disk = std::make_unique<QTemporaryDir>();
    shoot = disk->path() + "/shoot";
    QDir().mkpath(shoot);
    for (const char* name : {"IMG_2.jpg", "IMG_10.jpg"})
        QVERIFY(QFile(shoot + "/" + name).open(QIODevice::WriteOnly));
    settings = std::make_unique<QSettingsStore>(disk->path() + "/settings.ini");
    settings->setFlag("hasSeenTutorial", true);
    dialogs = ScriptedDialogs();
    launch();
}

void MainWindowTest::dropRenameAndUndoAsAPersonWould() {
    QVERIFY(!command("Undo Last Rename Batch")->isEnabled());
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(shoot)});
    auto drop = [&] {
        QDragEnterEvent enter({200, 200}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(window.get(), &enter);
        QDropEvent dropped({200, 200}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(window.get(), &dropped);
        return enter.isAccepted() && dropped.isAccepted();
    };
    model->setShowSaveRecipe(true);
    QVERIFY(!drop());
    model->setShowSaveRecipe(false);
    // A dropped folder is not a chosen one: its access is asked for.
    dialogs.openAnswers.append({QUrl::fromLocalFile(shoot)});
    QVERIFY(drop());
    QTRY_VERIFY_WITH_TIMEOUT(shows("2 files · naturally sorted by name"), 10000);
    QCOMPARE(dialogs.openRequests.last().title, "Allow access to shoot");

    // One base name for two files: both rows collide, and the window says why.
    for (QLineEdit* field : window->findChildren<QLineEdit*>())
        if (field->accessibleName() == "Base name")
            QTest::keyClicks(field, "Shoot");
    QTRY_VERIFY_WITH_TIMEOUT(offers("Review 2 conflicts"), 10000);
    QVERIFY(!canPress("Rename 0 files"));
    press("Review 2 conflicts");
    QTRY_VERIFY(shows("Resolve conflicts before renaming"));
    // A conflict's name selects every file it collides with.
    for (QLabel* conflict : window->findChildren<QLabel*>()) {
        if (conflict->text().contains("Proposed:"))
            emit conflict->linkActivated("0");
    }
    QTRY_VERIFY(offers("Remove 2"));

    press("Add a sequence");
    QTRY_VERIFY_WITH_TIMEOUT(canPress("Rename 2 files"), 10000);
    answerNextMessageBox("Rename files");
    press("Rename 2 files");
    QTRY_COMPARE_WITH_TIMEOUT(shootNames(), (QStringList{"Shoot-001.jpg", "Shoot-002.jpg"}), 10000);
    QTRY_VERIFY_WITH_TIMEOUT(
        shows("2 files renamed. You can undo this batch, even after reopening Tessary."), 10000);
    QVERIFY(shows("2 names saved for undo"));
    QVERIFY(command("Undo Last Rename Batch")->isEnabled());

    dialogs.openAnswers.append({QUrl::fromLocalFile(shoot)});
    press("Undo last batch");
    QTRY_COMPARE_WITH_TIMEOUT(shootNames(), (QStringList{"IMG_10.jpg", "IMG_2.jpg"}), 10000);
    QTRY_VERIFY(shows("The last batch was undone. Original names restored."));
}

void MainWindowTest::longRenameShowsItsCountAndABar() {
    // On tmpfs where there is one: 10,000 folder flushes on a disk take a minute.
    QTemporaryDir fast(QDir("/dev/shm").exists() ? "/dev/shm/tessary-XXXXXX"
                                                 : disk->path() + "/fast-XXXXXX");
    for (int number = 1; number <= 5000; ++number)
        QVERIFY(QFile(fast.filePath(QString("IMG_%1.jpg").arg(number))).open(QIODevice::WriteOnly));
    addFolder(fast.path(), 30000);
    press("Add a sequence");
    QTRY_VERIFY_WITH_TIMEOUT(canPress("Rename 5000 files"), 30000);

    // The footer counts the reading of the files' dates too; that is over
    // before the rename's count is watched.
    QTRY_VERIFY_WITH_TIMEOUT(!model->readingProgress(), 30000);
    auto* bar = window->findChild<QProgressBar*>();
    // Whenever the window gets to draw: the count in the footer, and whether
    // the notice above says the same instead of what it said before.
    QStringList counts;
    QTimer look;
    connect(&look, &QTimer::timeout, [&] {
        if (!bar->isVisible())
            return;
        QString count = bar->parentWidget()->findChild<QLabel*>()->text();
        int showing = 0;
        for (QLabel* label : window->findChildren<QLabel*>())
            showing += label->isVisible() && label->text() == count;
        counts.append(count + (showing == 2 ? "" : " (not in the notice)"));
    });
    look.start(1);
    answerNextMessageBox("Rename files");
    press("Rename 5000 files");
    QTRY_VERIFY_WITH_TIMEOUT(
        shows("5000 files renamed. You can undo this batch, even after reopening Tessary."), 30000);
    QVERIFY(!bar->isVisible());
    QVERIFY2(!counts.filter(" of 5000 files…").isEmpty(), qPrintable(counts.join('\n')));
    QCOMPARE(counts.filter(QRegularExpression("^Renaming (files|\\d+ of 5000 files)…$")), counts);
}

void MainWindowTest::spreadsheetRenameQuittingAndRecovery() {
    addFolder(shoot);
    press("Spreadsheet");
    press("Add spreadsheet");
    QTRY_VERIFY(offers("Paste columns"));
    clipboard.contents = "IMG_2.jpg,first.jpg\nIMG_10.jpg,second.jpg\n";
    press("Paste columns");
    press("Done");
    QTRY_VERIFY_WITH_TIMEOUT(canPress("Rename 2 files"), 10000);
    model->rename();
    // Quitting waits for the rename.
    answerNextMessageBox("OK");
    QVERIFY(!window->close());
    QVERIFY(window->isVisible());
    QTRY_VERIFY_WITH_TIMEOUT(!model->busy(), 10000);
    QVERIFY(window->close());
    // Interrupted after both files had their new names; then another program
    // replaced one of them.
    const QString journal = disk->path() + "/journal";
    QFile undo(journal + "/undo.json");
    QFile active(journal + "/active.json");
    QVERIFY(undo.open(QIODevice::ReadOnly) && active.open(QIODevice::WriteOnly));
    active.write(undo.readAll().replace(R"("completed":true)", R"("completed":false)"));
    active.close();
    QVERIFY(undo.remove());
    QVERIFY(QFile(shoot + "/replacement").open(QIODevice::WriteOnly));
    QCOMPARE(std::rename(qPrintable(shoot + "/replacement"), qPrintable(shoot + "/second.jpg")), 0);

    launch();
    QVERIFY(!offers("Restore the files that can be found…"));
    dialogs.openAnswers.append({QUrl::fromLocalFile(shoot)});
    answerNextMessageBox("OK");
    press("Recover original names");
    QTRY_VERIFY_WITH_TIMEOUT(offers("Restore the files that can be found…"), 10000);
    QTRY_VERIFY(!model->error());

    answerNextMessageBox("Restore found files");
    press("Restore the files that can be found…");
    QTRY_COMPARE_WITH_TIMEOUT(shootNames(), (QStringList{"IMG_2.jpg", "second.jpg"}), 10000);
    QTRY_VERIFY(!offers("Recover original names"));
    // The record stays findable: its line opens the journal folder.
    for (QLabel* label : window->findChildren<QLabel*>()) {
        if (label->isVisible() && label->text().contains("1 set-aside batch record</a>"))
            emit label->linkActivated("journal");
    }
    QCOMPARE(urls.opened, QList<QUrl>{QUrl::fromLocalFile(journal)});
    urls.nothingOpens = true;
    model->showJournal();
    QTRY_VERIFY(shows("No file manager could open the journal folder: " + journal + "."));
    // The ampersand is part of the title, not a keyboard mnemonic.
    command("Privacy && Support")->trigger();
    QTRY_VERIFY(
        shows("No browser could open this page: " + urls.opened.last().toLocalFile() + "."));
}

// The real dialogs: the reason for an access request is on screen, the folder
// asked for is already chosen, and the next panel starts where the person chose.
void MainWindowTest::folderChoosersSayWhyAndStartWhereThePersonIs() {
    const QString photos = disk->filePath("Photos");
    QDir().mkpath(photos);
    QtFileDialogs dialogs;
    FileDialogs::OpenRequest access;
    access.title = "Allow access to Photos";
    access.prompt = "Allow this folder";
    access.message = "Tessary needs this exact folder: " + photos + ".";
    access.chooseFolders = true;
    access.initialFolder = QUrl::fromLocalFile(photos);
    FileDialogs::OpenRequest add;
    add.prompt = "Add files";
    QStringList seen;
    auto answer = [&](const QString& button) {
        QTimer::singleShot(0, [&seen, button] {
            QWidget* frame = QApplication::activeModalWidget();
            auto* message = frame->findChild<QLabel*>("dialogMessage");
            seen << frame->windowTitle() << (message ? message->text() : QString())
                 << frame->findChild<QFileDialog*>()->directory().absolutePath();
            withText(frame, button)->click();
        });
    };
    answer("Allow this folder");
    QCOMPARE(dialogs.open(access), QList<QUrl>{QUrl::fromLocalFile(photos)});
    answer("Cancel");
    QVERIFY(dialogs.open(add).isEmpty());
    QCOMPARE(seen,
             (QStringList{access.title, access.message, disk->path(), "Add files", "", photos}));
}

void MainWindowTest::keyboardLeavesTheTableAndRemovesRows() {
    addFolder(shoot);
    auto* table = window->findChild<QTableView*>();
    window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window.get()));
    table->setFocus();
    table->selectRow(0);
    QTest::keyClick(table, Qt::Key_Tab);
    QVERIFY(!table->hasFocus());

    table->setFocus();
    QTest::keyClick(table, Qt::Key_Delete);
    QTRY_COMPARE(table->model()->rowCount(), 1);
    table->selectRow(0);
    QTest::keyClick(table, Qt::Key_Backspace);
    QTRY_COMPARE(table->model()->rowCount(), 0);
}

QTEST_MAIN(MainWindowTest)
#include "test_main_window.moc"
