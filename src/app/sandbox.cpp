#include "app/sandbox.h"

namespace Sandbox {

bool confines(const QProcessEnvironment& environment) {
    return environment.contains(QStringLiteral("FLATPAK_ID")) ||
           environment.contains(QStringLiteral("SNAP"));
}

} // namespace Sandbox
