#pragma once

#include "app/clipboard.h"

// The system clipboard through QGuiApplication.
class QtClipboard : public Clipboard {
public:
    QString text() const override;
};
