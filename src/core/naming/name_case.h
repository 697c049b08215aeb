#pragma once

#include <QString>
#include <QStringView>

#include <array>
#include <optional>

// How the naming rules change letter case. The raw values are also the JSON
// form and the words of the command line.
enum class NameCase { unchanged, lower, upper, title };

inline constexpr std::array<NameCase, 4> allNameCases = {NameCase::unchanged, NameCase::lower,
                                                         NameCase::upper, NameCase::title};

QString rawValue(NameCase nameCase);
std::optional<NameCase> nameCaseFromRaw(QStringView raw);

// `text` in the case asked for. Title case gives the first code point of each
// run between white space its title-case form and the rest its lower case.
QString withCase(const QString& text, NameCase nameCase);
