#pragma once

#include <QByteArray>
#include <QString>

// The one place that asks a block device which file system it holds. A card
// or a stick comes back under another device node whenever it is plugged in
// again, but the UUID its file system was given when it was formatted (on
// FAT32 and exFAT the volume serial number, "1A2B-3C4D") stays.
namespace PosixBlockDevice {

// The file system UUID of the block device at `devicePath`, or empty when it
// is not a block device or has none that can be read. The desktop's own list
// (/dev/disk/by-uuid, which any user may read) is asked first; the device
// itself is probed only where that list is missing, as it is without udev.
QString fileSystemUuid(const QByteArray& devicePath);

} // namespace PosixBlockDevice
