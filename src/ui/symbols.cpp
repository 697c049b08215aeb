#include "ui/symbols.h"

#include <QCoreApplication>
#include <QHash>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

namespace Symbols {
namespace {

// Each symbol's freedesktop theme name. Without a theme, or without that icon
// in it, our own drawing stands in: never a style's standard pixmap, which
// are floppy disks and Qt logos.
const QHash<QString, const char*>& themeNames() {
    static const QHash<QString, const char*> table = {
        {"plus", "list-add"},
        {"photo", "image-x-generic"},
        {"doc.text", "text-x-generic"},
        {"film", "video-x-generic"},
        {"music.note", "audio-x-generic"},
        {"doc.zipper", "package-x-generic"},
        {"arrow.right", "go-next"},
        {"checkmark.circle.fill", "emblem-ok"},
        {"checkmark.shield", "security-high"},
        {"exclamationmark.circle.fill", "dialog-error"},
        {"exclamationmark.triangle", "dialog-warning"},
        {"minus.circle", "list-remove"},
        {"info.circle", "dialog-information"},
        {"hourglass", "appointment-soon"},
        {"arrow.uturn.backward", "edit-undo"},
        {"arrow.uturn.backward.circle.fill", "edit-undo"},
        {"square.and.arrow.up", "document-export"},
        {"questionmark.circle", "help-about"},
        {"lock.shield", "security-high"},
        {"bookmark", "bookmark-new"},
        {"slider.horizontal.3", "preferences-system"},
        {"tablecells", "x-office-spreadsheet"},
        {"shippingbox", "package-x-generic"},
        {"camera", "camera-photo"},
        {"globe", "applications-internet"},
        {"ellipsis", "open-menu"},
        {"sparkles", "starred"},
        {"doc.on.doc", "edit-copy"},
        {"pencil.and.square", "document-edit"},
        {"tag.fill", "tag"},
    };
    return table;
}

// Our drawing of a symbol at the sizes the window uses, twice over for dense
// screens; an unknown name gets the neutral one.
QIcon drawn(const QString& name) {
    QSvgRenderer renderer(QStringLiteral(":/symbols/") + name + QStringLiteral(".svg"));
    if (!renderer.isValid())
        renderer.load(QStringLiteral(":/symbols/neutral.svg"));
    QIcon icon;
    for (int side : {16, 22, 24, 32, 48, 64}) {
        QPixmap pixmap(side, side);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        renderer.render(&painter);
        icon.addPixmap(pixmap);
    }
    return icon;
}

} // namespace

QIcon icon(const QString& name) {
    // Rows of the preview ask for the same few symbols thousands of times.
    // The pixmaps must go before the application does.
    static QHash<QString, QIcon> cache;
    if (cache.isEmpty())
        qAddPostRoutine([] { cache.clear(); });
    auto cached = cache.constFind(name);
    if (cached != cache.cend())
        return *cached;
    auto theme = themeNames().constFind(name);
    QIcon result = theme != themeNames().cend() && QIcon::hasThemeIcon(QLatin1String(*theme))
                       ? QIcon::fromTheme(QLatin1String(*theme))
                       : drawn(name);
    cache.insert(name, result);
    return result;
}

} // namespace Symbols
