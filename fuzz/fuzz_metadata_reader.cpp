// Any bytes as a whole file of one of the kinds read, chosen by the first
// byte: reading them must never crash or throw, and a date taken, when one is
// found, must be a real date.

#include "core/import/metadata_reader.h"

#include <cstdint>
#include <cstdlib>
#include <iterator>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    static const char* const kinds[] = {"jpg", "mp3", "m4a", "flac", "ogg", "mp4", "mts", "avi"};
    const QString suffix = QString::fromLatin1(kinds[data[0] % std::size(kinds)]);
    QByteArray bytes(reinterpret_cast<const char*>(data + 1), qsizetype(size - 1));
    FileFacts facts = MetadataReader::readBytes(bytes, suffix);
    if (facts.size != bytes.size())
        std::abort();
    if (facts.taken && !facts.taken->isValid())
        std::abort();
    if (facts.taken && facts.problem)
        std::abort();
    return 0;
}
