// Any bytes, in every format: the parser must never crash, and must keep its
// promise of entries or one diagnostic, never both, within the limits.

#include "core/mapping/mapping_parser.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    for (MappingFormat format : allMappingFormats) {
        MappingDocument document = MappingParser::parse(bytes, format);
        bool oneDiagnostic = document.entries.isEmpty() && document.diagnostics.size() == 1;
        bool onlyEntries = !document.entries.isEmpty() && document.diagnostics.isEmpty();
        if (!oneDiagnostic && !onlyEntries)
            std::abort();
        if (document.entries.size() > MappingParser::maximumEntries)
            std::abort();
        for (const MappingEntry& entry : document.entries) {
            if (entry.oldName.isEmpty() || entry.newName.isEmpty() || entry.row < 1)
                std::abort();
        }
    }
    return 0;
}
