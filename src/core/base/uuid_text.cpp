#include "core/base/uuid_text.h"

namespace UuidText {

QString text(const QUuid& uuid) {
    return uuid.toString(QUuid::WithoutBraces).toUpper();
}

std::optional<QUuid> parse(QStringView text) {
    if (text.size() != 36)
        return std::nullopt;
    for (qsizetype position = 0; position < text.size(); ++position) {
        QChar character = text.at(position);
        bool hyphenPlace = position == 8 || position == 13 || position == 18 || position == 23;
        // isxdigit is defined only for byte values; a wider code unit would index
        // past the C library's table.
        bool hexDigit = character.unicode() < 0x80 && isxdigit(character.unicode());
        if (hyphenPlace ? character != QLatin1Char('-') : !hexDigit)
            return std::nullopt;
    }
    QUuid uuid = QUuid::fromString(text);
    if (uuid.isNull() && text != u"00000000-0000-0000-0000-000000000000")
        return std::nullopt;
    return uuid;
}

} // namespace UuidText
