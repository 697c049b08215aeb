#include "core/naming/rename_rules.h"

#include "core/base/json_fields.h"
#include "core/base/rename_failure.h"
#include "core/naming/rule_namer.h"

#include <algorithm>

NameTokens::Expansion RenameRules::proposal(const QString& name, std::int64_t index,
                                            const QString& folder,
                                            const std::optional<FileFacts>& facts,
                                            NameTokens::DateTexts* dateTexts) const {
    return RuleNamer(*this).proposal(name, index, folder, facts ? &*facts : nullptr, dateTexts);
}

QString RenameRules::filename(const QString& name, std::int64_t index) const {
    return proposal(name, index, QString(), std::nullopt).text;
}

QList<Replacement> RenameRules::replacements() const {
    QList<Replacement> steps{{find, replacement}};
    steps.append(moreReplacements);
    return steps;
}

bool RenameRules::usesFacts() const {
    return (order != NameOrder::name && order != NameOrder::arranged) ||
           NameTokens::usesFacts(baseName) || NameTokens::usesFacts(prefix) ||
           NameTokens::usesFacts(suffix) ||
           std::ranges::any_of(replacements(), [](const Replacement& step) {
               return !step.find.isEmpty() && NameTokens::usesFacts(step.replacement);
           });
}

void to_json(nlohmann::ordered_json& json, const RenameRules& rules) {
    auto steps = nlohmann::ordered_json::array();
    for (const Replacement& step : rules.moreReplacements)
        steps.push_back(
            {{"find", step.find.toStdString()}, {"replacement", step.replacement.toStdString()}});
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
                               {"companions", rules.companions},
                               {"moreReplacements", steps},
                               {"removeStart", rules.removeStart},
                               {"removeEnd", rules.removeEnd},
                               {"insertion", rules.insertion.toStdString()},
                               {"insertAt", rules.insertAt}};
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
    fields.optional("descending", decoded.descending);
    fields.optional("regex", decoded.regex);
    fields.optional("removeAccents", decoded.removeAccents);
    fields.optional("numberDuplicates", decoded.numberDuplicates);
    if (fields.has("duplicateFormat")) {
        auto format = duplicateFormatFromRaw(fields.string("duplicateFormat"));
        if (!format)
            throw RenameFailure(QStringLiteral("The key “duplicateFormat” names no format."));
        decoded.duplicateFormat = *format;
    }
    fields.optional("shiftDates", decoded.shiftDates);
    fields.optional("companions", decoded.companions);
    if (fields.has("moreReplacements")) {
        const nlohmann::ordered_json& steps = fields.value("moreReplacements");
        if (!steps.is_array())
            throw RenameFailure(QStringLiteral("The key “moreReplacements” has the wrong type."));
        for (const nlohmann::ordered_json& step : steps) {
            JsonFields stepFields(step);
            decoded.moreReplacements.append(
                {stepFields.string("find"), stepFields.string("replacement")});
        }
    }
    fields.optional("removeStart", decoded.removeStart);
    fields.optional("removeEnd", decoded.removeEnd);
    fields.optional("insertion", decoded.insertion);
    fields.optional("insertAt", decoded.insertAt);
    rules = decoded;
}
