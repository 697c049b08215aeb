#pragma once

#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

// How a later launch of `tessary` reaches the window already open in this
// desktop session, so that the session keeps one window, one model and one
// view of the journal: two windows each believed their own undo state.
//
// On the session bus when there is one, as desktop applications do: the first
// launch owns a well-known name, and later ones call its Open method with
// their arguments and working folder. Without a bus (a bare X session, a
// container, CI) a local socket in the runtime folder does the same, and a
// lock file beside it decides which launch is first.
class LaunchChannel : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.tessary.Tessary")

public:
    // `name` is the bus name, and the socket's name in the runtime folder.
    explicit LaunchChannel(const QString& name, QObject* parent = nullptr);
    ~LaunchChannel() override;

    // Makes this process the one later launches reach, unless another
    // already is: then it is handed `arguments` and `workingFolder`. True
    // when this process should open the window; false when the items went
    // to the open window and this launch should end.
    bool claim(const QStringList& arguments, const QString& workingFolder);

public slots:
    // The bus's method: D-Bus names methods in upper camel case.
    Q_SCRIPTABLE void Open(const QStringList& arguments, const QString& workingFolder);

signals:
    // A later launch handed over its arguments.
    void opened(const QStringList& arguments, const QString& workingFolder);

private:
    bool claimBus();
    bool handOverOnBus(const QStringList& arguments, const QString& workingFolder);
    bool claimSocket();
    bool handOverOnSocket(const QStringList& arguments, const QString& workingFolder);
    void receive(QLocalSocket* socket);

    const QString name;
    const QString connectionName;
    QString socketPath;
    std::unique_ptr<QLockFile> socketLock;
    QLocalServer server;
};
