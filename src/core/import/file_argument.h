#pragma once

#include <QString>

#include <optional>

// A file or folder named on a command line, as a shell or a file manager
// passes it: a path, or a file:// URI. File managers launch programs with
// URIs (a desktop entry's %U, Nautilus scripts, Nemo's bulk renamer), and
// a shell with paths relative to where it stands.
namespace FileArgument {

// The absolute local path `argument` names, resolved against
// `workingFolder` when relative; a file:// URI is percent-decoded. Empty for
// a URI of any other scheme or host, whose item is not on this computer, and
// for one whose decoded path is not UTF-8, which no file here can be reached
// by without a lossy decode.
std::optional<QString> localPath(const QString& argument, const QString& workingFolder);

} // namespace FileArgument
