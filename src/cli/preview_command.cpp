#include "preview_command.h"

#include "batch_preview.h"
#include "command_line.h"
#include "preview_output.h"
#include "rule_options.h"
#include "usage_error.h"

#include "core/rename_failure.h"

#include <QCommandLineParser>
#include <QTextStream>

namespace PreviewCommand {

int run(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Show the new name of every file and whether it may be renamed. Nothing "
                       "on disk changes."));
    parser.addHelpOption();
    RuleOptions::add(parser);
    parser.addOptions({
        {QStringLiteral("windows"),
         QStringLiteral("Also check that Windows accepts every new name.")},
        {QStringLiteral("json"), QStringLiteral("Print the preview as one JSON object.")},
    });
    parser.addPositionalArgument(
        QStringLiteral("paths"),
        QStringLiteral("Files, and folders whose visible files are added."),
        QStringLiteral("PATH..."));

    QTextStream out(stdout);
    QTextStream errors(stderr);
    try {
        CommandLine::parse(parser, arguments);
        if (parser.isSet(QStringLiteral("help"))) {
            out << parser.helpText();
            return 0;
        }
        RenameRules rules = RuleOptions::rules(parser);
        if (parser.positionalArguments().isEmpty())
            throw UsageError(QStringLiteral("Name at least one file or folder to preview."));

        BatchPreview preview = previewBatch(parser.positionalArguments(), rules,
                                            parser.isSet(QStringLiteral("windows")));
        if (parser.isSet(QStringLiteral("json")))
            PreviewOutput::printJson(preview, out);
        else
            PreviewOutput::printText(preview, out, errors);
        return preview.conflictCount() > 0 ? 1 : 0;
    } catch (const UsageError& error) {
        return CommandLine::usageFailure(error, QStringLiteral("preview"), errors);
    } catch (const RenameFailure& failure) {
        errors << failure.message << '\n';
        return 2;
    }
}

} // namespace PreviewCommand
