#pragma once

#include <QUrl>

// Opens a folder in the file browser or a page in the browser.
class UrlOpener {
public:
    virtual ~UrlOpener() = default;
    virtual void open(const QUrl& url) = 0;
};
