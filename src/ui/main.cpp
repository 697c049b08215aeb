#include "ui/main_window.h"
#include "ui/sheen.h"
#include "ui/tessary_app.h"

#include <QApplication>
#include <QStyleFactory>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Tessary"));
    QApplication::setApplicationName(QStringLiteral("Tessary"));
    // Light whatever the desktop's theme: the palette is part of the product.
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setPalette(Sheen::lightPalette());
    TessaryApp tessary;
    tessary.window().show();
    return application.exec();
}
