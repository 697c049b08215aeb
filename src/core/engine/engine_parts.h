#pragma once

// What the files of the rename engine share, and nothing else includes: the
// journal's names, its lock and its progress reports.

#include "core/engine/rename_engine.h"
#include "core/platform/posix_file_system.h"

namespace EngineParts {

inline constexpr const char* activeJournal = "active.json";
inline constexpr const char* undoJournal = "undo.json";

// A failed system call, as the sentence the person reads.
[[noreturn]] void platformFailure(int error);
// A file or its folder is no longer the one the journal recorded.
[[noreturn]] void fileChanged();

// Whether another file of the batch agrees with `entry`'s in everything that
// recognises a file on a card, so that only its staging name tells them apart.
bool hasTwin(const RenameJournal& journal, const JournalEntry& entry);
// Whether `name`, one of the entry's names, holds its file. A file renamed
// only in case answers to both spellings, so the listing decides there.
bool holds(const JournalEntry& entry, const QString& name);

} // namespace EngineParts

// Held for the whole of execute, undo and recover. flock belongs to the open
// file description, so it excludes other threads, other engines on the same
// folder and other processes alike, and the kernel drops it if we crash.
class RenameEngine::Lock {
public:
    explicit Lock(UniqueFd fd) : fd(std::move(fd)) {}
    Lock(Lock&&) = default;
    ~Lock() {
        if (fd)
            PosixFileSystem::unlock(fd.get());
    }

private:
    UniqueFd fd;
};

// What an operation's observer hears: the files dealt with, as a share of the
// moves the operation takes, each value once. Reporting touches no disk, so an
// observer changes nothing about what a crash at any step leaves behind.
class RenameEngine::Steps {
public:
    Steps(const RenameProgress::Observer& observer, RenameProgress::Phase phase)
        : observer(observer), phase(phase) {}

    // `moves` is 0 while the operation is still looking at its files.
    void begin(qsizetype files, qsizetype moves) {
        this->files = files;
        this->moves = moves;
        taken = 0;
        report(0);
    }
    void moved() {
        ++taken;
        report(moves > 0 ? files * taken / moves : 0);
    }
    void end() { report(files); }

private:
    void report(qsizetype done) {
        RenameProgress now{phase, done, files};
        if (!observer || last == now)
            return;
        last = now;
        observer(now);
    }

    const RenameProgress::Observer& observer;
    const RenameProgress::Phase phase;
    std::optional<RenameProgress> last;
    qsizetype files = 0;
    qsizetype moves = 0;
    qsizetype taken = 0;
};
