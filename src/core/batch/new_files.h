#pragma once

#include <QByteArray>
#include <QString>

// Creating folders and files that must not exist yet, for the sample
// workspace: nothing is ever written over a file that is already there.
namespace NewFiles {

// Every missing folder of an absolute path. Throws RenameFailure with the
// system's description.
void makeFolders(const QString& path);

// A new file with `bytes`, failing when anything already has its name. Throws
// RenameFailure with the system's description.
void write(const QString& path, const QByteArray& bytes);

} // namespace NewFiles
