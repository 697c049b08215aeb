#pragma once

#include "core/platform/file_identity.h"

#include <QString>
#include <QUrl>

#include <optional>

// One file of a batch: where it is, and which file and folder were there when
// it was added. A file is never trusted by path alone; the preview and the
// engine compare both identities with the disk before relying on the path.
struct FileRecord {
    // Absolute and standardized ("." and ".." resolved, links not resolved).
    QString path;
    FileIdentity identity;
    FileIdentity parentIdentity;

    // The current filename, extension included.
    QString name() const;
    // Lists of records and preview rows are keyed by the full path.
    QString id() const { return path; }
    QUrl url() const { return QUrl::fromLocalFile(path); }
    // The folder that holds the file: the path less its last component.
    QString folderPath() const;

    friend bool operator==(const FileRecord&, const FileRecord&) = default;

    // Records the file at `url` with the identities it and its folder have now.
    // Throws RenameFailure for a file inside a bundle and for everything that
    // FileSafety::record refuses.
    static FileRecord make(const QUrl& url);
};

// Path helpers shared by every place that splits or standardizes a path.
namespace FilePath {
QString standardized(const QString& path);
QString lastComponent(const QString& path);
QString parent(const QString& path);
QString joined(const QString& folder, const QString& name);
// A name as the kernel lists it, decoded strictly: empty when the bytes are not
// UTF-8. A leading U+FEFF is part of the name, not a byte-order mark.
std::optional<QString> decodedName(const QByteArray& bytes);
} // namespace FilePath
