#pragma once

#include "app/url_opener.h"

// Folders open in the file browser and pages in the browser, through the
// desktop's own handlers.
class QtUrlOpener : public UrlOpener {
public:
    bool open(const QUrl& url) override;
};
