#include "mounted_volume.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QUuid>

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

// Why this machine cannot mount `type` with `tools`, or nothing. Loads the
// kernel's driver where it is a module; ntfs-3g and bindfs serve through FUSE,
// and the kernels this runs on have ext4, xfs, btrfs and overlays.
QString whyNotHere(const QString& type, const QStringList& tools) {
    if (geteuid() != 0)
        return "mounting a test volume needs root";
    for (const QString& tool : tools) {
        if (QStandardPaths::findExecutable(tool).isEmpty() &&
            QStandardPaths::findExecutable(tool, {"/sbin", "/usr/sbin"}).isEmpty())
            return tool + " is not installed";
    }
    if ((type == "ntfs" || type == "fuse") && !QFile::exists("/dev/fuse"))
        return "this machine has no /dev/fuse";
    if (type != "vfat" && type != "exfat")
        return {};
    auto known = [&] {
        QFile filesystems("/proc/filesystems");
        return filesystems.open(QIODevice::ReadOnly) &&
               filesystems.readAll().split('\n').contains("\t" + type.toUtf8());
    };
    // Loaded only when missing: under QEMU each program started costs a
    // noticeable fraction of a second.
    if (known() || (run("modprobe", {type}) && known()))
        return {};
    return "this kernel has no " + type + " driver (the run under QEMU has one)";
}

} // namespace

std::unique_ptr<MountedVolume>
MountedVolume::make(const QString& type, const QStringList& tools, QString& whyNot,
                    const std::function<QString(MountedVolume&)>& prepare) {
    whyNot = whyNotHere(type, tools);
    if (!whyNot.isEmpty())
        return nullptr;
    std::unique_ptr<MountedVolume> volume(new MountedVolume);
    volume->type = type;
    QDir().mkpath(volume->path());
    whyNot = prepare(*volume);
    if (whyNot.isEmpty() && !volume->mount())
        whyNot = "the " + type + " volume could not be mounted";
    return whyNot.isEmpty() ? std::move(volume) : nullptr;
}

std::unique_ptr<MountedVolume> MountedVolume::loop(const QString& type, QString& whyNot) {
    return make(type, {"losetup", "mount", "mkfs." + type}, whyNot, [&](MountedVolume& volume) {
        const QString image = volume.scratch.filePath("image");
        // xfs wants 300 MiB at least; the image is sparse, so it costs no disk.
        if (QFile file(image); !file.open(QIODevice::WriteOnly) || !file.resize(320LL << 20))
            return QString("cannot create a disk image");
        const QMap<QString, QStringList> format{
            {"ext4", {"-q"}}, {"vfat", {"-F", "32"}}, {"exfat", {}}, {"ntfs", {"-F", "-Q"}}};
        if (!run("mkfs." + type, format.value(type, {"-f"}) << image))
            return "mkfs." + type + " failed";
        // mkfs.ntfs draws the serial from the clock's second, so volumes made
        // in the same second would share the UUID that recovery tells them
        // apart by, as two clones of one card do.
        const QString serial = QUuid::createUuid().toString(QUuid::Id128).left(16);
        if (type == "ntfs" && !run("ntfslabel", {"--new-serial=" + serial, image}))
            return QString("ntfslabel failed");
        volume.device = run("losetup", {"--find", "--show", image}).value_or(QString());
        return volume.device.isEmpty() ? QString("no loop device could be attached") : QString();
    });
}

std::unique_ptr<MountedVolume>
MountedVolume::overlay(const std::function<void(const QString&)>& fill, QString& whyNot) {
    return make("overlay", {"mount"}, whyNot, [&](MountedVolume& volume) {
        for (const char* folder : {"lower", "upper", "work"})
            QDir().mkpath(volume.scratch.filePath(folder));
        fill(volume.scratch.filePath("lower"));
        return QString();
    });
}

std::unique_ptr<MountedVolume> MountedVolume::fuse(QString& whyNot) {
    return make("fuse", {"bindfs", "mount"}, whyNot, [](MountedVolume& volume) {
        QDir().mkpath(volume.scratch.filePath("source"));
        return QString();
    });
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

bool MountedVolume::comeBackAfterPull() {
    // The loop device has written into the image what the kernel sent it so
    // far; what the kernel still holds in its cache is lost with the card.
    QString pulled = scratch.filePath("pulled");
    return !device.isEmpty() && run("cp", {"--sparse=always", scratch.filePath("image"), pulled}) &&
           comeBack(pulled);
}

bool MountedVolume::comeBack(const QString& contents) {
    if (!run("umount", {path()}))
        return false;
    if (!contents.isEmpty() && (!QFile::remove(scratch.filePath("image")) ||
                                !QFile::rename(contents, scratch.filePath("image"))))
        return false;
    // btrfs and FUSE (ntfs-3g too) take an anonymous device number at mount,
    // the lowest free one: a small tmpfs takes the number just freed, as other
    // mounts would.
    if (device.isEmpty() || type == "btrfs" || type == "ntfs") {
        QString hold = scratch.filePath(QString("hold-%1").arg(held.size()));
        QDir().mkpath(hold);
        if (run("mount", {"-t", "tmpfs", "-o", "size=1m", "tmpfs", hold}))
            held.append(hold);
    }
    if (device.isEmpty())
        return mount();
    // Attached again before the old device lets go, so that the disk cannot
    // get its old number back.
    auto again = run("losetup", {"--find", "--show", scratch.filePath("image")});
    const bool released = bool(run("losetup", {"-d", device}));
    device = again.value_or(QString());
    return again && released && mount();
}

MountedVolume::~MountedVolume() {
    run("umount", {path()});
    if (!device.isEmpty())
        run("losetup", {"-d", device});
    for (const QString& mountPoint : held)
        run("umount", {mountPoint});
}
