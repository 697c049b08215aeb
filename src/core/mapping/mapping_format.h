#pragma once

#include <QString>
#include <QStringView>

#include <array>
#include <optional>

// How the columns of a spreadsheet are separated. `automatic` picks tab when
// the first record holds a tab outside quotes, else comma.
enum class MappingFormat { automatic, csv, tsv };

inline constexpr std::array<MappingFormat, 3> allMappingFormats = {
    MappingFormat::automatic, MappingFormat::csv, MappingFormat::tsv};

QString rawValue(MappingFormat format);
std::optional<MappingFormat> mappingFormatFromRaw(QStringView raw);
