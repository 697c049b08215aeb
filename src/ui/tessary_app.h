#pragma once

#include "app/app_model.h"
#include "app/platform/portal_file_dialogs.h"
#include "app/platform/qt_clipboard.h"
#include "app/platform/qt_file_dialogs.h"
#include "app/platform/qt_url_opener.h"
#include "app/qsettings_store.h"

#include <memory>

class MainWindow;

// The application: its services, its one model and its one window, made in
// that order and kept for the life of the process.
class TessaryApp {
public:
    TessaryApp();
    ~TessaryApp();

    MainWindow& window() { return *mainWindow; }
    AppModel& model() { return *appModel; }

private:
    QtFileDialogs dialogs;
    // Only in a sandbox, where a panel of Qt's own would show the sandbox.
    std::unique_ptr<PortalFileDialogs> portalDialogs;
    QtClipboard clipboard;
    QSettingsStore settings;
    QtUrlOpener urls;
    std::unique_ptr<AppModel> appModel;
    std::unique_ptr<MainWindow> mainWindow;
};
