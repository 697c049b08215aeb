#include "journal_option.h"

#include "command_line.h"

#include <QDir>
#include <QStandardPaths>

namespace JournalOption {

void add(QCommandLineParser& parser) {
    parser.addOption({QStringLiteral("journal"),
                      QStringLiteral("Journal folder (default: the app's, %1).")
                          .arg(QStringLiteral("~/.local/share/Tessary")),
                      QStringLiteral("dir")});
}

QString folder(const QCommandLineParser& parser) {
    if (parser.isSet(QStringLiteral("journal")))
        return CommandLine::localPath(parser.value(QStringLiteral("journal")));
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/Tessary");
}

} // namespace JournalOption
