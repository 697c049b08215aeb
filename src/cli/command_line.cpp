#include "command_line.h"

#include <QRegularExpression>

#include <unistd.h>

namespace CommandLine {

bool parse(QCommandLineParser& parser, const QStringList& arguments, QTextStream& out,
           const Help& help) {
    if (!parser.parse(arguments))
        throw UsageError(parser.errorText().endsWith(QLatin1Char('.'))
                             ? parser.errorText()
                             : parser.errorText() + QLatin1Char('.'));
    if (!parser.isSet(QStringLiteral("help")))
        return false;
    // Qt's own first line names the binary's path and no command; ours reads
    // like a manual's synopsis.
    QString options = parser.helpText();
    options = options.mid(options.indexOf(QLatin1Char('\n')) + 1);
    options.remove(QRegularExpression(QStringLiteral("  --help-all[^\n]*\n")));
    options.remove(QRegularExpression(QStringLiteral("\nArguments:\n[^\n]*\n?")));
    out << "Usage: " << help.synopsis << "\n"
        << options << "\nExit status:\n"
        << help.exitStatus << "\nExamples:\n"
        << help.examples;
    return true;
}

bool confirmed(const QString& question, QTextStream& out) {
    if (!isatty(STDIN_FILENO))
        return false;
    out << question << " [y/N] ";
    out.flush();
    QTextStream in(stdin);
    QString answer = in.readLine().trimmed().toLower();
    return answer == QLatin1String("y") || answer == QLatin1String("yes");
}

int usageFailure(const UsageError& error, const QString& command, QTextStream& errors) {
    errors << error.message << '\n'
           << "Run “tessary-cli " << command << " --help” for the options.\n";
    return 2;
}

} // namespace CommandLine
