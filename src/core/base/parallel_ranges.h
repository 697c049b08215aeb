#pragma once

#include <QtGlobal>

#include <functional>

// Work over many independent items, spread across the processors. The
// preview judges thousands of names between two keystrokes, and one core
// alone leaves the user waiting for the other.
namespace ParallelRanges {

// Calls `work(begin, end)` on disjoint ranges that together cover
// [0, count), one range per processor, the calling thread taking one; returns
// once every range is done. Fewer than `minimumPerRange` items per range run
// on the calling thread alone, as a thread costs more than it saves. An
// exception from any range is rethrown here, after all have finished.
void run(qsizetype count, const std::function<void(qsizetype begin, qsizetype end)>& work,
         qsizetype minimumPerRange = 256);

} // namespace ParallelRanges
