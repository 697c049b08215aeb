#pragma once

#include "app/file_dialogs.h"

#include <QPointer>
#include <QWidget>

// Qt's own file dialogs, modal over the window.
class QtFileDialogs : public FileDialogs {
public:
    explicit QtFileDialogs(QWidget* parent = nullptr) : parent(parent) {}
    void setParent(QWidget* window) { parent = window; }

    QList<QUrl> open(const OpenRequest& request) override;
    std::optional<QString> save(const SaveRequest& request) override;

private:
    QPointer<QWidget> parent;
};
