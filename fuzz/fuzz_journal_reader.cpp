// Any bytes as a journal: the reader must refuse them with a sentence or
// return a journal that survives being written and read again unchanged.

#include "core/base/rename_failure.h"
#include "core/journal/rename_journal.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    RenameJournal journal;
    try {
        journal = RenameJournal::decoded(bytes);
    } catch (const RenameFailure& failure) {
        if (failure.message.isEmpty())
            std::abort();
        return 0;
    }
    if (RenameJournal::decoded(journal.encoded()) != journal)
        std::abort();
    return 0;
}
