#include "command_line.h"

namespace CommandLine {

bool parse(QCommandLineParser& parser, const QStringList& arguments, QTextStream& out) {
    if (!parser.parse(arguments))
        throw UsageError(parser.errorText().endsWith(QLatin1Char('.'))
                             ? parser.errorText()
                             : parser.errorText() + QLatin1Char('.'));
    if (!parser.isSet(QStringLiteral("help")))
        return false;
    out << parser.helpText();
    return true;
}

int usageFailure(const UsageError& error, const QString& command, QTextStream& errors) {
    errors << error.message << '\n'
           << "Run “tessary-cli " << command << " --help” for the options.\n";
    return 2;
}

} // namespace CommandLine
