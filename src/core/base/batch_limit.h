#pragma once

#include <QtGlobal>

// The most files one batch may hold: what an import keeps, what the engine
// renames and journals, and where the window calls a batch too large.
inline constexpr qsizetype batchLimit = 5000;
