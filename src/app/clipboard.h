#pragma once

#include <QString>

// The system clipboard's plain text.
class Clipboard {
public:
    virtual ~Clipboard() = default;
    // Empty when the clipboard holds no text.
    virtual QString text() const = 0;
};
