#include "journal_commands.h"

#include "command_line.h"
#include "journal_option.h"
#include "terminal_progress.h"
#include "usage_error.h"

#include "core/base/rename_failure.h"
#include "core/batch/file_record.h"
#include "core/engine/rename_engine.h"
#include "core/naming/filename.h"

#include <nlohmann/json.hpp>

#include <QCommandLineParser>
#include <QTextStream>

#include <functional>

namespace JournalCommands {
namespace {

// What a journal command adds to the shared parsing: its words in the
// synopsis, its own options, what its exit statuses mean, and examples.
struct Command {
    QString name;
    QString description;
    QString synopsisOptions;
    QList<QCommandLineOption> options;
    QString exitStatus;
    QString examples;
};

const QString plainExitStatus =
    QStringLiteral("  0  done\n"
                   "  1  it could not be done; the sentence says why, and nothing is lost\n"
                   "  2  usage error\n");

// Parses the command's words, makes the engine on the journal folder and runs
// `work` with it; every failure becomes its sentence on standard error.
int withEngine(const QStringList& arguments, const Command& command,
               const std::function<int(RenameEngine&, const QCommandLineParser&, QTextStream& out,
                                       QTextStream& errors)>& work) {
    QCommandLineParser parser;
    parser.setApplicationDescription(command.description);
    parser.addHelpOption();
    JournalOption::add(parser);
    parser.addOptions(command.options);
    QTextStream out(stdout);
    QTextStream errors(stderr);
    try {
        if (CommandLine::parse(parser, arguments, out,
                               {QStringLiteral("tessary-cli %1 %2[--journal DIR]")
                                    .arg(command.name, command.synopsisOptions),
                                command.exitStatus, command.examples}))
            return 0;
        if (!parser.positionalArguments().isEmpty())
            throw UsageError(QStringLiteral("%1 takes no paths.").arg(command.name));
    } catch (const UsageError& error) {
        return CommandLine::usageFailure(error, command.name, errors);
    }
    try {
        RenameEngine engine(JournalOption::folder(parser));
        return work(engine, parser, out, errors);
    } catch (const RenameFailure& failure) {
        errors << failure.message << '\n';
        return 1;
    }
}

QString counted(qsizetype count, const char* one, const char* many) {
    return QString::number(count) + QLatin1Char(' ') + QLatin1String(count == 1 ? one : many);
}

// Every name the journal recorded for a file that was not found: the file
// may still turn up under any of them.
void printMissing(const QList<JournalEntry>& missing, QTextStream& out) {
    out << counted(missing.size(), "file", "files") << " could not be found:\n";
    for (const JournalEntry& entry : missing) {
        out << "  " << Filename::shown(FilePath::lastComponent(entry.original)) << '\n'
            << "    original: " << entry.original << '\n'
            << "    new:      " << entry.final << '\n'
            << "    staging:  " << entry.staging << '\n';
    }
}

int restoreFound(RenameEngine& engine, bool confirmedAlready, QTextStream& out,
                 QTextStream& errors) {
    if (!engine.hasRecovery()) {
        out << "No batch needs recovery.\n";
        return 0;
    }
    if (!confirmedAlready) {
        // Nothing missing makes this plain recovery, which asks nothing.
        const QList<JournalEntry> missing = engine.missingFiles();
        if (!missing.isEmpty()) {
            out << counted(missing.size(), "file", "files")
                << " of the interrupted batch cannot be found:\n";
            for (const JournalEntry& entry : missing)
                out << "  " << Filename::shown(FilePath::lastComponent(entry.original)) << '\n';
            out << "Every other file goes back to its original name. The missing files are left "
                   "alone, and the batch's journal is kept as a record in the journal folder.\n";
            if (!CommandLine::confirmed(QStringLiteral("Restore the files that can be found?"),
                                        out)) {
                errors << "Nothing was restored. Confirm at a terminal, or pass --yes.\n";
                return 1;
            }
        }
    }
    SetAsideBatch result;
    {
        TerminalProgress progress(errors);
        result = engine.restoreFound(progress.observer());
    }
    if (result.record.isEmpty() && result.restored == 0) {
        // A batch that had already finished renaming was saved for undo.
        out << "Recovery finished. Original names restored, or the completed batch was saved "
               "for undo.\n";
        return 0;
    }
    out << (result.restored == 1 ? QStringLiteral("1 file is back under its original name.")
                                 : QStringLiteral("%1 files are back under their original names.")
                                       .arg(result.restored))
        << '\n';
    for (const SetAsideBatch::Renamed& renamed : result.renamed)
        out << Filename::shown(FilePath::lastComponent(renamed.entry.original)) << " is back as "
            << Filename::shown(renamed.name)
            << ", because another file has taken its original name.\n";
    if (!result.missing.isEmpty())
        printMissing(result.missing, out);
    for (const QString& note : result.notes)
        out << note << '\n';
    if (!result.record.isEmpty())
        out << "Record kept: " << result.record << '\n'
            << "The record lists every file of the batch with its original, new and staging "
               "paths; a missing file may still turn up under one of them. Keep the record for "
               "reference, or delete it when you no longer need it.\n";
    return 0;
}

} // namespace

int undo(const QStringList& arguments) {
    return withEngine(
        arguments,
        {QStringLiteral("undo"),
         QStringLiteral("Restore the names from before the last completed batch."),
         {},
         {},
         plainExitStatus,
         QStringLiteral("  tessary-cli undo\n")},
        [](RenameEngine& engine, const QCommandLineParser&, QTextStream& out, QTextStream& errors) {
            QStringList notes;
            {
                TerminalProgress progress(errors);
                notes = engine.undo(progress.observer());
            }
            out << "The last batch was undone. Original names restored.\n";
            for (const QString& note : notes)
                out << note << '\n';
            return 0;
        });
}

int recover(const QStringList& arguments) {
    return withEngine(
        arguments,
        {QStringLiteral("recover"),
         QStringLiteral("Finish or reverse a batch that was interrupted. When some of its files "
                        "cannot be found, --restore-found puts every file that can be found back "
                        "under its original name and keeps the batch's journal as a record of the "
                        "missing ones."),
         QStringLiteral("[--restore-found [--yes]] "),
         {{QStringLiteral("restore-found"),
           QStringLiteral("Restore the files that can be found; set the missing ones aside.")},
          {QStringLiteral("yes"),
           QStringLiteral("Restore without asking (needed without a terminal).")}},
         QStringLiteral("  0  done\n"
                        "  1  it could not be done, or restoring was not confirmed; the sentence\n"
                        "     says why, and nothing is lost\n"
                        "  2  usage error\n"),
         QStringLiteral("  tessary-cli recover --journal ~/.local/share/Tessary\n"
                        "  tessary-cli recover --restore-found --yes\n")},
        [](RenameEngine& engine, const QCommandLineParser& parser, QTextStream& out,
           QTextStream& errors) {
            QStringList notes;
            if (parser.isSet(QStringLiteral("restore-found")))
                return restoreFound(engine, parser.isSet(QStringLiteral("yes")), out, errors);
            try {
                TerminalProgress progress(errors);
                std::optional<QStringList> recovered = engine.recover(progress.observer());
                if (!recovered) {
                    out << "No batch needs recovery.\n";
                    return 0;
                }
                notes = *recovered;
            } catch (const RenameFailure& failure) {
                errors << failure.message << '\n';
                // The way out, named where the person meets the problem:
                // for files gone for good, and for original names another
                // program has taken.
                bool missing = false;
                try {
                    missing = !engine.missingFiles().isEmpty();
                } catch (const RenameFailure&) {
                }
                if (engine.hasRecovery())
                    errors << (missing ? "To restore the files that can be found and keep a "
                                         "record of the missing ones, run tessary-cli recover "
                                         "--restore-found.\n"
                                       : "To restore every file, beside its original name where "
                                         "another file has taken it, run tessary-cli recover "
                                         "--restore-found.\n");
                return 1;
            }
            out << "Recovery finished. Original names restored, or the completed batch was saved "
                   "for undo.\n";
            for (const QString& note : notes)
                out << note << '\n';
            return 0;
        });
}

int status(const QStringList& arguments) {
    return withEngine(
        arguments,
        {QStringLiteral("status"),
         QStringLiteral("Show the journal folder, whether a batch needs recovery, what can be "
                        "undone and which batches were set aside."),
         QStringLiteral("[--json] "),
         {{QStringLiteral("json"), QStringLiteral("Print one JSON object.")}},
         plainExitStatus,
         QStringLiteral("  tessary-cli status --json\n")},
        [](RenameEngine& engine, const QCommandLineParser& parser, QTextStream& out, QTextStream&) {
            bool recovery = engine.hasRecovery();
            qsizetype undoable = engine.undoCount();
            const QStringList setAside = engine.setAsideRecords();
            if (parser.isSet(QStringLiteral("json"))) {
                nlohmann::ordered_json records = nlohmann::ordered_json::array();
                for (const QString& record : setAside)
                    records.push_back(record.toStdString());
                nlohmann::ordered_json document{{"journal", engine.directory().toStdString()},
                                                {"hasRecovery", recovery},
                                                {"undoCount", undoable},
                                                {"setAside", records}};
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
            if (!setAside.isEmpty()) {
                out << counted(setAside.size(), "set-aside batch record", "set-aside batch records")
                    << " in the journal folder (files that could not be found):\n";
                for (const QString& record : setAside)
                    out << "  " << record << '\n';
            }
            return 0;
        });
}

} // namespace JournalCommands
