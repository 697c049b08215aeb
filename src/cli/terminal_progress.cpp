#include "terminal_progress.h"

#include <algorithm>

#include <unistd.h>

namespace {

// A terminal redraws far slower than the engine moves files on a fast disk.
constexpr std::chrono::milliseconds redrawInterval(33);

} // namespace

TerminalProgress::TerminalProgress(QTextStream& errors)
    : errors(errors), terminal(isatty(STDERR_FILENO) == 1) {}

RenameProgress::Observer TerminalProgress::observer() {
    if (!terminal)
        return {};
    return [this](const RenameProgress& progress) { show(progress); };
}

void TerminalProgress::show(const RenameProgress& progress) {
    auto now = std::chrono::steady_clock::now();
    // The first and the last count are always drawn.
    if (shownLength > 0 && progress.done < progress.total && now - shown < redrawInterval)
        return;
    shown = now;
    const QString line = progress.text();
    // Blanks over whatever a longer line before left on screen.
    errors << '\r' << line << QString(std::max<qsizetype>(0, shownLength - line.size()), ' ');
    errors.flush();
    shownLength = line.size();
}

void TerminalProgress::finish() {
    if (shownLength == 0)
        return;
    errors << '\n';
    errors.flush();
    shownLength = 0;
}
