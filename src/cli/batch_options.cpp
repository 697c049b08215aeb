#include "batch_options.h"

#include "command_line.h"
#include "usage_error.h"

#include "core/base/rename_failure.h"
#include "core/mapping/mapping_parser.h"
#include "core/naming/date_shift.h"
#include "core/naming/recipe.h"
#include "core/platform/posix_file_system.h"

#include <nlohmann/json.hpp>

#include <QDir>
#include <QFile>
#include <QUrl>

#include <QStringList>
#include <unistd.h>

#include <algorithm>

namespace BatchOptions {
namespace {

template <typename Enum, typename Values> QString choices(const Values& values) {
    QStringList words;
    for (Enum value : values)
        words.append(rawValue(value));
    return words.join(QStringLiteral(", "));
}

std::int64_t integer(const QCommandLineParser& parser, const QString& option) {
    bool ok = false;
    std::int64_t number = parser.value(option).toLongLong(&ok);
    if (!ok)
        throw UsageError(QStringLiteral("--%1 takes a whole number.").arg(option));
    return number;
}

RenameRules recipeRules(const QString& name) {
    QStringList names;
    for (const Recipe& recipe : Recipe::builtIn()) {
        if (recipe.name == name)
            return recipe.rules;
        names.append(QStringLiteral("“%1”").arg(recipe.name));
    }
    throw UsageError(QStringLiteral("There is no recipe called “%1”. Choose one of %2.")
                         .arg(name, names.join(QStringLiteral(", "))));
}

RenameRules fileRules(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw UsageError(QStringLiteral("Cannot read the rules file %1.").arg(path));
    QByteArray bytes = file.readAll();
    try {
        return nlohmann::ordered_json::parse(bytes.constData(), bytes.constData() + bytes.size())
            .get<RenameRules>();
    } catch (const RenameFailure& failure) {
        throw UsageError(
            QStringLiteral("The rules file %1 cannot be used: %2").arg(path, failure.message));
    } catch (const nlohmann::json::exception&) {
        throw UsageError(QStringLiteral("The rules file %1 is not valid JSON.").arg(path));
    }
}

// The first --find and --replace are the rules' own; each further pair is
// one more step. A --find without its --replace deletes what it finds, as
// the first always did; finds given here take the place of a rules file's.
void replacements(const QCommandLineParser& parser, RenameRules& rules) {
    const QStringList finds = parser.values(QStringLiteral("find"));
    const QStringList replaces = parser.values(QStringLiteral("replace"));
    if (replaces.size() > std::max<qsizetype>(finds.size(), 1))
        throw UsageError(QStringLiteral("Give each --replace a --find before it."));
    if (!replaces.isEmpty())
        rules.replacement = replaces.first();
    if (finds.isEmpty())
        return;
    rules.find = finds.first();
    rules.moreReplacements.clear();
    for (qsizetype step = 1; step < finds.size(); ++step)
        rules.moreReplacements.append({finds[step], replaces.value(step)});
}

// A spreadsheet piped in obeys the same limits as one opened from a file.
QString standardInputText() {
    auto bytes = PosixFileSystem::readUpTo(STDIN_FILENO, MappingParser::maximumBytes + 1);
    if (!bytes)
        throw RenameFailure(PosixFileSystem::errorText(bytes.error) + QLatin1Char('.'));
    if (bytes.value->size() > MappingParser::maximumBytes)
        throw RenameFailure(
            QStringLiteral("The spreadsheet exceeds 4 MiB. Split it into smaller files."));
    auto text = MappingParser::decodedText(*bytes.value);
    if (!text)
        throw RenameFailure(
            QStringLiteral("Use UTF-8 CSV or TSV. This file uses an unsupported encoding."));
    return *text;
}

} // namespace

void add(QCommandLineParser& parser) {
    parser.addOptions({
        {QStringLiteral("recipe"),
         QStringLiteral("Start from a built-in recipe, e.g. \"Client handoff\"."),
         QStringLiteral("name")},
        {QStringLiteral("rules"), QStringLiteral("Start from rules saved as a JSON object."),
         QStringLiteral("file")},
        {QStringLiteral("base-name"),
         QStringLiteral("Replace every stem with this text. The base name, --replace, --prefix "
                        "and --suffix may hold {taken}, {modified}, {folder} and {name}, the "
                        "dates with a format: {taken:yyyy-MM-dd}."),
         QStringLiteral("text")},
        {QStringLiteral("find"),
         QStringLiteral("Text to find in each stem (exact, case-sensitive; a pattern with "
                        "--regex). Repeat --find and --replace to replace in turn."),
         QStringLiteral("text")},
        {QStringLiteral("replace"), QStringLiteral("Replacement for every occurrence of --find."),
         QStringLiteral("text")},
        {QStringLiteral("remove-start"),
         QStringLiteral("Characters to remove from the start of each stem, after --find."),
         QStringLiteral("n")},
        {QStringLiteral("remove-end"),
         QStringLiteral("Characters to remove from the end of each stem, after --find."),
         QStringLiteral("n")},
        {QStringLiteral("insert"),
         QStringLiteral("Text to insert into each stem, after the characters removed."),
         QStringLiteral("text")},
        {QStringLiteral("at"),
         QStringLiteral("Where --insert goes: after this many characters, or before as many "
                        "from the end when negative (default 0)."),
         QStringLiteral("n")},
        {QStringLiteral("regex"),
         QStringLiteral("Read --find as a regular expression; --replace may then hold $1 to $9 "
                        "and ${name} for its groups, and \\U or \\L up to \\E for upper or "
                        "lower case.")},
        {QStringLiteral("remove-accents"),
         QStringLiteral("Take the accents off Latin letters after --find (café becomes cafe, "
                        "Ærø AEro).")},
        {QStringLiteral("number-duplicates"),
         QStringLiteral("Number the files of the batch that would get the same name, all but "
                        "the first: a.jpg, a (2).jpg. A name already on disk is never numbered "
                        "around.")},
        {QStringLiteral("duplicate-format"),
         QStringLiteral("How --number-duplicates numbers: %1 (default parentheses); implies "
                        "--number-duplicates.")
             .arg(choices<DuplicateFormat>(allDuplicateFormats)),
         QStringLiteral("format")},
        {QStringLiteral("companions"),
         QStringLiteral("Give the files of one folder that share a name apart from the "
                        "extension (DSC_0042.NEF, DSC_0042.JPG) one new name and one number, "
                        "each keeping its extension.")},
        {QStringLiteral("prefix"), QStringLiteral("Text put before the stem."),
         QStringLiteral("text")},
        {QStringLiteral("suffix"), QStringLiteral("Text put after the stem."),
         QStringLiteral("text")},
        {QStringLiteral("case"),
         QStringLiteral("Letter case: %1.").arg(choices<NameCase>(allNameCases)),
         QStringLiteral("case")},
        {QStringLiteral("separator"),
         QStringLiteral("Word separator: %1.").arg(choices<NameSeparator>(allNameSeparators)),
         QStringLiteral("separator")},
        {QStringLiteral("sequence"), QStringLiteral("Append a sequence number.")},
        {QStringLiteral("start"), QStringLiteral("First sequence number (default 1)."),
         QStringLiteral("n")},
        {QStringLiteral("digits"),
         QStringLiteral("Minimum digits of the sequence number (default 3)."), QStringLiteral("n")},
        {QStringLiteral("order"),
         QStringLiteral("Order that numbers the files: %1 (default name). Ties keep the "
                        "natural filename order; as-given numbers them in the order of the "
                        "PATH arguments.")
             .arg(choices<NameOrder>(allNameOrders)),
         QStringLiteral("order")},
        {QStringLiteral("descending"), QStringLiteral("Number the files in descending order.")},
        {QStringLiteral("shift-dates"),
         QStringLiteral("Move every date a name shows by how far the camera's clock was off: "
                        "+01:00, -00:30, +1d 02:00."),
         QStringLiteral("shift")},
        {QStringLiteral("mapping"),
         QStringLiteral("Take the new names from a two-column CSV or TSV file (old name, new "
                        "name) instead of rules; - reads standard input."),
         QStringLiteral("file")},
        {QStringLiteral("format"), QStringLiteral("Spreadsheet format: automatic, csv, tsv."),
         QStringLiteral("format")},
        {QStringLiteral("windows"),
         QStringLiteral("Also check that Windows accepts every new name.")},
    });
    parser.addPositionalArgument(
        QStringLiteral("paths"),
        QStringLiteral("Files, and folders whose visible files are added."),
        QStringLiteral("PATH..."));
}

RenameRules rules(const QCommandLineParser& parser) {
    if (parser.isSet(QStringLiteral("recipe")) && parser.isSet(QStringLiteral("rules")))
        throw UsageError(QStringLiteral("Use either --recipe or --rules, not both."));

    RenameRules rules;
    if (parser.isSet(QStringLiteral("recipe")))
        rules = recipeRules(parser.value(QStringLiteral("recipe")));
    if (parser.isSet(QStringLiteral("rules")))
        rules = fileRules(CommandLine::localPath(parser.value(QStringLiteral("rules"))));

    auto text = [&](const char* option, QString& field) {
        if (parser.isSet(QLatin1String(option)))
            field = parser.value(QLatin1String(option));
    };
    text("base-name", rules.baseName);
    replacements(parser, rules);
    text("prefix", rules.prefix);
    text("suffix", rules.suffix);

    if (parser.isSet(QStringLiteral("case"))) {
        auto nameCase = nameCaseFromRaw(parser.value(QStringLiteral("case")));
        if (!nameCase)
            throw UsageError(
                QStringLiteral("--case takes one of %1.").arg(choices<NameCase>(allNameCases)));
        rules.nameCase = *nameCase;
    }
    if (parser.isSet(QStringLiteral("separator"))) {
        auto separator = nameSeparatorFromRaw(parser.value(QStringLiteral("separator")));
        if (!separator)
            throw UsageError(QStringLiteral("--separator takes one of %1.")
                                 .arg(choices<NameSeparator>(allNameSeparators)));
        rules.separator = *separator;
    }
    if (parser.isSet(QStringLiteral("sequence")))
        rules.sequence = true;
    if (parser.isSet(QStringLiteral("start")))
        rules.sequenceStart = integer(parser, QStringLiteral("start"));
    if (parser.isSet(QStringLiteral("digits")))
        rules.sequencePadding = integer(parser, QStringLiteral("digits"));
    if (parser.isSet(QStringLiteral("order"))) {
        auto order = nameOrderFromRaw(parser.value(QStringLiteral("order")));
        if (!order)
            throw UsageError(
                QStringLiteral("--order takes one of %1.").arg(choices<NameOrder>(allNameOrders)));
        rules.order = *order;
    }
    if (parser.isSet(QStringLiteral("descending")))
        rules.descending = true;
    text("shift-dates", rules.shiftDates);
    if (!DateShift::seconds(rules.shiftDates))
        throw UsageError(DateShift::problem(rules.shiftDates));
    if (parser.isSet(QStringLiteral("regex")))
        rules.regex = true;
    const QList<Replacement> steps = rules.replacements();
    for (qsizetype step = 0; rules.regex && step < steps.size(); ++step) {
        if (steps[step].find.isEmpty())
            continue;
        if (auto problem = rules.compiled.find(steps[step].find, step).problem)
            throw UsageError(*problem);
    }
    if (parser.isSet(QStringLiteral("remove-start")))
        rules.removeStart = integer(parser, QStringLiteral("remove-start"));
    if (parser.isSet(QStringLiteral("remove-end")))
        rules.removeEnd = integer(parser, QStringLiteral("remove-end"));
    if (parser.isSet(QStringLiteral("at")) && !parser.isSet(QStringLiteral("insert")))
        throw UsageError(QStringLiteral("--at goes with --insert."));
    if (parser.isSet(QStringLiteral("insert"))) {
        rules.insertion = parser.value(QStringLiteral("insert"));
        rules.insertAt =
            parser.isSet(QStringLiteral("at")) ? integer(parser, QStringLiteral("at")) : 0;
    }
    if (parser.isSet(QStringLiteral("remove-accents")))
        rules.removeAccents = true;
    if (parser.isSet(QStringLiteral("number-duplicates")))
        rules.numberDuplicates = true;
    if (parser.isSet(QStringLiteral("companions")))
        rules.companions = true;
    if (parser.isSet(QStringLiteral("duplicate-format"))) {
        auto format = duplicateFormatFromRaw(parser.value(QStringLiteral("duplicate-format")));
        if (!format)
            throw UsageError(QStringLiteral("--duplicate-format takes one of %1.")
                                 .arg(choices<DuplicateFormat>(allDuplicateFormats)));
        rules.numberDuplicates = true;
        rules.duplicateFormat = *format;
    }
    return rules;
}

MappingDocument mapping(const QCommandLineParser& parser) {
    for (const char* option : {"recipe",
                               "rules",
                               "base-name",
                               "find",
                               "replace",
                               "remove-start",
                               "remove-end",
                               "insert",
                               "at",
                               "prefix",
                               "suffix",
                               "case",
                               "separator",
                               "sequence",
                               "start",
                               "digits",
                               "order",
                               "descending",
                               "shift-dates",
                               "regex",
                               "remove-accents",
                               "number-duplicates",
                               "duplicate-format",
                               "companions"}) {
        if (parser.isSet(QLatin1String(option)))
            throw UsageError(
                QStringLiteral("Use either --mapping or naming-rule options, not both."));
    }
    MappingFormat format = MappingFormat::automatic;
    if (parser.isSet(QStringLiteral("format"))) {
        auto chosen = mappingFormatFromRaw(parser.value(QStringLiteral("format")));
        if (!chosen)
            throw UsageError(QStringLiteral("--format takes one of %1.")
                                 .arg(choices<MappingFormat>(allMappingFormats)));
        format = *chosen;
    }
    QString source = parser.value(QStringLiteral("mapping"));
    QString text =
        source == QLatin1String("-")
            ? standardInputText()
            : MappingParser::readText(QUrl::fromLocalFile(CommandLine::localPath(source)));
    return MappingParser::parse(text.toUtf8(), format);
}

BatchPreview preview(const QCommandLineParser& parser, const QString& verb,
                     const RenameProgress::Observer& progress) {
    if (parser.isSet(QStringLiteral("format")) && !parser.isSet(QStringLiteral("mapping")))
        throw UsageError(QStringLiteral("--format goes with --mapping."));
    Naming naming =
        parser.isSet(QStringLiteral("mapping")) ? Naming(mapping(parser)) : Naming(rules(parser));
    if (parser.positionalArguments().isEmpty())
        throw UsageError(QStringLiteral("Name at least one file or folder to %1.").arg(verb));
    return previewBatch(parser.positionalArguments(), naming,
                        parser.isSet(QStringLiteral("windows")), progress);
}

} // namespace BatchOptions
