#include "journal_commands.h"

#include "command_line.h"
#include "journal_option.h"
#include "usage_error.h"

#include "core/rename_engine.h"
#include "core/rename_failure.h"

#include <nlohmann/json.hpp>

#include <QCommandLineParser>
#include <QTextStream>

#include <functional>

namespace JournalCommands {
namespace {

// Parses the command's words, makes the engine on the journal folder and runs
// `work` with it; every failure becomes its sentence on standard error.
int withEngine(
    const QStringList& arguments, const QString& command, const QString& description,
    bool offersJson, const QString& example,
    const std::function<int(RenameEngine&, const QCommandLineParser&, QTextStream&)>& work) {
    QCommandLineParser parser;
    parser.setApplicationDescription(description);
    parser.addHelpOption();
    JournalOption::add(parser);
    if (offersJson)
        parser.addOption({QStringLiteral("json"), QStringLiteral("Print one JSON object.")});
    QTextStream out(stdout);
    QTextStream errors(stderr);
    try {
        if (CommandLine::parse(
                parser, arguments, out,
                {QStringLiteral("tessary-cli %1 %2[--journal DIR]")
                     .arg(command, offersJson ? QStringLiteral("[--json] ") : QString()),
                 QStringLiteral("  0  done\n"
                                "  1  it could not be done; the sentence says why, and nothing is "
                                "lost\n"
                                "  2  usage error\n"),
                 QStringLiteral("  ") + example + QLatin1Char('\n')}))
            return 0;
        if (!parser.positionalArguments().isEmpty())
            throw UsageError(QStringLiteral("%1 takes no paths.").arg(command));
    } catch (const UsageError& error) {
        return CommandLine::usageFailure(error, command, errors);
    }
    try {
        RenameEngine engine(JournalOption::folder(parser));
        return work(engine, parser, out);
    } catch (const RenameFailure& failure) {
        errors << failure.message << '\n';
        return 1;
    }
}

} // namespace

int undo(const QStringList& arguments) {
    return withEngine(arguments, QStringLiteral("undo"),
                      QStringLiteral("Restore the names from before the last completed batch."),
                      false, QStringLiteral("tessary-cli undo"),
                      [](RenameEngine& engine, const QCommandLineParser&, QTextStream& out) {
                          engine.undo();
                          out << "The last batch was undone. Original names restored.\n";
                          return 0;
                      });
}

int recover(const QStringList& arguments) {
    return withEngine(arguments, QStringLiteral("recover"),
                      QStringLiteral("Finish or reverse a batch that was interrupted."), false,
                      QStringLiteral("tessary-cli recover --journal ~/.local/share/Tessary"),
                      [](RenameEngine& engine, const QCommandLineParser&, QTextStream& out) {
                          engine.recover();
                          out << "Recovery finished. Original names restored, or the completed "
                                 "batch was saved for undo.\n";
                          return 0;
                      });
}

int status(const QStringList& arguments) {
    return withEngine(
        arguments, QStringLiteral("status"),
        QStringLiteral("Show the journal folder, whether a batch needs recovery and what can be "
                       "undone."),
        true, QStringLiteral("tessary-cli status --json"),
        [](RenameEngine& engine, const QCommandLineParser& parser, QTextStream& out) {
            bool recovery = engine.hasRecovery();
            qsizetype undoable = engine.undoCount();
            if (parser.isSet(QStringLiteral("json"))) {
                nlohmann::ordered_json document{{"journal", engine.directory().toStdString()},
                                                {"hasRecovery", recovery},
                                                {"undoCount", undoable}};
                out << QString::fromStdString(document.dump()) << '\n';
                return 0;
            }
            out << "Journal folder: " << engine.directory() << '\n';
            out << (recovery ? "An interrupted batch needs recovery: run tessary-cli recover.\n"
                             : "No batch needs recovery.\n");
            if (undoable > 0)
                out << "The last batch can be undone (" << undoable
                    << (undoable == 1 ? " file" : " files") << ").\n";
            else
                out << "Nothing to undo.\n";
            return 0;
        });
}

} // namespace JournalCommands
