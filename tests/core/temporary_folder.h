#pragma once

#include <QByteArray>
#include <QStringList>
#include <QTemporaryDir>
#include <QUrl>

// A real folder for a test to build a small file tree in. Setting up the tree
// uses plain path calls; only the code under test must be descriptor-safe.
class TemporaryFolder {
public:
    TemporaryFolder();

    QString path() const { return dir.path(); }
    // Absolute path of `relative` inside the folder.
    QString at(const QString& relative) const;
    QUrl url(const QString& relative) const { return QUrl::fromLocalFile(at(relative)); }

    // Creates the file (and any missing folders above it) with `content`.
    QString file(const QString& relative, const QByteArray& content = "content");
    QString folder(const QString& relative);
    QString symlink(const QString& relative, const QString& target);
    QString hardlink(const QString& relative, const QString& existing);
    QString fifo(const QString& relative);
    // Each entry written "d:folder", "l:link>target", "h:link>existing", "p:fifo",
    // or else as the path of a file.
    void make(const QStringList& entries);
    QByteArray read(const QString& relative) const;

private:
    QTemporaryDir dir;
};
