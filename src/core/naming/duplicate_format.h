#pragma once

#include <QString>
#include <QStringView>

#include <array>
#include <optional>

// How a number sets apart a file whose proposed name another file of the
// batch would get first: "a (2).jpg", "a 2.jpg", "a-2.jpg" or "a_2.jpg".
enum class DuplicateFormat { parentheses, space, hyphen, underscore };

inline constexpr std::array<DuplicateFormat, 4> allDuplicateFormats = {
    DuplicateFormat::parentheses, DuplicateFormat::space, DuplicateFormat::hyphen,
    DuplicateFormat::underscore};

QString rawValue(DuplicateFormat format);
std::optional<DuplicateFormat> duplicateFormatFromRaw(QStringView raw);

// The text put between the stem and the extension: " (2)" for 2.
QString numbered(DuplicateFormat format, qsizetype number);
