#include "mounted_volume.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>

#include <unistd.h>

namespace {

// Runs a system tool; its standard output, trimmed, or nothing on failure.
std::optional<QString> run(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0)
        return std::nullopt;
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

std::optional<QString> attach(const QString& image) {
    return run("losetup", {"--find", "--show", image});
}

QString missingTool(const QStringList& tools) {
    if (geteuid() != 0)
        return "mounting a test volume needs root";
    for (const QString& tool : tools) {
        if (QStandardPaths::findExecutable(tool).isEmpty() &&
            QStandardPaths::findExecutable(tool, {"/sbin", "/usr/sbin"}).isEmpty())
            return tool + " is not installed";
    }
    return {};
}

// Whether this kernel can mount `type`, loading its driver where it is a
// module; ntfs-3g serves NTFS through FUSE. The kernels this runs on have
// ext4, xfs and btrfs.
bool kernelMounts(const QString& type) {
    if (type == "ntfs")
        return QFile::exists("/dev/fuse");
    if (type != "vfat" && type != "exfat")
        return true;
    run("modprobe", {type});
    QFile known("/proc/filesystems");
    return known.open(QIODevice::ReadOnly) &&
           known.readAll().split('\n').contains("\t" + type.toUtf8());
}

// Sets `whyNot` and gives no volume.
std::nullptr_t refused(QString& whyNot, const QString& why) {
    whyNot = why;
    return nullptr;
}

} // namespace

std::unique_ptr<MountedVolume> MountedVolume::loop(const QString& type, QString& whyNot) {
    whyNot = missingTool({"losetup", "mount", "mkfs." + type});
    if (whyNot.isEmpty() && !kernelMounts(type))
        whyNot = "this kernel has no " + type + " driver (the run under QEMU has one)";
    if (!whyNot.isEmpty())
        return nullptr;
    std::unique_ptr<MountedVolume> volume(new MountedVolume);
    volume->type = type;
    QString image = volume->scratch.filePath("image");
    QFile file(image);
    // xfs wants 300 MiB at least; the image is sparse, so it costs no disk.
    if (!file.open(QIODevice::WriteOnly) || !file.resize(320LL << 20))
        return refused(whyNot, "cannot create a disk image");
    file.close();
    const QMap<QString, QStringList> format{
        {"ext4", {"-q"}}, {"vfat", {"-F", "32"}}, {"exfat", {}}, {"ntfs", {"-F", "-Q"}}};
    if (!run("mkfs." + type, format.value(type, {"-f"}) << image))
        return refused(whyNot, "mkfs." + type + " failed");
    auto device = attach(image);
    if (!device)
        return refused(whyNot, "no loop device could be attached");
    volume->device = *device;
    QDir().mkpath(volume->path());
    if (!volume->mount())
        return refused(whyNot, "the " + type + " volume could not be mounted");
    return volume;
}

std::unique_ptr<MountedVolume>
MountedVolume::overlay(const std::function<void(const QString&)>& fill, QString& whyNot) {
    whyNot = missingTool({"mount"});
    if (!whyNot.isEmpty())
        return nullptr;
    std::unique_ptr<MountedVolume> volume(new MountedVolume);
    volume->type = "overlay";
    for (const char* folder : {"lower", "upper", "work", "mount"})
        QDir().mkpath(volume->scratch.filePath(folder));
    fill(volume->scratch.filePath("lower"));
    if (!volume->mount())
        return refused(whyNot, "the kernel refused an overlay mount");
    return volume;
}

std::unique_ptr<MountedVolume> MountedVolume::fuse(QString& whyNot) {
    whyNot = missingTool({"bindfs", "mount"});
    if (whyNot.isEmpty() && !QFile::exists("/dev/fuse"))
        whyNot = "this machine has no /dev/fuse";
    if (!whyNot.isEmpty())
        return nullptr;
    std::unique_ptr<MountedVolume> volume(new MountedVolume);
    volume->type = "fuse";
    QDir().mkpath(volume->scratch.filePath("source"));
    QDir().mkpath(volume->path());
    if (!volume->mount())
        return refused(whyNot, "bindfs could not mount a folder");
    return volume;
}

bool MountedVolume::mount() {
    if (type == "fuse")
        return bool(run("bindfs", {scratch.filePath("source"), path()}));
    if (type == "overlay") {
        QString options = "lowerdir=" + scratch.filePath("lower") +
                          ",upperdir=" + scratch.filePath("upper") +
                          ",workdir=" + scratch.filePath("work");
        return bool(run("mount", {"-t", "overlay", "overlay", "-o", options, path()}));
    }
    if (type == "ntfs")
        return bool(run("ntfs-3g", {device, path()}));
    if (type == "vfat" || type == "exfat")
        return bool(run("mount", {"-t", type, "-o", "iocharset=utf8", device, path()}));
    return bool(run("mount", {device, path()}));
}

bool MountedVolume::comeBackAsAnotherDevice() {
    return comeBack({});
}

bool MountedVolume::comeBackAfterPull() {
    // The loop device has written into the image what the kernel sent it so
    // far; what the kernel still holds in its cache is lost with the card.
    QString pulled = scratch.filePath("pulled");
    return !device.isEmpty() && run("cp", {"--sparse=always", scratch.filePath("image"), pulled}) &&
           comeBack(pulled);
}

bool MountedVolume::comeBack(const QString& contents) {
    if (!run("umount", {path()}) || (!device.isEmpty() && !run("losetup", {"-d", device})))
        return false;
    if (!contents.isEmpty() && (!QFile::remove(scratch.filePath("image")) ||
                                !QFile::rename(contents, scratch.filePath("image"))))
        return false;
    // btrfs and FUSE take an anonymous device number at mount, the lowest free
    // one: a small tmpfs takes the number just freed, as other mounts would.
    QString hold = scratch.filePath(QString("hold-%1").arg(held.size()));
    QDir().mkpath(hold);
    if (run("mount", {"-t", "tmpfs", "-o", "size=1m", "tmpfs", hold}))
        held.append(hold);
    if (device.isEmpty())
        return mount();
    QString placeholder = scratch.filePath(QString("placeholder-%1").arg(placeholders.size()));
    QFile file(placeholder);
    if (!file.open(QIODevice::WriteOnly) || !file.resize(1 << 20))
        return false;
    file.close();
    if (auto held = attach(placeholder))
        placeholders.append(*held);
    // Forgotten when it cannot be attached again: its number may be another's.
    auto again = attach(scratch.filePath("image"));
    device = again.value_or(QString());
    return again && mount();
}

MountedVolume::~MountedVolume() {
    run("umount", {path()});
    if (!device.isEmpty())
        run("losetup", {"-d", device});
    for (const QString& placeholder : placeholders)
        run("losetup", {"-d", placeholder});
    for (const QString& mountPoint : held)
        run("umount", {mountPoint});
}
