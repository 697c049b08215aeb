#pragma once

#include "app/clipboard.h"
#include "app/file_dialogs.h"
#include "app/settings_store.h"
#include "app/url_opener.h"

// Everything the model needs of the platform, handed to it at construction.
// The services outlive the model.
struct PlatformServices {
    FileDialogs& dialogs;
    Clipboard& clipboard;
    SettingsStore& settings;
    UrlOpener& urls;
};
