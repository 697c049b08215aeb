#pragma once

#include "app/app_model.h"

#include <QFileSystemWatcher>
#include <QList>
#include <QObject>
#include <QTimer>
#include <QUrl>

class QWidget;

// What launches of `tessary` and other programs bring to the one window.
// Items named on a command line are added as a drop adds them, after the
// same folder-access step. The journal state is read again whenever another
// program (tessary-cli, or a Tessary that ran before) may have changed it: when
// the journal folder changes and when the window becomes active. Without that,
// the window kept offering to undo a batch that was undone elsewhere.
class WindowLaunches : public QObject {
    Q_OBJECT
public:
    WindowLaunches(AppModel& model, QWidget& window, QObject* parent = nullptr);

    // Adds the items that `arguments` name: paths, relative to
    // `workingFolder` or absolute, and file:// URIs. Any other URI is refused
    // with a sentence. Items that arrive while the batch is busy, or while an
    // editor is open, are added once it is free again.
    void add(const QStringList& arguments, const QString& workingFolder);

    // A later launch: its items are added, and the window comes to the front.
    void open(const QStringList& arguments, const QString& workingFolder);

private:
    void deliver();
    void refreshJournal();

    AppModel& model;
    QWidget& window;
    QList<QUrl> waiting;
    // From handing items to the model until its add has begun: the model
    // takes a drop on its next turn, and a second drop before then would
    // find it busy and be lost.
    bool delivering = false;
    QFileSystemWatcher journalWatcher;
    // A batch changes the folder many times; one read after it settles.
    QTimer journalSettle;
};
