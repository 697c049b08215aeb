#include "core/naming/name_case.h"

#include <QList>

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

namespace {

// Words are runs between white space; the first code point of each word gets
// its title-case form and the rest of the word its full lower-case mapping.
QString titleCased(const QString& text) {
    QString result;
    result.reserve(text.size());
    qsizetype position = 0;
    while (position < text.size()) {
        if (text.at(position).isSpace()) {
            result.append(text.at(position++));
            continue;
        }
        qsizetype end = position;
        while (end < text.size() && !text.at(end).isSpace())
            ++end;
        QStringView word = QStringView(text).mid(position, end - position);
        auto codePoints = word.toUcs4();
        char32_t first = QChar::toTitleCase(char32_t(codePoints.front()));
        result.append(QString::fromUcs4(&first, 1));
        qsizetype firstLength = QChar::requiresSurrogates(codePoints.front()) ? 2 : 1;
        result.append(word.mid(firstLength).toString().toLower());
        position = end;
    }
    return result;
}

} // namespace

QString withCase(const QString& text, NameCase nameCase) {
    switch (nameCase) {
    case NameCase::lower:
        return text.toLower();
    case NameCase::upper:
        return text.toUpper();
    case NameCase::title:
        return titleCased(text);
    case NameCase::unchanged:
        break;
    }
    return text;
}
