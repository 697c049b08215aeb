#pragma once

#include <QString>
#include <QStringView>
#include <QUuid>

#include <optional>

// UUIDs as stored text: written in upper case without braces, read only in the
// 36-character 8-4-4-4-12 form.
namespace UuidText {

QString text(const QUuid& uuid);

// Either letter case is read; braces, URNs and other spellings are not.
std::optional<QUuid> parse(QStringView text);

} // namespace UuidText
