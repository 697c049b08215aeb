#include "core/filename.h"

#include <QList>
#include <QStringView>

namespace Filename {
namespace {

bool isControlOrFormat(char32_t codePoint) {
    auto category = QChar::category(codePoint);
    return category == QChar::Other_Control || category == QChar::Other_Format;
}

// Counts without encoding: this runs for every file on every keystroke.
qsizetype utf8Length(QStringView name) {
    qsizetype bytes = 0;
    for (char32_t codePoint : name.toUcs4()) {
        if (codePoint < 0x80)
            bytes += 1;
        else if (codePoint < 0x800)
            bytes += 2;
        else if (codePoint < 0x10000)
            bytes += 3;
        else
            bytes += 4;
    }
    return bytes;
}

} // namespace

std::optional<QString> problem(const QString& name) {
    if (name.isEmpty())
        return QStringLiteral("The filename is empty.");
    if (name.front() == QLatin1Char('.'))
        return QStringLiteral("Hidden filenames and dot names are not supported.");
    for (char32_t codePoint : name.toUcs4()) {
        if (codePoint == U'/' || codePoint == U':' || isControlOrFormat(codePoint))
            return QStringLiteral("Remove slashes, colons, or control characters.");
    }
    if (utf8Length(name) > 255)
        return QStringLiteral("The filename exceeds 255 UTF-8 bytes.");
    return std::nullopt;
}

QString collisionKey(const QString& name) {
    return canonical(canonical(name).toCaseFolded());
}

QString canonical(const QString& name) {
    return name.normalized(QString::NormalizationForm_C);
}

} // namespace Filename
