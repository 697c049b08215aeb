#pragma once

#include "core/base/rename_progress.h"

#include <QTextStream>

#include <chrono>

// A long command's progress on standard error when that is a terminal: one
// line, rewritten in place, and ended with a line feed before anything else
// is printed. Piped or redirected, standard error carries only sentences, so
// scripts that read it see no difference.
class TerminalProgress {
public:
    explicit TerminalProgress(QTextStream& errors);
    ~TerminalProgress() { finish(); }
    TerminalProgress(const TerminalProgress&) = delete;
    TerminalProgress& operator=(const TerminalProgress&) = delete;

    // For the operation to report to; empty, and so never called, without a
    // terminal. Valid while this object lives.
    RenameProgress::Observer observer();
    // Ends the line, if one was begun.
    void finish();

private:
    void show(const RenameProgress& progress);

    QTextStream& errors;
    const bool terminal;
    qsizetype shownLength = 0;
    std::chrono::steady_clock::time_point shown;
};
