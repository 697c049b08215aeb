#pragma once

#include "usage_error.h"

#include <QCommandLineParser>
#include <QStringList>
#include <QTextStream>

// What every command does with its words the same way.
namespace CommandLine {

// What a command's --help adds to the option list: how to call it, what its
// exit statuses mean, and examples.
struct Help {
    QString synopsis;
    QString exitStatus;
    QString examples;
};

// Throws UsageError for unknown options and missing option values. Returns
// true when --help was asked for and printed: the command has nothing to do.
bool parse(QCommandLineParser& parser, const QStringList& arguments, QTextStream& out,
           const Help& help);

// The absolute local path a PATH or a file option names: a path, relative to
// the working folder, or a file:// URI as file managers pass them. Throws
// UsageError for any other URI.
QString localPath(const QString& argument);

// Asks `question` with " [y/N] " and reads the answer. Only a person at a
// terminal can confirm; without one the answer is no, and a script must say
// --yes instead.
bool confirmed(const QString& question, QTextStream& out);

// Prints the sentence and a pointer to --help; returns the usage exit status.
int usageFailure(const UsageError& error, const QString& command, QTextStream& errors);

} // namespace CommandLine
