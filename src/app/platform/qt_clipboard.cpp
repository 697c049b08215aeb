#include "app/platform/qt_clipboard.h"

#include <QClipboard>
#include <QGuiApplication>

QString QtClipboard::text() const {
    return QGuiApplication::clipboard()->text();
}
