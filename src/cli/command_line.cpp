#include "command_line.h"

#include "core/import/file_argument.h"

#include <QDir>
#include <QRegularExpression>

#include <unistd.h>

namespace CommandLine {

bool parse(QCommandLineParser& parser, const QStringList& arguments, QTextStream& out,
           const Help& help) {
    if (!parser.parse(arguments))
        throw UsageError(parser.errorText().endsWith(QLatin1Char('.'))
                             ? parser.errorText()
                             : parser.errorText() + QLatin1Char('.'));
    // Checked here, with the other usage errors, before anything is read.
    static const QStringList fileOptions = {QStringLiteral("rules"), QStringLiteral("mapping"),
                                            QStringLiteral("journal"), QStringLiteral("output"),
                                            QStringLiteral("o")};
    for (const QString& name : parser.optionNames()) {
        if (fileOptions.contains(name) && parser.value(name) != QLatin1String("-"))
            localPath(parser.value(name));
    }
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

QString localPath(const QString& argument) {
    auto path = FileArgument::localPath(argument, QDir::currentPath());
    if (!path)
        throw UsageError(argument + QStringLiteral(" is not a file on this computer; name a path "
                                                   "or a file:// URI."));
    return *path;
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
