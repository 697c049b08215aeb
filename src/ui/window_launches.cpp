#include "ui/window_launches.h"

#include "core/import/file_argument.h"

#include <QGuiApplication>
#include <QMimeData>
#include <QWidget>

namespace {

constexpr int journalSettleMilliseconds = 150;

} // namespace

WindowLaunches::WindowLaunches(AppModel& model, QWidget& window, QObject* parent)
    : QObject(parent), model(model), window(window) {
    connect(&model, &AppModel::changed, this, &WindowLaunches::deliver);

    journalSettle.setSingleShot(true);
    journalSettle.setInterval(journalSettleMilliseconds);
    connect(&journalSettle, &QTimer::timeout, this, &WindowLaunches::refreshJournal);
    if (!model.journalFolder().isEmpty())
        journalWatcher.addPath(model.journalFolder());
    connect(&journalWatcher, &QFileSystemWatcher::directoryChanged, &journalSettle,
            qOverload<>(&QTimer::start));
    // Also when the watcher cannot see a change (a network home folder, or
    // inotify's limit reached): the person comes back to the window then.
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this,
            [this](Qt::ApplicationState state) {
                if (state == Qt::ApplicationActive)
                    refreshJournal();
            });
}

void WindowLaunches::add(const QStringList& arguments, const QString& workingFolder) {
    QStringList refused;
    for (const QString& argument : arguments) {
        if (auto path = FileArgument::localPath(argument, workingFolder))
            waiting.append(QUrl::fromLocalFile(*path));
        else
            refused.append(argument);
    }
    if (!refused.isEmpty())
        model.setError(QStringLiteral("Only files and folders on this computer can be added, so ") +
                       refused.join(QStringLiteral(", ")) +
                       (refused.size() == 1 ? QStringLiteral(" was") : QStringLiteral(" were")) +
                       QStringLiteral(" not added."));
    deliver();
}

void WindowLaunches::open(const QStringList& arguments, const QString& workingFolder) {
    add(arguments, workingFolder);
    window.setWindowState((window.windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    window.show();
    window.raise();
    window.activateWindow();
}

void WindowLaunches::deliver() {
    if (delivering || waiting.isEmpty() || model.batchControlsDisabled())
        return;
    QMimeData items;
    items.setUrls(waiting);
    if (!model.receiveDrop(items))
        return;
    waiting.clear();
    delivering = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            delivering = false;
            deliver();
        },
        Qt::QueuedConnection);
}

void WindowLaunches::refreshJournal() {
    // The window's own batch is read when it ends; halfway, its journal
    // would look like an interrupted batch.
    if (!model.mutatingFiles())
        model.refreshJournal();
}
