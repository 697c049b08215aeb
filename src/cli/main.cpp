#include "journal_commands.h"
#include "preview_command.h"
#include "rename_command.h"
#include "report_command.h"

#include <QCoreApplication>
#include <QStringDecoder>
#include <QTextStream>

#include <cstring>

namespace {

const char* usage = "Usage: tessary-cli COMMAND [OPTIONS] [PATH...]\n"
                    "\n"
                    "Commands:\n"
                    "  preview   Show the new name of every file and whether it may be renamed.\n"
                    "  rename    Rename the files in place, journaled, after the same preview.\n"
                    "  undo      Restore the names from before the last completed batch.\n"
                    "  recover   Finish or reverse a batch that was interrupted.\n"
                    "  status    Show whether a batch needs recovery and what can be undone.\n"
                    "  report    Save a draft preview or the last batch's receipt as HTML.\n"
                    "\n"
                    "Run “tessary-cli COMMAND --help” for the options of a command, and\n"
                    "“man tessary-cli” for the whole manual.\n"
                    "\n"
                    "Exit status: 0 success, 1 a problem that stopped the command (nothing is\n"
                    "lost), 2 a usage error.\n"
                    "\n"
                    "Examples:\n"
                    "  tessary-cli preview --recipe \"Client handoff\" ~/Pictures/shoot\n"
                    "  tessary-cli rename --mapping names.csv ~/Projects/acme\n"
                    "  tessary-cli undo\n";

// Arguments are decoded as UTF-8; a path that is not UTF-8 would come back as
// another name, so it is refused before anything is looked at.
bool argumentsAreUtf8(int argc, char** argv) {
    for (int index = 0; index < argc; ++index) {
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        QString decoded = decoder(QByteArrayView(argv[index], qsizetype(std::strlen(argv[index]))));
        if (decoder.hasError())
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tessary-cli"));
    QTextStream errors(stderr);
    if (!argumentsAreUtf8(argc, argv)) {
        errors << "Filenames must be valid UTF-8.\n";
        return 2;
    }

    QStringList arguments = QCoreApplication::arguments();
    QString command = arguments.value(1);
    QStringList rest = arguments.mid(0, 1) + arguments.mid(2);
    if (command == QLatin1String("preview"))
        return PreviewCommand::run(rest);
    if (command == QLatin1String("rename"))
        return RenameCommand::run(rest);
    if (command == QLatin1String("undo"))
        return JournalCommands::undo(rest);
    if (command == QLatin1String("recover"))
        return JournalCommands::recover(rest);
    if (command == QLatin1String("status"))
        return JournalCommands::status(rest);
    if (command == QLatin1String("report"))
        return ReportCommand::run(rest);
    if (command == QLatin1String("--help") || command == QLatin1String("-h") ||
        command == QLatin1String("help")) {
        QTextStream(stdout) << usage;
        return 0;
    }
    errors << (command.isEmpty() ? QStringLiteral("Name a command.")
                                 : QStringLiteral("There is no command “%1”.").arg(command))
           << '\n'
           << usage;
    return 2;
}
