#include "core/naming/date_shift.h"

namespace {

// Up to `most` ASCII digits at `at`, which moves past them.
std::optional<std::int64_t> number(QStringView text, qsizetype& at, int most) {
    std::int64_t value = 0;
    const qsizetype from = at;
    while (at < text.size() && at - from < most && text[at] >= u'0' && text[at] <= u'9')
        value = value * 10 + (text[at++].unicode() - u'0');
    if (at == from)
        return std::nullopt;
    return value;
}

void skipSpaces(QStringView text, qsizetype& at) {
    while (at < text.size() && text[at].isSpace())
        ++at;
}

} // namespace

namespace DateShift {

std::optional<std::int64_t> seconds(QStringView text) {
    text = text.trimmed();
    if (text.isEmpty())
        return 0;
    qsizetype at = 0;
    const int sign = text[0] == u'-' ? -1 : 1;
    if (text[0] == u'-' || text[0] == u'+')
        ++at;
    skipSpaces(text, at);
    // Days, then a time of day, each optional but not both: "+1d", "+02:00".
    std::int64_t total = 0;
    bool any = false;
    qsizetype start = at;
    auto value = number(text, at, 5);
    if (value && at < text.size() && text[at] == u'd') {
        total = *value * 86'400;
        any = true;
        ++at;
        skipSpaces(text, at);
        start = at;
        value = number(text, at, 3);
    }
    if (value && at < text.size() && text[at] == u':') {
        ++at;
        const qsizetype minutesFrom = at;
        auto minutes = number(text, at, 2);
        if (!minutes || at - minutesFrom != 2 || *minutes > 59)
            return std::nullopt;
        total += *value * 3'600 + *minutes * 60;
        any = true;
    } else {
        at = start;
    }
    if (!any || at != text.size())
        return std::nullopt;
    return sign * total;
}

QString problem(const QString& text) {
    return QStringLiteral("“%1” is not a date shift; write it as +01:00, -00:30 or +1d 02:00.")
        .arg(text.trimmed());
}

} // namespace DateShift
