#include "core/mapping/mapping_format.h"

QString rawValue(MappingFormat format) {
    switch (format) {
    case MappingFormat::csv:
        return QStringLiteral("csv");
    case MappingFormat::tsv:
        return QStringLiteral("tsv");
    case MappingFormat::automatic:
        break;
    }
    return QStringLiteral("automatic");
}

std::optional<MappingFormat> mappingFormatFromRaw(QStringView raw) {
    for (MappingFormat format : allMappingFormats) {
        if (raw == rawValue(format))
            return format;
    }
    return std::nullopt;
}
