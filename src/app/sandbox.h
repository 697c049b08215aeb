#pragma once

#include <QProcessEnvironment>

namespace Sandbox {

// Whether Flatpak or Snap confines this process to what the person chooses
// through the desktop's portal. Programs started from a classic snap's
// terminal inherit its variables unconfined; only Tessary's own snap confines.
bool confines(const QProcessEnvironment& environment);

// Whether `path` is in the portal's document store, where a folder the
// sandbox may not write in is handed over in place of the folder itself.
bool isPortalDocument(const QProcessEnvironment& environment, const QString& path);

} // namespace Sandbox
