#pragma once

#include <QString>

#include <array>

// Where the new names come from: the naming rules or a spreadsheet.
enum class RenameMode { rules, spreadsheet };

inline constexpr std::array<RenameMode, 2> allRenameModes = {RenameMode::rules,
                                                             RenameMode::spreadsheet};

inline QString rawValue(RenameMode mode) {
    return mode == RenameMode::rules ? QStringLiteral("rules") : QStringLiteral("spreadsheet");
}
