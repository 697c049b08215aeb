#pragma once

#include <QString>
#include <QStringView>

#include <optional>

// Whether a journaled batch renames the user's files or reverses the last
// rename. Stored as its lower-case raw value.
enum class JournalPurpose { rename, undo };

QString rawValue(JournalPurpose purpose);
std::optional<JournalPurpose> journalPurposeFromRaw(QStringView raw);
