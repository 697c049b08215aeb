// The window's share of typing in the rules inspector: 5,000 files in the
// table, the base name typed one letter at a time into the real field, then
// the time from the last keystroke until the table shows the new names, and
// the longest stretch the main thread could not serve events.

#include "bench_support.h"

#include "app/app_model.h"
#include "app/qsettings_store.h"
#include "ui/main_window.h"
#include "ui/sheen.h"

#include <QAbstractItemModel>
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QStyleFactory>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTextStream>

namespace {

constexpr int fileCount = 5000;

void waitUntil(const std::function<bool()>& done) {
    while (!done())
        QTest::qWait(1);
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    QApplication::setPalette(Sheen::lightPalette());
    QTextStream out(stdout);
    QTemporaryDir work;
    QString files = work.path() + "/files";
    QDir().mkpath(files);
    if (!writeEmptyFiles(files, fileCount, QStringLiteral("IMG_%1 Holiday.jpg")))
        return 1;

    FolderAnswer dialogs(files);
    NoClipboard clipboard;
    QSettingsStore settings(work.path() + "/settings.ini");
    settings.setFlag("hasSeenTutorial", true);
    NoUrls urls;
    AppModel model({dialogs, clipboard, settings, urls}, {work.path() + "/journal", {}, {}});
    MainWindow window(model, settings, urls);
    window.show();
    (void)QTest::qWaitForWindowExposed(&window);
    auto* table = window.findChild<QTableView*>();

    Watchdog watchdog;
    model.openFiles(true);
    waitUntil([&] {
        return !model.busy() && !model.previewing() && table->model()->rowCount() == fileCount;
    });
    out << "rows in the table: " << table->model()->rowCount()
        << "; longest main-thread block while "
        << "adding: " << QString::number(watchdog.longestMilliseconds(), 'f', 1) << " ms\n";

    QLineEdit* baseName = nullptr;
    for (QLineEdit* field : window.findChildren<QLineEdit*>()) {
        if (field->placeholderText() == "Keep original name")
            baseName = field;
    }
    watchdog.reset();
    QElapsedTimer clock;
    clock.start();
    qint64 lastKey = 0;
    for (QChar letter : QStringLiteral("Studio North")) {
        QTest::keyClick(baseName, letter.toLatin1());
        lastKey = clock.nsecsElapsed();
        QTest::qWait(60);
    }
    const QString expected = QStringLiteral("Studio North.jpg");
    waitUntil([&] {
        return !model.previewing() && table->model()->index(0, 1).data().toString() == expected;
    });
    double shown = double(clock.nsecsElapsed() - lastKey) / 1e6;
    out << QStringLiteral("last keystroke to names shown in the table: %1 ms (target 150)\n")
               .arg(shown, 0, 'f', 1);
    out << QStringLiteral("longest main-thread block while typing: %1 ms (target 16)\n")
               .arg(watchdog.longestMilliseconds(), 0, 'f', 1);
    return 0;
}
