#include "rename_command.h"

#include "batch_options.h"
#include "command_line.h"
#include "journal_option.h"
#include "preview_output.h"
#include "terminal_progress.h"
#include "usage_error.h"

#include "core/base/batch_limit.h"
#include "core/base/rename_failure.h"
#include "core/engine/rename_engine.h"

#include <QCommandLineParser>
#include <QTextStream>

namespace RenameCommand {
namespace {

QString filesRenamed(qsizetype count) {
    return QString::number(count) +
           (count == 1 ? QStringLiteral(" file renamed.") : QStringLiteral(" files renamed.")) +
           QStringLiteral(" You can undo this batch, even after reopening Tessary.");
}

} // namespace

int run(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Rename the files in place after the same preview as `preview`. The batch is journaled: "
        "it can be undone, and recovered after a crash."));
    parser.addHelpOption();
    BatchOptions::add(parser);
    JournalOption::add(parser);
    parser.addOption({QStringLiteral("yes"),
                      QStringLiteral("Rename without asking (needed without a terminal).")});

    QTextStream out(stdout);
    QTextStream errors(stderr);
    BatchPreview preview;
    try {
        if (CommandLine::parse(
                parser, arguments, out,
                {QStringLiteral("tessary-cli rename [rule options | --mapping FILE] [--windows] "
                                "[--yes] [--journal DIR] PATH..."),
                 QStringLiteral("  0  the files were renamed (undo with tessary-cli undo)\n"
                                "  1  blocked by a problem, not confirmed, or stopped safely; "
                                "nothing is lost\n"
                                "  2  usage error, or a PATH that cannot be examined\n"),
                 QStringLiteral(
                     "  tessary-cli rename --recipe \"Client handoff\" ~/Pictures/shoot\n"
                     "  tessary-cli rename --prefix 2026- --yes invoices\n"
                     "  tessary-cli rename --mapping - --yes acme < names.tsv\n")}))
            return 0;
        TerminalProgress progress(errors);
        preview = BatchOptions::preview(parser, QStringLiteral("rename"), progress.observer());
    } catch (const UsageError& error) {
        return CommandLine::usageFailure(error, QStringLiteral("rename"), errors);
    } catch (const RenameFailure& failure) {
        errors << failure.message << '\n';
        return 2;
    }

    if (preview.blocked()) {
        PreviewOutput::printText(preview, out, errors);
        errors << "Nothing was renamed. Resolve the conflicts above first.\n";
        return 1;
    }

    qsizetype changes = preview.readyCount();
    if (changes > 0 && !parser.isSet(QStringLiteral("yes"))) {
        PreviewOutput::printText(preview, out, errors);
        if (!CommandLine::confirmed(
                QStringLiteral("Rename %1 %2 in place?")
                    .arg(changes)
                    .arg(changes == 1 ? QStringLiteral("file") : QStringLiteral("files")),
                out)) {
            errors << "Nothing was renamed. Confirm at a terminal, or pass --yes.\n";
            return 1;
        }
    } else {
        for (const QString& line : preview.import.skipped)
            errors << "Skipped " << line << '\n';
    }

    try {
        RenameEngine engine(JournalOption::folder(parser));
        QList<RenameIntent> intents;
        for (const PreviewRow& row : preview.rows)
            intents.append(row.intent);
        TerminalProgress progress(errors);
        engine.execute(intents, batchLimit, progress.observer());
    } catch (const RenameFailure& failure) {
        errors << failure.message << '\n';
        return 1;
    }
    out << filesRenamed(changes) << '\n';
    return 0;
}

} // namespace RenameCommand
