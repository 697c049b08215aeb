#include "app/sandbox.h"

bool Sandbox::confines(const QProcessEnvironment& environment) {
    return environment.contains(QStringLiteral("FLATPAK_ID")) ||
           environment.value(QStringLiteral("SNAP_NAME")) == QLatin1String("tessary");
}

bool Sandbox::isPortalDocument(const QProcessEnvironment& environment, const QString& path) {
    const QString runtime = environment.value(QStringLiteral("XDG_RUNTIME_DIR"));
    return !runtime.isEmpty() && path.startsWith(runtime + QStringLiteral("/doc/"));
}
