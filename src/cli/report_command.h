#pragma once

#include <QStringList>

// `tessary-cli report --draft -o FILE [preview options] PATH...`
// `tessary-cli report --receipt -o FILE [--journal DIR]`
namespace ReportCommand {

// Writes the standalone HTML report atomically. 0 when saved, 1 when there is
// nothing to report or it could not be saved, 2 for a usage error or a failure
// before the preview.
int run(const QStringList& arguments);

} // namespace ReportCommand
