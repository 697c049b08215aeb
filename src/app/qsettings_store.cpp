#include "app/qsettings_store.h"

QSettingsStore::QSettingsStore()
    : settings(std::make_unique<QSettings>(QStringLiteral("Tessary"), QStringLiteral("Tessary"))) {}

QSettingsStore::QSettingsStore(const QString& iniFile)
    : settings(std::make_unique<QSettings>(iniFile, QSettings::IniFormat)) {}

std::optional<QByteArray> QSettingsStore::data(const QString& key) const {
    QVariant value = settings->value(key);
    if (!value.isValid())
        return std::nullopt;
    return value.toByteArray();
}

void QSettingsStore::setData(const QString& key, const QByteArray& value) {
    settings->setValue(key, value);
    settings->sync();
}

bool QSettingsStore::flag(const QString& key) const {
    return settings->value(key, false).toBool();
}

void QSettingsStore::setFlag(const QString& key, bool value) {
    settings->setValue(key, value);
    settings->sync();
}
