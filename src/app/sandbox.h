#pragma once

#include <QProcessEnvironment>

// Whether Flatpak or Snap confines the process, whose environment each of
// them marks. A confined process sees a folder only once the person chose it
// through the desktop's file-chooser portal; any other already has the
// person's own access.
namespace Sandbox {

bool confines(const QProcessEnvironment& environment);

} // namespace Sandbox
