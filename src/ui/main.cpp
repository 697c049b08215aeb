#include "ui/launch_channel.h"
#include "ui/main_window.h"
#include "ui/sheen.h"
#include "ui/tessary_app.h"
#include "ui/window_launches.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
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

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Rename a batch of files safely, with a live preview and undo."));
    parser.addHelpOption();
    parser.addOption({QStringLiteral("demo"), QStringLiteral("Open a sample workspace.")});
    parser.addPositionalArgument(QStringLiteral("items"),
                                 QStringLiteral("Files, folders or file:// URIs to add."),
                                 QStringLiteral("[FILE|FOLDER|URI...]"));
    parser.process(application);
    const QStringList items = parser.positionalArguments();
    const QString workingFolder = QDir::currentPath();
    // A demonstration is a throwaway workspace with a journal of its own: it
    // neither joins the open window nor takes over later launches.
    LaunchChannel channel(QStringLiteral("org.tessary.Tessary"));
    if (!parser.isSet(QStringLiteral("demo")) && !channel.claim(items, workingFolder))
        return 0;

    TessaryApp tessary;
    WindowLaunches launches(tessary.model(), tessary.window());
    QObject::connect(&channel, &LaunchChannel::opened, &launches, &WindowLaunches::open);
    // Before the window shows and may offer the tutorial: the person asked
    // for these items, and the tutorial can wait for another start.
    launches.add(items, workingFolder);
    tessary.window().show();
    return application.exec();
}
