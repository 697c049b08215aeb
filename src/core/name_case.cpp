#include "core/name_case.h"

QString rawValue(NameCase nameCase) {
    switch (nameCase) {
    case NameCase::unchanged:
        return QStringLiteral("unchanged");
    case NameCase::lower:
        return QStringLiteral("lower");
    case NameCase::upper:
        return QStringLiteral("upper");
    case NameCase::title:
        return QStringLiteral("title");
    }
    return {};
}

std::optional<NameCase> nameCaseFromRaw(QStringView raw) {
    for (NameCase nameCase : allNameCases) {
        if (raw == rawValue(nameCase))
            return nameCase;
    }
    return std::nullopt;
}
