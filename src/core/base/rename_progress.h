#pragma once

#include <QString>
#include <QtGlobal>

#include <functional>

// How far a long operation has got, in terms the person waiting for it knows:
// what it is doing, and how many of its files it has dealt with.
struct RenameProgress {
    enum class Phase { renaming, undoing, recovering, restoring, adding, reading };

    // Told of every change of `done` or `total`, on the operation's own thread
    // and between two of its steps, so the next step waits for it: it must
    // return quickly and must not throw.
    using Observer = std::function<void(const RenameProgress&)>;

    Phase phase = Phase::renaming;
    // Never decreases during one operation, and ends at `total` when the
    // operation succeeds.
    qsizetype done = 0;
    // 0 while the operation does not yet know how many files it holds.
    qsizetype total = 0;

    // "Renaming 1200 of 5000 files…", or "Renaming files…" before the total is
    // known; "Reading 1200 of 5000 dates…" for the files' dates.
    QString text() const {
        if (phase == Phase::reading)
            return total == 0
                       ? QStringLiteral("Reading dates…")
                       : QStringLiteral("Reading %1 of %2 %3…")
                             .arg(done)
                             .arg(total)
                             .arg(total == 1 ? QStringLiteral("date") : QStringLiteral("dates"));
        QString verb = phase == Phase::renaming     ? QStringLiteral("Renaming")
                       : phase == Phase::undoing    ? QStringLiteral("Undoing")
                       : phase == Phase::recovering ? QStringLiteral("Recovering")
                       : phase == Phase::restoring  ? QStringLiteral("Restoring")
                                                    : QStringLiteral("Adding");
        if (total == 0)
            return verb + QStringLiteral(" files…");
        return verb + QStringLiteral(" %1 of %2 %3…")
                          .arg(done)
                          .arg(total)
                          .arg(total == 1 ? QStringLiteral("file") : QStringLiteral("files"));
    }

    friend bool operator==(const RenameProgress&, const RenameProgress&) = default;
};
