#pragma once

#include "app/file_dialogs.h"

#include <QPointer>
#include <QWidget>

// Qt's own file dialogs, modal over the window, with the request's message
// shown above the chooser. Choosers start in the folder last chosen in this
// run, else in the home folder, never in the process's working folder.
class QtFileDialogs : public FileDialogs {
public:
    explicit QtFileDialogs(QWidget* parent = nullptr) : parent(parent) {}
    void setParent(QWidget* window) { parent = window; }

    QList<QUrl> open(const OpenRequest& request) override;
    std::optional<QString> save(const SaveRequest& request) override;

private:
    QString startFolder() const;
    void remember(const QString& path);

    QPointer<QWidget> parent;
    QString lastFolder;
};
