#pragma once

#include <QFutureWatcher>
#include <QObject>
#include <QtConcurrent/QtConcurrentRun>

#include <type_traits>
#include <utility>

// Runs `work` on the thread pool and `done` with its result on `context`'s
// thread once it finishes. `work` must own copies of everything it touches.
// If `context` is destroyed first, `done` never runs.
template <typename Work, typename Done>
void runInBackground(QObject* context, Work work, Done done) {
    using Result = std::invoke_result_t<Work>;
    auto* watcher = new QFutureWatcher<Result>(context);
    QObject::connect(watcher, &QFutureWatcherBase::finished, context,
                     [watcher, done = std::move(done)]() mutable {
                         done(watcher->result());
                         watcher->deleteLater();
                     });
    watcher->setFuture(QtConcurrent::run(std::move(work)));
}
