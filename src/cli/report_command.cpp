#include "report_command.h"

#include "batch_options.h"
#include "command_line.h"
#include "journal_option.h"

#include "core/base/rename_failure.h"
#include "core/batch/atomic_file.h"
#include "core/engine/rename_engine.h"
#include "core/reports/rename_report.h"

#include <QCommandLineParser>
#include <QDir>
#include <QTextStream>

namespace ReportCommand {
namespace {

std::optional<RenameReport> draft(const QCommandLineParser& parser) {
    BatchPreview preview = BatchOptions::preview(parser, QStringLiteral("report"));
    if (preview.rows.isEmpty())
        return std::nullopt;
    return RenameReport::draft(preview.rows, preview.diagnostics.size(),
                               parser.isSet(QStringLiteral("windows")));
}

} // namespace

int run(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Save a standalone HTML report: a draft of the preview (nothing is renamed) or the "
        "receipt of the last completed batch. Reports hold filenames only, never folder paths "
        "or file contents."));
    parser.addHelpOption();
    BatchOptions::add(parser);
    JournalOption::add(parser);
    parser.addOptions({
        {QStringLiteral("draft"), QStringLiteral("Report the preview of PATH... .")},
        {QStringLiteral("receipt"), QStringLiteral("Report the last completed batch.")},
        {{QStringLiteral("o"), QStringLiteral("output")},
         QStringLiteral("Where to save the report."),
         QStringLiteral("file")},
    });

    QTextStream out(stdout);
    QTextStream errors(stderr);
    std::optional<RenameReport> report;
    bool receipt = false;
    try {
        if (CommandLine::parse(
                parser, arguments, out,
                {QStringLiteral("tessary-cli report --draft -o FILE [preview options] PATH...\n"
                                "       tessary-cli report --receipt -o FILE [--journal DIR]"),
                 QStringLiteral("  0  the report was saved\n"
                                "  1  nothing to report, or the file could not be saved\n"
                                "  2  usage error, or a PATH that cannot be examined\n"),
                 QStringLiteral("  tessary-cli report --draft -o draft.html --recipe \"Client "
                                "handoff\" shoot\n"
                                "  tessary-cli report --receipt -o receipt.html\n")}))
            return 0;
        receipt = parser.isSet(QStringLiteral("receipt"));
        if (receipt == parser.isSet(QStringLiteral("draft")))
            throw UsageError(QStringLiteral("Choose one of --draft and --receipt."));
        if (!parser.isSet(QStringLiteral("output")))
            throw UsageError(QStringLiteral("Name the report file with -o FILE."));
        if (!receipt)
            report = draft(parser);
    } catch (const UsageError& error) {
        return CommandLine::usageFailure(error, QStringLiteral("report"), errors);
    } catch (const RenameFailure& failure) {
        errors << failure.message << '\n';
        return 2;
    }

    try {
        if (receipt)
            report = RenameEngine(JournalOption::folder(parser)).completedReport();
    } catch (const RenameFailure& failure) {
        errors << failure.message << '\n';
        return 1;
    }
    if (!report) {
        errors << (receipt ? "There is no completed rename batch to report.\n"
                           : "There are no files to report.\n");
        return 1;
    }

    try {
        QString path = CommandLine::localPath(parser.value(QStringLiteral("output")));
        AtomicFile::write(path, report->html().toUtf8());
    } catch (const RenameFailure& failure) {
        errors << "The report could not be saved: " << failure.message << '\n';
        return 1;
    }
    out << (receipt ? "Rename receipt saved. It records the last completed batch.\n"
                    : "Draft preview saved. No files were renamed by this export.\n");
    return 0;
}

} // namespace ReportCommand
