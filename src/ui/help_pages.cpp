#include "ui/help_pages.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace HelpPages {
namespace {

// Installed beside the binary's share folder; a build run from its tree
// finds the pages in the source.
QString docsFolder() {
    QString installed =
        QCoreApplication::applicationDirPath() + QStringLiteral("/../share/doc/tessary");
    if (QFileInfo(installed + QStringLiteral("/guide.html")).exists())
        return QDir::cleanPath(installed);
    return QStringLiteral(TESSARY_SOURCE_DOCS);
}

QString fileName(Page page) {
    switch (page) {
    case Page::guide:
        return QStringLiteral("guide.html");
    case Page::website:
        return QStringLiteral("index.html");
    case Page::releaseNotes:
        return QStringLiteral("release-notes.html");
    case Page::privacy:
        return QStringLiteral("privacy.html");
    }
    return QStringLiteral("guide.html");
}

} // namespace

QUrl url(Page page) {
    return QUrl::fromLocalFile(docsFolder() + QLatin1Char('/') + fileName(page));
}

} // namespace HelpPages
