#include "core/naming/filename.h"

#include <QStringView>

#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <utility>

namespace Filename {

bool isAscii(QStringView text) {
    return std::all_of(text.begin(), text.end(), [](QChar unit) { return unit.unicode() < 0x80; });
}

namespace {

bool isControlOrFormat(char32_t codePoint) {
    // Latin-1 answered directly: names are mostly ASCII, and the table lookup
    // dominated the preview of long names. Its only format character is the
    // soft hyphen.
    if (codePoint < 0x100)
        return codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0) || codePoint == 0xAD;
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

namespace {

// With `current`, a name a file already has: Linux allows colons and control
// characters in those, and refusing them would leave such a file unrenamable.
std::optional<QString> judged(const QString& name, bool current) {
    if (name.isEmpty())
        return QStringLiteral("The filename is empty.");
    if (name.front() == QLatin1Char('.'))
        return QStringLiteral("Hidden filenames and dot names are not supported.");
    // One pass, no allocation: this runs for every file on every keystroke.
    // The character check wins over the length check wherever each fails.
    qsizetype bytes = 0;
    for (qsizetype at = 0; at < name.size();) {
        char16_t unit = name[at].unicode();
        if (unit < 0x80) {
            if (unit == u'/' || (!current && (unit < 0x20 || unit == 0x7F || unit == u':')))
                return QStringLiteral("Remove slashes, colons, or control characters.");
            ++bytes;
            ++at;
            continue;
        }
        auto [codePoint, units] = codePointAt(name, at);
        if (codePoint == U'/' || (!current && (codePoint == U':' || isControlOrFormat(codePoint))))
            return QStringLiteral("Remove slashes, colons, or control characters.");
        bytes += utf8Bytes(codePoint);
        at += units;
    }
    if (bytes > 255)
        return QStringLiteral("The filename exceeds 255 UTF-8 bytes.");
    return std::nullopt;
}

} // namespace

std::optional<QString> problem(const QString& name) {
    return judged(name, false);
}

std::optional<QString> currentProblem(const QString& name) {
    return judged(name, true);
}

QString shown(const QString& name) {
    QString text;
    text.reserve(name.size());
    for (QChar unit : name) {
        char16_t code = unit.unicode();
        bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
        if (!control) {
            text.append(unit);
        } else if (code == u'\t') {
            text.append(QStringLiteral("\\t"));
        } else if (code == u'\n') {
            text.append(QStringLiteral("\\n"));
        } else if (code == u'\r') {
            text.append(QStringLiteral("\\r"));
        } else {
            text.append(QStringLiteral("\\x%1").arg(int(code), 2, 16, QLatin1Char('0')));
        }
    }
    return text;
}

namespace {

// Full case folding, as case-insensitive Linux folders (ext4 and f2fs casefold)
// compare names: "ß" is "ss" and "ﬁ" is "fi" there. Qt folds simply, one code
// unit for one, which let a batch pass the preview and stop midway on such a
// folder. Full folding turns one code point into at most three.
QString fullyFolded(const QString& text) {
    QString folded(text.size() * 3, Qt::Uninitialized);
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = u_strFoldCase(reinterpret_cast<UChar*>(folded.data()), int32_t(folded.size()),
                                   reinterpret_cast<const UChar*>(text.utf16()),
                                   int32_t(text.size()), U_FOLD_CASE_DEFAULT, &status);
    if (U_FAILURE(status))
        return text.toCaseFolded();
    folded.truncate(length);
    return folded;
}

} // namespace

QString collisionKey(const QString& name) {
    if (isAscii(name)) {
        QString key = name;
        for (QChar& unit : key) {
            if (unit >= u'A' && unit <= u'Z')
                unit = QChar(unit.unicode() + (u'a' - u'A'));
        }
        return key;
    }
    return canonical(fullyFolded(canonical(name)));
}

QString canonical(const QString& name) {
    if (isAscii(name))
        return name;
    return name.normalized(QString::NormalizationForm_C);
}

qsizetype extensionPeriod(const QString& name) {
    auto period = name.lastIndexOf(QLatin1Char('.'));
    if (period <= 0 || period == name.size() - 1)
        return name.size();
    return period;
}

} // namespace Filename
