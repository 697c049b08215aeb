#include "ui/tessary_app.h"

#include "ui/main_window.h"

#include "app/sandbox.h"

namespace {

std::unique_ptr<PortalFileDialogs> portalIfConfined(FileDialogs& fallback) {
    if (!Sandbox::confines(QProcessEnvironment::systemEnvironment()))
        return nullptr;
    return std::make_unique<PortalFileDialogs>(QDBusConnection::sessionBus(), fallback);
}

} // namespace

TessaryApp::TessaryApp()
    : portalDialogs(portalIfConfined(dialogs)),
      appModel(std::make_unique<AppModel>(
          PlatformServices{portalDialogs ? static_cast<FileDialogs&>(*portalDialogs) : dialogs,
                           clipboard, settings, urls},
          AppModel::Startup::fromProcess())),
      mainWindow(std::make_unique<MainWindow>(*appModel, settings, urls)) {
    dialogs.setParent(mainWindow.get());
    if (portalDialogs)
        portalDialogs->setParent(mainWindow.get());
}

TessaryApp::~TessaryApp() = default;
