#include "core/naming/windows_filename.h"

#include <QList>
#include <QStringView>

#include <array>

namespace WindowsFilename {

bool isForbiddenCharacter(char32_t codePoint) {
    switch (codePoint) {
    case U'<':
    case U'>':
    case U':':
    case U'"':
    case U'/':
    case U'\\':
    case U'|':
    case U'?':
    case U'*':
        return true;
    default:
        return QChar::category(codePoint) == QChar::Other_Control;
    }
}

namespace {

// Windows compares the text before the first period, upper-cased, without
// trailing spaces: "con .txt" and "Nul.tar.gz" are device names too.
QString deviceBaseName(const QString& name) {
    auto period = name.indexOf(QLatin1Char('.'));
    QString base = (period < 0 ? name : name.left(period)).toUpper();
    while (base.endsWith(QLatin1Char(' ')))
        base.chop(1);
    return base;
}

bool isReservedDeviceName(const QString& base) {
    static const std::array<QStringView, 30> reserved = {
        u"CON",  u"PRN",  u"AUX",  u"NUL",       u"CONIN$",    u"CONOUT$",
        u"COM1", u"COM2", u"COM3", u"COM4",      u"COM5",      u"COM6",
        u"COM7", u"COM8", u"COM9", u"COM\u00B9", u"COM\u00B2", u"COM\u00B3",
        u"LPT1", u"LPT2", u"LPT3", u"LPT4",      u"LPT5",      u"LPT6",
        u"LPT7", u"LPT8", u"LPT9", u"LPT\u00B9", u"LPT\u00B2", u"LPT\u00B3"};
    for (QStringView device : reserved) {
        if (base == device)
            return true;
    }
    return false;
}

} // namespace

std::optional<QString> problem(const QString& name) {
    for (char32_t codePoint : name.toUcs4()) {
        if (isForbiddenCharacter(codePoint) || QChar::category(codePoint) == QChar::Other_Format)
            return QStringLiteral(
                "Windows filenames cannot contain < > : \" / \\ | ? * or control characters.");
    }
    if (name.endsWith(QLatin1Char('.')) || name.endsWith(QLatin1Char(' ')))
        return QStringLiteral("Windows filenames cannot end in a period or space.");
    if (isReservedDeviceName(deviceBaseName(name)))
        return QStringLiteral("Windows reserves this device name, even with an extension. Choose "
                              "a different name.");
    return std::nullopt;
}

} // namespace WindowsFilename
