#pragma once

#include <QString>
#include <QStringView>

#include <array>
#include <optional>

// How the naming rules normalise the separators between words. `unchanged`
// leaves them alone but still joins a sequence number with a hyphen.
enum class NameSeparator { unchanged, hyphen, underscore, space };

inline constexpr std::array<NameSeparator, 4> allNameSeparators = {
    NameSeparator::unchanged, NameSeparator::hyphen, NameSeparator::underscore,
    NameSeparator::space};

QString rawValue(NameSeparator separator);
std::optional<NameSeparator> nameSeparatorFromRaw(QStringView raw);

// The character that joins words and precedes a sequence number.
QChar character(NameSeparator separator);
