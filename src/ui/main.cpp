#include "ui/main_window.h"
#include "ui/sheen.h"
#include "ui/tessary_app.h"

#include <QApplication>
#include <QIcon>
#include <QStyleFactory>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Tessary"));
    QApplication::setApplicationName(QStringLiteral("Tessary"));
    // Ties the window to the installed launcher entry and its icon.
    QGuiApplication::setDesktopFileName(QStringLiteral("tessary"));
    QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("tessary")));
    // Light whatever the desktop's theme: the palette is part of the product.
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setPalette(Sheen::lightPalette());
    TessaryApp tessary;
    tessary.window().show();
    return application.exec();
}
