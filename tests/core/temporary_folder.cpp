#include "temporary_folder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <stdexcept>
#include <unistd.h>

TemporaryFolder::TemporaryFolder() {
    if (!dir.isValid())
        throw std::runtime_error("cannot create a temporary folder");
}

QString TemporaryFolder::at(const QString& relative) const {
    return relative.isEmpty() ? dir.path() : dir.path() + QLatin1Char('/') + relative;
}

QString TemporaryFolder::file(const QString& relative, const QByteArray& content) {
    QString path = at(relative);
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        throw std::runtime_error("cannot write a test file");
    return path;
}

QString TemporaryFolder::folder(const QString& relative) {
    QString path = at(relative);
    if (!QDir().mkpath(path))
        throw std::runtime_error("cannot create a test folder");
    return path;
}

QString TemporaryFolder::symlink(const QString& relative, const QString& target) {
    QString path = at(relative);
    if (::symlink(target.toUtf8().constData(), path.toUtf8().constData()) != 0)
        throw std::runtime_error("cannot create a test link");
    return path;
}

QString TemporaryFolder::hardlink(const QString& relative, const QString& existing) {
    QString path = at(relative);
    if (::link(at(existing).toUtf8().constData(), path.toUtf8().constData()) != 0)
        throw std::runtime_error("cannot create a test hard link");
    return path;
}

QByteArray TemporaryFolder::read(const QString& relative) const {
    QFile file(at(relative));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}
