#pragma once

#include "usage_error.h"

#include <QCommandLineParser>
#include <QStringList>
#include <QTextStream>

// What every command does with its words the same way.
namespace CommandLine {

// Throws UsageError for unknown options and missing option values. Returns
// true when --help was asked for and printed: the command has nothing to do.
bool parse(QCommandLineParser& parser, const QStringList& arguments, QTextStream& out);

// Prints the sentence and a pointer to --help; returns the usage exit status.
int usageFailure(const UsageError& error, const QString& command, QTextStream& errors);

} // namespace CommandLine
