#pragma once

#include "app/settings_store.h"

#include <QSettings>

#include <memory>

// The defaults kept by QSettings: the user's "Tessary" settings, or an INI
// file (tests use one in a temporary folder).
class QSettingsStore : public SettingsStore {
public:
    QSettingsStore();
    explicit QSettingsStore(const QString& iniFile);

    std::optional<QByteArray> data(const QString& key) const override;
    void setData(const QString& key, const QByteArray& value) override;
    bool flag(const QString& key) const override;
    void setFlag(const QString& key, bool value) override;

private:
    std::unique_ptr<QSettings> settings;
};
