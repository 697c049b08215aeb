#pragma once

#include <QCommandLineParser>
#include <QString>

// `--journal DIR`, shared by every command that reads or writes journals. By
// default the app's own journal folder, so the command line and the window see
// the same batches.
namespace JournalOption {

void add(QCommandLineParser& parser);
QString folder(const QCommandLineParser& parser);

} // namespace JournalOption
