#pragma once

#include <QUrl>

// The help pages shipped with the app, opened from the local copy: the user
// guide, the product page, the release notes and the privacy and support page.
namespace HelpPages {

enum class Page { guide, website, releaseNotes, privacy };

QUrl url(Page page);

} // namespace HelpPages
