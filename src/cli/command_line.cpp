#include "command_line.h"

namespace CommandLine {

void parse(QCommandLineParser& parser, const QStringList& arguments) {
    if (!parser.parse(arguments))
        throw UsageError(parser.errorText() + QLatin1Char('.'));
}

int usageFailure(const UsageError& error, const QString& command, QTextStream& errors) {
    errors << error.message << '\n'
           << "Run “tessary-cli " << command << " --help” for the options.\n";
    return 2;
}

} // namespace CommandLine
