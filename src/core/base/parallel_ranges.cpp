#include "core/base/parallel_ranges.h"

#include <QThread>

#include <algorithm>
#include <exception>
#include <thread>
#include <vector>

namespace ParallelRanges {

void run(qsizetype count, const std::function<void(qsizetype, qsizetype)>& work,
         qsizetype minimumPerRange) {
    if (count <= 0)
        return;
    qsizetype ranges = std::clamp<qsizetype>(count / std::max<qsizetype>(minimumPerRange, 1), 1,
                                             std::max(QThread::idealThreadCount(), 1));
    if (ranges == 1) {
        work(0, count);
        return;
    }
    std::vector<std::exception_ptr> failures(static_cast<std::size_t>(ranges));
    auto range = [&](qsizetype part) {
        try {
            work(count * part / ranges, count * (part + 1) / ranges);
        } catch (...) {
            failures[std::size_t(part)] = std::current_exception();
        }
    };
    {
        std::vector<std::jthread> helpers;
        helpers.reserve(std::size_t(ranges - 1));
        for (qsizetype part = 1; part < ranges; ++part)
            helpers.emplace_back(range, part);
        range(0);
    }
    for (const std::exception_ptr& failure : failures) {
        if (failure)
            std::rethrow_exception(failure);
    }
}

} // namespace ParallelRanges
