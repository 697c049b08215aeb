#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// The per-user defaults: "savedRecipes" (JSON bytes) and "hasSeenTutorial".
class SettingsStore {
public:
    virtual ~SettingsStore() = default;
    virtual std::optional<QByteArray> data(const QString& key) const = 0;
    virtual void setData(const QString& key, const QByteArray& value) = 0;
    virtual bool flag(const QString& key) const = 0;
    virtual void setFlag(const QString& key, bool value) = 0;
};
