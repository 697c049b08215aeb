#include "core/platform/posix_block_device.h"

#include "core/platform/posix_file_system.h"

#include <blkid/blkid.h>

#include <sys/stat.h>

namespace PosixBlockDevice {
namespace {

std::optional<dev_t> blockDeviceAt(const QByteArray& path) {
    struct stat status {};
    if (::stat(path.constData(), &status) != 0 || !S_ISBLK(status.st_mode))
        return std::nullopt;
    return status.st_rdev;
}

QString listedUuid(dev_t device) {
    const QByteArray folder = "/dev/disk/by-uuid";
    auto opened = PosixFileSystem::openPathForReading(folder);
    if (!opened)
        return {};
    auto names = PosixFileSystem::listFolder(opened.value->get());
    if (!names)
        return {};
    for (const QByteArray& name : *names.value) {
        if (blockDeviceAt(folder + '/' + name) == device)
            return QString::fromUtf8(name);
    }
    return {};
}

QString probedUuid(const QByteArray& path) {
    blkid_probe probe = blkid_new_probe_from_filename(path.constData());
    if (!probe)
        return {};
    QString uuid;
    blkid_probe_enable_superblocks(probe, 1);
    blkid_probe_set_superblocks_flags(probe, BLKID_SUBLKS_UUID);
    const char* value = nullptr;
    if (blkid_do_safeprobe(probe) == 0 &&
        blkid_probe_lookup_value(probe, "UUID", &value, nullptr) == 0 && value)
        uuid = QString::fromUtf8(value);
    blkid_free_probe(probe);
    return uuid;
}

} // namespace

QString fileSystemUuid(const QByteArray& devicePath) {
    auto device = blockDeviceAt(devicePath);
    if (!device)
        return {};
    QString uuid = listedUuid(*device);
    return uuid.isEmpty() ? probedUuid(devicePath) : uuid;
}

} // namespace PosixBlockDevice
