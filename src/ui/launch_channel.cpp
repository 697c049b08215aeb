#include "ui/launch_channel.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDataStream>
#include <QDir>
#include <QStandardPaths>
#include <QThread>

namespace {

const QString interfaceName = QStringLiteral("org.tessary.Tessary");
// A window that is starting, or busy for a moment, still answers in time.
constexpr int answerMilliseconds = 5000;
constexpr int attempts = 50;
constexpr unsigned long attemptPauseMilliseconds = 100;

QString objectPath(const QString& name) {
    return QLatin1Char('/') + QString(name).replace(QLatin1Char('.'), QLatin1Char('/'));
}

} // namespace

LaunchChannel::LaunchChannel(const QString& name, QObject* parent)
    : QObject(parent), name(name), connectionName(QStringLiteral("tessary-launches-") + name) {
    QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    socketPath = (runtime.isEmpty() ? QDir::tempPath() : runtime) + QLatin1Char('/') + name;
    connect(&server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = server.nextPendingConnection()) {
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] { receive(socket); });
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            receive(socket);
        }
    });
}

LaunchChannel::~LaunchChannel() {
    server.close();
    QDBusConnection::disconnectFromBus(connectionName);
}

bool LaunchChannel::claim(const QStringList& arguments, const QString& workingFolder) {
    const bool onBus =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName).isConnected();
    // Two launches at the same moment both find no window: one wins the name
    // or the lock, and the other, on its next attempt, finds the winner.
    for (int attempt = 0; attempt < attempts; ++attempt) {
        if (onBus ? claimBus() : claimSocket())
            return true;
        if (onBus ? handOverOnBus(arguments, workingFolder)
                  : handOverOnSocket(arguments, workingFolder))
            return false;
        QThread::msleep(attemptPauseMilliseconds);
    }
    // The open window does not answer: a window of this launch's own serves
    // the person better than none.
    return true;
}

void LaunchChannel::Open(const QStringList& arguments, const QString& workingFolder) {
    emit opened(arguments, workingFolder);
}

bool LaunchChannel::claimBus() {
    QDBusConnection bus(connectionName);
    // The object first, so that no caller finds the name without it.
    if (!bus.registerObject(objectPath(name), this, QDBusConnection::ExportScriptableSlots))
        return false;
    if (bus.registerService(name))
        return true;
    bus.unregisterObject(objectPath(name));
    return false;
}

bool LaunchChannel::handOverOnBus(const QStringList& arguments, const QString& workingFolder) {
    QDBusMessage call = QDBusMessage::createMethodCall(name, objectPath(name), interfaceName,
                                                       QStringLiteral("Open"));
    call << arguments << workingFolder;
    return QDBusConnection(connectionName).call(call, QDBus::Block, answerMilliseconds).type() ==
           QDBusMessage::ReplyMessage;
}

bool LaunchChannel::claimSocket() {
    if (!socketLock) {
        socketLock = std::make_unique<QLockFile>(socketPath + QStringLiteral(".lock"));
        // Held for the window's whole life: only a lock whose process is
        // gone is stale, however old.
        socketLock->setStaleLockTime(0);
    }
    if (!socketLock->tryLock(0))
        return false;
    // A socket left by a window that crashed would refuse the new listener.
    QLocalServer::removeServer(socketPath);
    server.setSocketOptions(QLocalServer::UserAccessOption);
    if (server.listen(socketPath))
        return true;
    socketLock->unlock();
    return false;
}

bool LaunchChannel::handOverOnSocket(const QStringList& arguments, const QString& workingFolder) {
    QLocalSocket socket;
    socket.connectToServer(socketPath);
    if (!socket.waitForConnected(answerMilliseconds))
        return false;
    QByteArray message;
    QDataStream out(&message, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_6_4);
    out << arguments << workingFolder;
    socket.write(message);
    socket.flush();
    // The window answers once it has the items: this launch ends only then.
    return socket.waitForReadyRead(answerMilliseconds);
}

void LaunchChannel::receive(QLocalSocket* socket) {
    QDataStream in(socket);
    in.setVersion(QDataStream::Qt_6_4);
    in.startTransaction();
    QStringList arguments;
    QString workingFolder;
    in >> arguments >> workingFolder;
    if (!in.commitTransaction())
        return;
    socket->write("1");
    socket->flush();
    emit opened(arguments, workingFolder);
}
