#include "core/platform/unique_fd.h"

#include "core/platform/posix_file_system.h"

void UniqueFd::reset(int replacement) noexcept {
    if (fd >= 0)
        PosixFileSystem::closeDescriptor(fd);
    fd = replacement;
}
