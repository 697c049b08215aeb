#pragma once

#include <QIcon>
#include <QString>

// The symbol names the window uses ("tag.fill", "photo", "doc.text", …) as
// icons: a freedesktop theme icon where the desktop has one, else a standard
// icon of the style, else a neutral fallback.
namespace Symbols {

QIcon icon(const QString& name);

} // namespace Symbols
