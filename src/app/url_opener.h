#pragma once

#include <QUrl>

// Opens a folder in the file browser or a page in the browser.
class UrlOpener {
public:
    virtual ~UrlOpener() = default;
    // False when no program could open it (no file manager or browser set up).
    virtual bool open(const QUrl& url) = 0;
};
