#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

// tessary-cli run as a user would run it, without a terminal on standard input.
struct CliOutcome {
    int exitCode = -1;
    QString out;
    QString errors;
};

inline CliOutcome cli(const QStringList& arguments, const QString& workingFolder = {}) {
    QProcess process;
    if (!workingFolder.isEmpty())
        process.setWorkingDirectory(workingFolder);
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(QStringLiteral(TESSARY_CLI), arguments);
    process.waitForFinished(60000);
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}
