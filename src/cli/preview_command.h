#pragma once

#include <QStringList>

// `tessary-cli preview [rule options] [--windows] [--json] PATH...`
namespace PreviewCommand {

// `arguments` starts with the program and the command word. Returns the exit
// status: 0 when nothing blocks, 1 when a row has a problem, 2 when the
// command could not be carried out.
int run(const QStringList& arguments);

} // namespace PreviewCommand
