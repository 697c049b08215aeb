#include "preview_command.h"

#include "batch_options.h"
#include "command_line.h"
#include "preview_output.h"
#include "terminal_progress.h"

#include "core/base/rename_failure.h"

#include <QCommandLineParser>
#include <QTextStream>

namespace PreviewCommand {

int run(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Show the new name of every file and whether it may be renamed. Nothing "
                       "on disk changes."));
    parser.addHelpOption();
    BatchOptions::add(parser);
    parser.addOption(
        {QStringLiteral("json"), QStringLiteral("Print the preview as one JSON object.")});

    QTextStream out(stdout);
    QTextStream errors(stderr);
    try {
        if (CommandLine::parse(
                parser, arguments, out,
                {QStringLiteral("tessary-cli preview [rule options | --mapping FILE] [--windows] "
                                "[--json] PATH..."),
                 QStringLiteral("  0  every row may be renamed\n"
                                "  1  a row or the spreadsheet has a problem\n"
                                "  2  usage error, or a PATH that cannot be examined\n"),
                 QStringLiteral(
                     "  tessary-cli preview --recipe \"Client handoff\" ~/Pictures/shoot\n"
                     "  tessary-cli preview --case lower --separator hyphen --json scans\n"
                     "  tessary-cli preview --mapping names.csv ~/Projects/acme\n")}))
            return 0;
        const bool json = parser.isSet(QStringLiteral("json"));
        BatchPreview preview;
        {
            // A program that asked for JSON gets nothing else, not even on
            // standard error.
            TerminalProgress progress(errors);
            preview =
                BatchOptions::preview(parser, QStringLiteral("preview"),
                                      json ? RenameProgress::Observer() : progress.observer());
        }
        if (json)
            PreviewOutput::printJson(preview, out);
        else
            PreviewOutput::printText(preview, out, errors);
        return preview.blocked() ? 1 : 0;
    } catch (const UsageError& error) {
        return CommandLine::usageFailure(error, QStringLiteral("preview"), errors);
    } catch (const RenameFailure& failure) {
        errors << failure.message << '\n';
        return 2;
    }
}

} // namespace PreviewCommand
