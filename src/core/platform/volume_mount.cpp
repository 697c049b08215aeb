#include "core/platform/volume_mount.h"

#include "core/platform/posix_block_device.h"
#include "core/platform/posix_file_system.h"

namespace {

bool isNetwork(const QString& type) {
    return type == QLatin1String("nfs") || type == QLatin1String("nfs4") ||
           type == QLatin1String("cifs") || type == QLatin1String("smb3");
}

bool isFuse(const QString& type) {
    return type == QLatin1String("fuse") || type == QLatin1String("fuseblk") ||
           type.startsWith(QLatin1String("fuse."));
}

} // namespace

bool VolumeMount::isNetworkOrFuse() const {
    return isNetwork(type) || isFuse(type);
}

bool VolumeMount::isRemovableFormat() const {
    static const QStringList types = {"vfat", "msdos", "exfat", "ntfs", "ntfs3", "fuseblk"};
    return source.startsWith(QLatin1String("/dev/")) && types.contains(type);
}

QString VolumeMount::recognisableName() const {
    const QChar separator(u' ');
    if (!uuid.isEmpty())
        return type + QStringLiteral(" UUID=") + uuid + separator + root;
    if (isNetworkOrFuse() || isRemovableFormat())
        return type + separator + source + separator + root;
    if (type == QLatin1String("overlay")) {
        QStringList layers;
        for (const QString& option : superOptions.split(u',')) {
            if (option.startsWith(QLatin1String("lowerdir=")) ||
                option.startsWith(QLatin1String("upperdir=")))
                layers.append(option);
        }
        if (!layers.isEmpty())
            return type + separator + layers.join(u',') + separator + root;
    }
    return {};
}

QStringList VolumeMount::knownNames() const {
    QStringList names{recognisableName()};
    if (!uuid.isEmpty() && isNetworkOrFuse())
        names.append(type + u' ' + source + u' ' + root);
    return names;
}

// "36 35 98:0 /mnt1 /mnt/parent rw,noatime master:1 - ext3 /dev/root rw": the
// optional fields end at a lone "-", after which come type, source and options.
QList<VolumeMount> VolumeMount::parsed(const QByteArray& table) {
    QList<VolumeMount> mounts;
    for (const QByteArray& line : table.split('\n')) {
        const QList<QByteArray> fields = line.split(' ');
        qsizetype dash = fields.indexOf("-", 6);
        if (dash < 0 || dash + 2 >= fields.size())
            continue;
        const QList<QByteArray> numbers = fields[2].split(':');
        bool majorRead = false;
        bool minorRead = false;
        if (numbers.size() != 2)
            continue;
        std::uint32_t major = numbers[0].toUInt(&majorRead);
        std::uint32_t minor = numbers[1].toUInt(&minorRead);
        if (!majorRead || !minorRead)
            continue;
        VolumeMount mount;
        mount.device = PosixFileSystem::encodedDevice(major, minor);
        mount.root = QString::fromUtf8(fields[3]);
        mount.type = QString::fromUtf8(fields[dash + 1]);
        mount.source = QString::fromUtf8(fields[dash + 2]);
        if (dash + 3 < fields.size())
            mount.superOptions = QString::fromUtf8(fields[dash + 3]);
        mounts.append(mount);
    }
    return mounts;
}

QList<VolumeMount> VolumeMount::current() {
    auto table = PosixFileSystem::mountTable();
    return table ? parsed(*table.value) : QList<VolumeMount>();
}

QList<VolumeMount> VolumeMount::currentWithUuids() {
    QList<VolumeMount> mounts = current();
    for (VolumeMount& mount : mounts) {
        if (mount.isRemovableFormat())
            mount.uuid = PosixBlockDevice::fileSystemUuid(mount.source.toUtf8());
    }
    return mounts;
}
