#include "core/naming/name_separator.h"

QString rawValue(NameSeparator separator) {
    switch (separator) {
    case NameSeparator::unchanged:
        return QStringLiteral("unchanged");
    case NameSeparator::hyphen:
        return QStringLiteral("hyphen");
    case NameSeparator::underscore:
        return QStringLiteral("underscore");
    case NameSeparator::space:
        return QStringLiteral("space");
    }
    return {};
}

std::optional<NameSeparator> nameSeparatorFromRaw(QStringView raw) {
    for (NameSeparator separator : allNameSeparators) {
        if (raw == rawValue(separator))
            return separator;
    }
    return std::nullopt;
}

QChar character(NameSeparator separator) {
    switch (separator) {
    case NameSeparator::underscore:
        return QLatin1Char('_');
    case NameSeparator::space:
        return QLatin1Char(' ');
    case NameSeparator::unchanged:
    case NameSeparator::hyphen:
        break;
    }
    return QLatin1Char('-');
}
