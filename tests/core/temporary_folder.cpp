#include "temporary_folder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <stdexcept>
#include <sys/stat.h>
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

QString TemporaryFolder::fifo(const QString& relative) {
    return made(::mkfifo(QFile::encodeName(at(relative)).constData(), 0600) == 0, at(relative),
                "pipe");
}

void TemporaryFolder::make(const QStringList& entries) {
    for (const QString& entry : entries) {
        const QString rest = entry.mid(2);
        const QString name = rest.section(QLatin1Char('>'), 0, 0);
        if (entry.startsWith(QLatin1String("d:")))
            folder(rest);
        else if (entry.startsWith(QLatin1String("l:")))
            symlink(name, rest.section(QLatin1Char('>'), 1));
        else if (entry.startsWith(QLatin1String("h:")))
            hardlink(name, rest.section(QLatin1Char('>'), 1));
        else if (entry.startsWith(QLatin1String("p:")))
            fifo(rest);
        else
            file(entry);
    }
}

QByteArray TemporaryFolder::read(const QString& relative) const {
    QFile file(at(relative));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
