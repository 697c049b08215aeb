#include "core/filename.h"

#include <QStringView>

#include <utility>

namespace Filename {
namespace {

bool isControlOrFormat(char32_t codePoint) {
    auto category = QChar::category(codePoint);
    return category == QChar::Other_Control || category == QChar::Other_Format;
}

// The code point starting at `at`, and how many UTF-16 units it takes. A lone
// surrogate stands for itself (and encodes as three UTF-8 bytes, as U+FFFD).
std::pair<char32_t, qsizetype> codePointAt(QStringView text, qsizetype at) {
    QChar unit = text[at];
    if (unit.isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate())
        return {QChar::surrogateToUcs4(unit, text[at + 1]), 2};
    return {unit.unicode(), 1};
}

qsizetype utf8Bytes(char32_t codePoint) {
    return codePoint < 0x80 ? 1 : codePoint < 0x800 ? 2 : codePoint < 0x10000 ? 3 : 4;
}

} // namespace

std::optional<QString> problem(const QString& name) {
    if (name.isEmpty())
        return QStringLiteral("The filename is empty.");
    if (name.front() == QLatin1Char('.'))
        return QStringLiteral("Hidden filenames and dot names are not supported.");
    // One pass, no allocation: this runs for every file on every keystroke.
    // The character check wins over the length check wherever each fails.
    qsizetype bytes = 0;
    for (qsizetype at = 0; at < name.size();) {
        auto [codePoint, units] = codePointAt(name, at);
        if (codePoint == U'/' || codePoint == U':' || isControlOrFormat(codePoint))
            return QStringLiteral("Remove slashes, colons, or control characters.");
        bytes += utf8Bytes(codePoint);
        at += units;
    }
    if (bytes > 255)
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
