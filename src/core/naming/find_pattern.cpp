#include "core/naming/find_pattern.h"

#include "core/naming/name_case.h"

namespace {

constexpr auto options = QRegularExpression::UseUnicodePropertiesOption;

// PCRE2 counts its backtracking steps and fails a match past this limit.
// Every name of up to 255 bytes takes far fewer with any sensible pattern,
// while a pattern that backtracks without end gives up on a name in about
// 0.1 ms: a few hundred milliseconds for a whole batch.
const QString limit = QStringLiteral("(*LIMIT_MATCH=10000)");

// The group a reference at `at` (just after its "$") names, and how many
// characters the reference takes after the "$"; an empty name when the "$"
// starts no reference.
struct Reference {
    QString group;
    qsizetype length = 0;
};

Reference reference(const QString& replacement, qsizetype at) {
    if (at >= replacement.size())
        return {};
    QChar next = replacement.at(at);
    if (next.isDigit() && next.unicode() < 0x80)
        return {QString(next), 1};
    if (next != QLatin1Char('{'))
        return {};
    qsizetype close = replacement.indexOf(QLatin1Char('}'), at + 1);
    if (close <= at + 1)
        return {};
    return {replacement.mid(at + 1, close - at - 1), close - at + 1};
}

bool isNumber(const QString& group) {
    return std::all_of(group.begin(), group.end(),
                       [](QChar unit) { return unit.isDigit() && unit.unicode() < 0x80; });
}

bool hasGroup(const QRegularExpression& regex, const QString& group) {
    if (isNumber(group))
        return group.toInt() <= regex.captureCount();
    return regex.namedCaptureGroups().contains(group);
}

std::optional<QString> missing(const QString& group) {
    return QStringLiteral("The regular expression has no group ") +
           (isNumber(group) ? QStringLiteral("$") + group : QStringLiteral("${") + group + '}') +
           QStringLiteral("; use one of its groups in parentheses.");
}

// The replacement for one match, with its references filled in and its
// case changes made.
QString substituted(const QString& replacement, const QRegularExpressionMatch& match,
                    std::optional<QString>& problem) {
    QString result;
    QString pending;
    NameCase mode = NameCase::unchanged;
    auto switchTo = [&](NameCase next) {
        result += withCase(pending, mode);
        pending.clear();
        mode = next;
    };
    for (qsizetype at = 0; at < replacement.size(); ++at) {
        QChar unit = replacement.at(at);
        QChar next = at + 1 < replacement.size() ? replacement.at(at + 1) : QChar();
        if (unit == QLatin1Char('\\') && (next == 'U' || next == 'L' || next == 'E')) {
            switchTo(next == 'U'   ? NameCase::upper
                     : next == 'L' ? NameCase::lower
                                   : NameCase::unchanged);
            ++at;
            continue;
        }
        if (unit == QLatin1Char('$') && next == QLatin1Char('$')) {
            pending += unit;
            ++at;
            continue;
        }
        Reference named = unit == QLatin1Char('$') ? reference(replacement, at + 1) : Reference{};
        if (named.group.isEmpty()) {
            pending += unit;
            continue;
        }
        if (!hasGroup(match.regularExpression(), named.group)) {
            if (!problem)
                problem = missing(named.group);
            pending += replacement.mid(at, named.length + 1);
        } else if (isNumber(named.group)) {
            pending += match.captured(named.group.toInt());
        } else {
            pending += match.captured(named.group);
        }
        at += named.length;
    }
    switchTo(NameCase::unchanged);
    return result;
}

} // namespace

namespace FindPattern {

Compiled compiled(const QString& pattern) {
    QRegularExpression plain(pattern, options);
    if (!plain.isValid())
        return {plain, QStringLiteral("This regular expression has a mistake at character ") +
                           QString::number(plain.patternErrorOffset() + 1) + QStringLiteral(": ") +
                           plain.errorString() + QLatin1Char('.')};
    // The limit must come first in the pattern; the group keeps the user's
    // own start-of-pattern settings from raising it again.
    QRegularExpression bounded(limit + QStringLiteral("(?:") + pattern + QLatin1Char(')'), options);
    if (!bounded.isValid())
        return {bounded, QStringLiteral("This regular expression cannot begin with a setting "
                                        "such as (*LIMIT_MATCH=…); remove it.")};
    return {bounded, std::nullopt};
}

std::optional<QString> referenceProblem(const QRegularExpression& regex,
                                        const QString& replacement) {
    for (qsizetype at = 0; at < replacement.size(); ++at) {
        if (replacement.at(at) != QLatin1Char('$'))
            continue;
        if (at + 1 < replacement.size() && replacement.at(at + 1) == QLatin1Char('$')) {
            ++at;
            continue;
        }
        Reference named = reference(replacement, at + 1);
        if (!named.group.isEmpty() && !hasGroup(regex, named.group))
            return missing(named.group);
    }
    return std::nullopt;
}

Replaced replaced(const QString& text, const QRegularExpression& regex,
                  const QString& replacement) {
    Replaced result;
    qsizetype copied = 0;
    bool emptyAtEnd = false;
    QRegularExpressionMatchIterator matches = regex.globalMatch(text);
    while (matches.hasNext()) {
        QRegularExpressionMatch match = matches.next();
        result.text += QStringView(text).mid(copied, match.capturedStart() - copied);
        result.text += substituted(replacement, match, result.problem);
        copied = match.capturedEnd();
        emptyAtEnd = match.capturedLength() == 0 && copied == text.size();
    }
    // A match that ran past the limit ends the iteration as if nothing more
    // matched, and leaves the iterator invalid; so does the search past the
    // end that follows an empty match at the end, which is no failure.
    if (!matches.isValid() && !emptyAtEnd)
        return {text, QString::fromUtf8(tooSlow)};
    result.text += QStringView(text).mid(copied);
    return result;
}

} // namespace FindPattern
