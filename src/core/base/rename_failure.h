#pragma once

#include <QString>

#include <exception>

// The core's one error: a finished sentence written for the person using the
// app. Callers show `message` unchanged; nothing else travels with it.
class RenameFailure : public std::exception {
public:
    explicit RenameFailure(QString message)
        : message(std::move(message)), utf8(this->message.toUtf8()) {}

    const char* what() const noexcept override { return utf8.constData(); }

    QString message;

private:
    QByteArray utf8;
};
