#pragma once

#include <QIcon>
#include <QString>

// The symbol names the window uses ("tag.fill", "photo", "doc.text", …) as
// icons: a freedesktop theme icon where the desktop has one, else our own
// drawing of it; an unknown name gets a neutral one.
namespace Symbols {

QIcon icon(const QString& name);

} // namespace Symbols
