#include "core/batch/file_record.h"

#include "core/base/rename_failure.h"
#include "core/batch/file_safety.h"

#include <QDir>
#include <QStringDecoder>

namespace FilePath {

QString standardized(const QString& path) {
    return QDir::cleanPath(path);
}

QString lastComponent(const QString& path) {
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

QString parent(const QString& path) {
    auto slash = path.lastIndexOf(QLatin1Char('/'));
    if (slash <= 0)
        return QStringLiteral("/");
    return path.left(slash);
}

QString joined(const QString& folder, const QString& name) {
    if (folder.endsWith(QLatin1Char('/')))
        return folder + name;
    return folder + QLatin1Char('/') + name;
}

std::optional<QString> decodedName(const QByteArray& bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless |
                                                     QStringDecoder::Flag::ConvertInitialBom);
    QString name = decoder(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return name;
}

} // namespace FilePath

QString FileRecord::name() const {
    return FilePath::lastComponent(path);
}

QString FileRecord::folderPath() const {
    return FilePath::parent(path);
}

FileRecord FileRecord::make(const QUrl& url) {
    QUrl standardized = url;
    if (url.isLocalFile())
        standardized = QUrl::fromLocalFile(FilePath::standardized(url.toLocalFile()));
    if (FileSafety::isInsidePackage(standardized))
        throw RenameFailure(
            QStringLiteral("Files inside application or document bundles are not supported."));
    auto identities = FileSafety::record(standardized, false);
    return FileRecord{standardized.toLocalFile(), identities.file, identities.folder};
}
