#include "app/platform/qt_url_opener.h"

#include <QDesktopServices>

bool QtUrlOpener::open(const QUrl& url) {
    return QDesktopServices::openUrl(url);
}
