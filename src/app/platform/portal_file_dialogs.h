#pragma once

#include "app/file_dialogs.h"

#include <QDBusConnection>
#include <QPointer>
#include <QVariantMap>
#include <QWidget>

// The desktop's own open and save panels, through its file-chooser portal,
// for a process a sandbox confines: only what the person chooses there
// becomes reachable. The portal's panel has no line for a message, so a
// folder asked for is explained in a box of our own first. Where no portal
// answers on the bus, `fallback` asks instead.
class PortalFileDialogs : public FileDialogs {
public:
    PortalFileDialogs(const QDBusConnection& bus, FileDialogs& fallback)
        : bus(bus), fallback(fallback) {}
    void setParent(QWidget* window) { parent = window; }

    QList<QUrl> open(const OpenRequest& request) override;
    std::optional<QString> save(const SaveRequest& request) override;

private:
    // The chosen locations, empty when the person cancelled, or nothing when
    // no portal answered.
    std::optional<QList<QUrl>> ask(const QString& method, const QString& title,
                                   QVariantMap options);
    QString parentWindow() const;

    QDBusConnection bus;
    FileDialogs& fallback;
    QPointer<QWidget> parent;
    int asked = 0;
};
