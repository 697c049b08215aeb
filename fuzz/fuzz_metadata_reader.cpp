// Any bytes as a whole image file: reading them must never crash or throw,
// and a date taken, when one is found, must be a real date.

#include "core/import/metadata_reader.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    FileFacts facts = MetadataReader::readBytes(bytes);
    if (facts.size != bytes.size())
        std::abort();
    if (facts.taken && !facts.taken->isValid())
        std::abort();
    if (facts.taken && facts.problem)
        std::abort();
    return 0;
}
