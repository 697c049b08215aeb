#include "app/platform/qt_url_opener.h"

#include <QDesktopServices>

void QtUrlOpener::open(const QUrl& url) {
    QDesktopServices::openUrl(url);
}
