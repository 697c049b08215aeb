#include "core/naming/duplicate_format.h"

QString rawValue(DuplicateFormat format) {
    switch (format) {
    case DuplicateFormat::parentheses:
        return QStringLiteral("parentheses");
    case DuplicateFormat::space:
        return QStringLiteral("space");
    case DuplicateFormat::hyphen:
        return QStringLiteral("hyphen");
    case DuplicateFormat::underscore:
        return QStringLiteral("underscore");
    }
    return {};
}

std::optional<DuplicateFormat> duplicateFormatFromRaw(QStringView raw) {
    for (DuplicateFormat format : allDuplicateFormats) {
        if (raw == rawValue(format))
            return format;
    }
    return std::nullopt;
}

QString numbered(DuplicateFormat format, qsizetype number) {
    QString digits = QString::number(number);
    switch (format) {
    case DuplicateFormat::parentheses:
        return QStringLiteral(" (") + digits + QLatin1Char(')');
    case DuplicateFormat::space:
        return QLatin1Char(' ') + digits;
    case DuplicateFormat::hyphen:
        return QLatin1Char('-') + digits;
    case DuplicateFormat::underscore:
        break;
    }
    return QLatin1Char('_') + digits;
}
