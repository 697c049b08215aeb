#include "core/naming/rename_rules.h"

#include "core/base/json_fields.h"
#include "core/base/rename_failure.h"
#include "core/naming/date_shift.h"
#include "core/naming/filename.h"

#include <QList>
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

NameTokens::Expansion RenameRules::proposal(const QString& name, std::int64_t index,
                                            const QString& folder,
                                            const std::optional<FileFacts>& facts,
                                            NameTokens::DateTexts* dateTexts) const {
    auto [stem, extension] = split(name);
    const std::optional<std::int64_t> shift = DateShift::seconds(shiftDates);
    const NameTokens::Values values{stem,
                                    folder,
                                    facts,
                                    dateTexts,
                                    shift.value_or(0),
                                    shift ? std::nullopt
                                          : std::optional(DateShift::problem(shiftDates))};
    // A date keeps the format its token asked for: letter case and
    // separators would turn 2026-05-04 into 2026 05 04. Each distinct date
    // stands in the name as one private-use character while they apply, and
    // takes its place again after.
    QStringList dates;
    const bool standIns = !holdsStandIn(name) && !holdsStandIn(baseName) &&
                          !holdsStandIn(replacement) && !holdsStandIn(prefix) &&
                          !holdsStandIn(suffix);
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
    NameTokens::Expansion proposal;
    // Tokens are replaced before anything else, so that letter case and
    // separators treat a folder's name like any other text.
    auto expanded = [&](const QString& text) {
        NameTokens::Expansion expansion = NameTokens::expanded(
            text, values, standIns ? std::function<QString(const QString&)>(standIn) : nullptr);
        if (!proposal.problem)
            proposal.problem = expansion.problem;
        proposal.usedModifiedDate = proposal.usedModifiedDate || expansion.usedModifiedDate;
        for (const QString& sentence : expansion.leftOut)
            if (!proposal.leftOut.contains(sentence))
                proposal.leftOut.append(sentence);
        return expansion.text;
    };
    if (!baseName.isEmpty())
        stem = expanded(baseName);
    // Literal, case-sensitive, code unit by code unit, and only in the stem.
    if (!find.isEmpty() && !regex)
        stem.replace(find, expanded(replacement), Qt::CaseSensitive);
    if (!find.isEmpty() && regex) {
        // Tokens first: the groups of a match then fill what they left.
        FindPattern::Compiled pattern = compiled.find(find);
        FindPattern::Replaced replaced =
            pattern.problem ? FindPattern::Replaced{stem, pattern.problem}
                            : FindPattern::replaced(stem, pattern.regex, expanded(replacement));
        stem = replaced.text;
        if (!proposal.problem)
            proposal.problem = replaced.problem;
    }
    QString assembled = expanded(prefix) + stem + expanded(suffix);
    if (removeAccents)
        assembled = compiled.withoutAccents(assembled);
    QString result = withSeparators(withCase(assembled, nameCase), separator);
    for (qsizetype at = 0; at < dates.size(); ++at)
        result.replace(QChar(char16_t(firstStandIn + at)), dates[at]);
    if (sequence)
        result += character(separator) + sequenceNumber(sequenceStart, index, sequencePadding);
    if (!extension.isEmpty())
        result += QLatin1Char('.') + extension;
    proposal.text = result;
    return proposal;
}

QString RenameRules::filename(const QString& name, std::int64_t index) const {
    return proposal(name, index, QString(), std::nullopt).text;
}

bool RenameRules::usesFacts() const {
    return order != NameOrder::name || NameTokens::usesFacts(baseName) ||
           NameTokens::usesFacts(prefix) || NameTokens::usesFacts(suffix) ||
           (!find.isEmpty() && NameTokens::usesFacts(replacement));
}

void to_json(nlohmann::ordered_json& json, const RenameRules& rules) {
    json =
        nlohmann::ordered_json{{"baseName", rules.baseName.toStdString()},
                               {"find", rules.find.toStdString()},
                               {"replacement", rules.replacement.toStdString()},
                               {"prefix", rules.prefix.toStdString()},
                               {"suffix", rules.suffix.toStdString()},
                               {"nameCase", rawValue(rules.nameCase).toStdString()},
                               {"separator", rawValue(rules.separator).toStdString()},
                               {"sequence", rules.sequence},
                               {"sequenceStart", rules.sequenceStart},
                               {"sequencePadding", rules.sequencePadding},
                               {"order", rawValue(rules.order).toStdString()},
                               {"descending", rules.descending},
                               {"regex", rules.regex},
                               {"removeAccents", rules.removeAccents},
                               {"numberDuplicates", rules.numberDuplicates},
                               {"duplicateFormat", rawValue(rules.duplicateFormat).toStdString()},
                               {"shiftDates", rules.shiftDates.toStdString()},
                               {"companions", rules.companions}};
}

void from_json(const nlohmann::ordered_json& json, RenameRules& rules) {
    JsonFields fields(json);
    RenameRules decoded;
    decoded.baseName = fields.string("baseName");
    decoded.find = fields.string("find");
    decoded.replacement = fields.string("replacement");
    decoded.prefix = fields.string("prefix");
    decoded.suffix = fields.string("suffix");
    auto nameCase = nameCaseFromRaw(fields.string("nameCase"));
    if (!nameCase)
        throw RenameFailure(QStringLiteral("The key “nameCase” names no letter case."));
    decoded.nameCase = *nameCase;
    auto separator = nameSeparatorFromRaw(fields.string("separator"));
    if (!separator)
        throw RenameFailure(QStringLiteral("The key “separator” names no separator."));
    decoded.separator = *separator;
    decoded.sequence = fields.boolean("sequence");
    decoded.sequenceStart = fields.int64("sequenceStart");
    decoded.sequencePadding = fields.int64("sequencePadding");
    if (fields.has("order")) {
        auto order = nameOrderFromRaw(fields.string("order"));
        if (!order)
            throw RenameFailure(QStringLiteral("The key “order” names no order."));
        decoded.order = *order;
    }
    if (fields.has("descending"))
        decoded.descending = fields.boolean("descending");
    if (fields.has("regex"))
        decoded.regex = fields.boolean("regex");
    if (fields.has("removeAccents"))
        decoded.removeAccents = fields.boolean("removeAccents");
    if (fields.has("numberDuplicates"))
        decoded.numberDuplicates = fields.boolean("numberDuplicates");
    if (fields.has("duplicateFormat")) {
        auto format = duplicateFormatFromRaw(fields.string("duplicateFormat"));
        if (!format)
            throw RenameFailure(QStringLiteral("The key “duplicateFormat” names no format."));
        decoded.duplicateFormat = *format;
    }
    if (fields.has("shiftDates"))
        decoded.shiftDates = fields.string("shiftDates");
    if (fields.has("companions"))
        decoded.companions = fields.boolean("companions");
    rules = decoded;
}
