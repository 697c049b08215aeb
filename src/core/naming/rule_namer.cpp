#include "core/naming/rule_namer.h"

#include "core/naming/date_shift.h"
#include "core/naming/filename.h"

#include <QStringList>

#include <algorithm>

namespace {

struct SplitName {
    QString stem;
    QString extension;
};

// "Report." and ".profile" have no extension, so the default rules change
// nothing.
SplitName split(const QString& name) {
    qsizetype period = Filename::extensionPeriod(name);
    return {name.left(period), name.mid(period + 1)};
}

bool isSeparator(QChar character) {
    return character.isSpace() || character == QLatin1Char('_') || character == QLatin1Char('-');
}

QString withSeparators(const QString& text, NameSeparator separator) {
    if (separator == NameSeparator::unchanged)
        return text;
    QString result;
    result.reserve(text.size());
    bool pendingSeparator = false;
    for (QChar unit : text) {
        if (isSeparator(unit)) {
            pendingSeparator = !result.isEmpty();
            continue;
        }
        if (pendingSeparator)
            result.append(character(separator));
        pendingSeparator = false;
        result.append(unit);
    }
    return result;
}

QString sequenceNumber(std::int64_t start, std::int64_t index, std::int64_t padding) {
    std::int64_t number =
        std::clamp<std::int64_t>(start, 0, 999'999'999) + std::clamp<std::int64_t>(index, 0, 5'000);
    auto width = qsizetype(std::clamp<std::int64_t>(padding, 1, 9));
    QString digits = QString::number(number);
    if (digits.size() < width)
        digits.prepend(QString(width - digits.size(), QLatin1Char('0')));
    return digits;
}

// Private-use characters, which no case mapping changes and no separator
// rule touches. A name or rule that holds one of them already keeps its
// dates inline rather than risk mixing the two.
constexpr char16_t firstStandIn = 0xE000;
constexpr char16_t lastStandIn = 0xE0FF;

bool holdsStandIn(const QString& text) {
    return std::any_of(text.begin(), text.end(), [](QChar unit) {
        return unit.unicode() >= firstStandIn && unit.unicode() <= lastStandIn;
    });
}

} // namespace

RuleNamer::RuleNamer(const RenameRules& rules)
    : rules(rules), baseName(rules.baseName), replacement(rules.replacement), prefix(rules.prefix),
      suffix(rules.suffix),
      textsHoldStandIn(holdsStandIn(rules.baseName) || holdsStandIn(rules.replacement) ||
                       holdsStandIn(rules.prefix) || holdsStandIn(rules.suffix)) {
    if (const std::optional<std::int64_t> seconds = DateShift::seconds(rules.shiftDates))
        shift = *seconds;
    else
        shiftProblem = DateShift::problem(rules.shiftDates);
}

NameTokens::Expansion RuleNamer::proposal(const QString& name, std::int64_t index,
                                          const QString& folder, const FileFacts* facts,
                                          NameTokens::DateTexts* dateTexts) const {
    auto [stem, extension] = split(name);
    const NameTokens::Values values{stem, folder, facts, dateTexts, shift, shiftProblem};
    // A date keeps the format its token asked for: letter case and
    // separators would turn 2026-05-04 into 2026 05 04. Each distinct date
    // stands in the name as one private-use character while they apply, and
    // takes its place again after.
    QStringList dates;
    auto standIn = [&dates](const QString& date) {
        qsizetype at = dates.indexOf(date);
        if (at < 0 && dates.size() > lastStandIn - firstStandIn)
            return date;
        if (at < 0) {
            dates.append(date);
            at = dates.size() - 1;
        }
        return QString(QChar(char16_t(firstStandIn + at)));
    };
    const std::function<QString(const QString&)> dateText =
        textsHoldStandIn || holdsStandIn(name) ? nullptr
                                               : std::function<QString(const QString&)>(standIn);
    NameTokens::Expansion proposal;
    // Tokens are replaced before anything else, so that letter case and
    // separators treat a folder's name like any other text.
    if (!rules.baseName.isEmpty())
        stem = baseName.expanded(values, proposal, dateText);
    // Literal, case-sensitive, code unit by code unit, and only in the stem.
    if (!rules.find.isEmpty() && !rules.regex)
        stem.replace(rules.find, replacement.expanded(values, proposal, dateText),
                     Qt::CaseSensitive);
    if (!rules.find.isEmpty() && rules.regex) {
        // Tokens first: the groups of a match then fill what they left.
        FindPattern::Compiled pattern = rules.compiled.find(rules.find);
        FindPattern::Replaced replaced =
            pattern.problem
                ? FindPattern::Replaced{stem, pattern.problem}
                : FindPattern::replaced(stem, pattern.regex,
                                        replacement.expanded(values, proposal, dateText));
        stem = replaced.text;
        if (!proposal.problem)
            proposal.problem = replaced.problem;
    }
    QString assembled = prefix.expanded(values, proposal, dateText) + stem +
                        suffix.expanded(values, proposal, dateText);
    if (rules.removeAccents)
        assembled = rules.compiled.withoutAccents(assembled);
    const QString cased = withSeparators(withCase(assembled, rules.nameCase), rules.separator);
    // Built in one piece: thousands of names are made on every keystroke.
    QString& result = proposal.text;
    result.reserve(cased.size() + 10 * dates.size() + 12 + extension.size());
    for (QChar unit : cased) {
        const qsizetype date = unit.unicode() - firstStandIn;
        if (date >= 0 && date < dates.size())
            result += dates[date];
        else
            result += unit;
    }
    if (rules.sequence) {
        result += character(rules.separator);
        result += sequenceNumber(rules.sequenceStart, index, rules.sequencePadding);
    }
    if (!extension.isEmpty()) {
        result += QLatin1Char('.');
        result += extension;
    }
    return proposal;
}
