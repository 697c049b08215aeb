#include "ui/tessary_app.h"

#include "ui/main_window.h"

TessaryApp::TessaryApp()
    : appModel(std::make_unique<AppModel>(PlatformServices{dialogs, clipboard, settings, urls},
                                          AppModel::Startup::fromProcess())),
      mainWindow(std::make_unique<MainWindow>(*appModel, settings, urls)) {
    dialogs.setParent(mainWindow.get());
}

TessaryApp::~TessaryApp() = default;
