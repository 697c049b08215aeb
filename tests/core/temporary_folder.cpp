#include "temporary_folder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <stdexcept>
#include <unistd.h>

namespace {

QString made(bool done, const QString& path, const char* what) {
    if (!done)
        throw std::runtime_error(std::string("cannot create a test ") + what);
    return path;
}

} // namespace

TemporaryFolder::TemporaryFolder() {
    made(dir.isValid(), {}, "folder");
}

QString TemporaryFolder::at(const QString& relative) const {
    return relative.isEmpty() ? dir.path() : dir.path() + QLatin1Char('/') + relative;
}

QString TemporaryFolder::file(const QString& relative, const QByteArray& content) {
    QString path = at(relative);
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return made(file.open(QIODevice::WriteOnly) && file.write(content) == content.size(), path,
                "file");
}

QString TemporaryFolder::folder(const QString& relative) {
    return made(QDir().mkpath(at(relative)), at(relative), "folder");
}

QString TemporaryFolder::symlink(const QString& relative, const QString& target) {
    return made(::symlink(target.toUtf8().constData(), at(relative).toUtf8().constData()) == 0,
                at(relative), "link");
}

QString TemporaryFolder::hardlink(const QString& relative, const QString& existing) {
    return made(::link(at(existing).toUtf8().constData(), at(relative).toUtf8().constData()) == 0,
                at(relative), "hard link");
}

QByteArray TemporaryFolder::read(const QString& relative) const {
    QFile file(at(relative));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
