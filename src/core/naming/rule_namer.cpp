#include "core/naming/rule_namer.h"

#include "core/naming/date_shift.h"
#include "core/naming/filename.h"

#include <QStringList>
#include <QTextBoundaryFinder>

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

// Appends `text` to `result` with the dates that stand in it written out.
void appendWithDates(QString& result, const QString& text, const QStringList& dates) {
    for (QChar unit : text) {
        const qsizetype date = unit.unicode() - firstStandIn;
        if (date >= 0 && date < dates.size())
            result += dates[date];
        else
            result += unit;
    }
}

bool holdsStandIn(const QString& text) {
    return std::any_of(text.begin(), text.end(), [](QChar unit) {
        return unit.unicode() >= firstStandIn && unit.unicode() <= lastStandIn;
    });
}

// Where each character a reader sees begins in `text`, and its end: an
// accent typed as a letter of its own moves with its letter, and an emoji
// is never cut in two.
QList<qsizetype> characterBounds(const QString& text) {
    QList<qsizetype> bounds{0};
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    while (finder.toNextBoundary() > 0)
        bounds.append(finder.position());
    return bounds;
}

QString editedByPosition(const QString& stem, const RenameRules& rules) {
    const QList<qsizetype> bounds = characterBounds(stem);
    const qsizetype characters = bounds.size() - 1;
    const qsizetype first = qsizetype(std::clamp<std::int64_t>(rules.removeStart, 0, characters));
    const qsizetype last = std::max(
        first, characters - qsizetype(std::clamp<std::int64_t>(rules.removeEnd, 0, characters)));
    QString kept = stem.sliced(bounds[first], bounds[last] - bounds[first]);
    if (rules.insertion.isEmpty())
        return kept;
    const qsizetype keptCharacters = last - first;
    const auto counted =
        qsizetype(std::clamp<std::int64_t>(rules.insertAt, -keptCharacters, keptCharacters));
    const qsizetype at = counted >= 0 ? counted : keptCharacters + counted;
    return kept.insert(bounds[first + at] - bounds[first], rules.insertion);
}

} // namespace

RuleNamer::RuleNamer(const RenameRules& rules)
    : rules(rules), baseName(rules.baseName), prefix(rules.prefix), suffix(rules.suffix),
      textsHoldStandIn(holdsStandIn(rules.baseName) || holdsStandIn(rules.prefix) ||
                       holdsStandIn(rules.suffix) || holdsStandIn(rules.insertion)),
      editsByPosition(rules.removeStart != 0 || rules.removeEnd != 0 ||
                      !rules.insertion.isEmpty()) {
    const QList<Replacement> all = rules.replacements();
    for (qsizetype index = 0; index < all.size(); ++index) {
        textsHoldStandIn = textsHoldStandIn || holdsStandIn(all[index].replacement);
        if (!all[index].find.isEmpty())
            steps.append({index, all[index].find, NameTokens::Text(all[index].replacement)});
    }
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
    for (const Step& step : steps) {
        const QString replacement = step.replacement.expanded(values, proposal, dateText);
        // Literal, case-sensitive, code unit by code unit, and only in the stem.
        if (!rules.regex) {
            stem.replace(step.find, replacement, Qt::CaseSensitive);
            continue;
        }
        // Tokens first: the groups of a match then fill what they left.
        FindPattern::Compiled pattern = rules.compiled.find(step.find, step.index);
        FindPattern::Replaced replaced =
            pattern.problem ? FindPattern::Replaced{stem, pattern.problem}
                            : FindPattern::replaced(stem, pattern.regex, replacement);
        stem = replaced.text;
        if (!proposal.problem)
            proposal.problem = replaced.problem;
    }
    // Positions count what the reader will see, so a date standing in as one
    // character is written out first; it then takes the letter case and
    // separators like the rest of the stem.
    if (editsByPosition) {
        QString written;
        appendWithDates(written, stem, dates);
        stem = editedByPosition(written, rules);
    }
    QString assembled = prefix.expanded(values, proposal, dateText) + stem +
                        suffix.expanded(values, proposal, dateText);
    if (rules.removeAccents)
        assembled = rules.compiled.withoutAccents(assembled);
    const QString cased = withSeparators(withCase(assembled, rules.nameCase), rules.separator);
    // Built in one piece: thousands of names are made on every keystroke.
    QString& result = proposal.text;
    result.reserve(cased.size() + 10 * dates.size() + 12 + extension.size());
    appendWithDates(result, cased, dates);
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
