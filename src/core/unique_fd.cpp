#include "core/unique_fd.h"

#include "core/posix_file_system.h"

void UniqueFd::reset(int replacement) noexcept {
    if (fd >= 0)
        PosixFileSystem::closeDescriptor(fd);
    fd = replacement;
}
