#include "core/import/file_argument.h"

#include <QByteArray>
#include <QDir>
#include <QRegularExpression>
#include <QStringDecoder>
#include <QUrl>

namespace FileArgument {

std::optional<QString> localPath(const QString& argument, const QString& workingFolder) {
    // Only "scheme://" and "file:" read as URIs: a Linux filename may well
    // hold a colon ("notes:draft.txt"), and such a name is a relative path.
    static const QRegularExpression uri(QStringLiteral("^[A-Za-z][A-Za-z0-9+.-]*://"));
    const bool file = argument.startsWith(QLatin1String("file:"), Qt::CaseInsensitive);
    if (!file && !uri.match(argument).hasMatch())
        return QDir::cleanPath(QDir(workingFolder).absoluteFilePath(argument));
    if (!file)
        return std::nullopt;
    QUrl url(argument, QUrl::StrictMode);
    const QString host = url.host();
    if (!url.isValid() || (!host.isEmpty() && host != QLatin1String("localhost")))
        return std::nullopt;
    // Decoded to bytes first: QUrl would quietly turn bytes that are not
    // UTF-8 into replacement characters, and so into another file's name.
    QByteArray bytes = QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1());
    auto decoder = QStringDecoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString path = decoder.decode(bytes);
    if (decoder.hasError() || !path.startsWith(QLatin1Char('/')))
        return std::nullopt;
    return QDir::cleanPath(path);
}

} // namespace FileArgument
