#pragma once

#include <QString>

#include <exception>

// A command line that cannot be carried out as typed. Reported with its
// sentence and exit status 2, before anything is read from the batch.
struct UsageError : std::exception {
    explicit UsageError(QString message) : message(std::move(message)) {}
    const char* what() const noexcept override { return "usage error"; }
    QString message;
};
