#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <memory>
#include <optional>

// A real file system mounted for one test: a loop device with ext4, xfs,
// btrfs, FAT32 ("vfat"), exFAT or NTFS (through ntfs-3g) on an image file, a kernel overlay, or a
// FUSE volume (bindfs, which like NFS and sshfs refuses RENAME_NOREPLACE but makes hard links).
// Everything it mounts and attaches is undone when it goes, also when the test fails. Making one
// needs root and the file system's tools; without them `make` gives nothing and says why, and the
// test skips itself with that reason.
class MountedVolume {
public:
    static std::unique_ptr<MountedVolume> loop(const QString& type, QString& whyNot);
    // An overlay whose lower layer is filled by `fill` (called with the lower
    // folder) before the overlay is mounted, so its files are not yet copied up.
    static std::unique_ptr<MountedVolume> overlay(const std::function<void(const QString&)>& fill,
                                                  QString& whyNot);
    // bindfs over a folder of its own.
    static std::unique_ptr<MountedVolume> fuse(QString& whyNot);
    ~MountedVolume();

    // Where the file system is mounted.
    QString path() const { return scratch.path() + "/mount"; }

    // Unmounts, detaches the image and attaches it again on another loop
    // device, as a USB disk plugged into another port comes back; then mounts
    // it at the same place. A FUSE volume is mounted again, under another
    // anonymous device as a NAS share after a reboot. False when that failed.
    bool comeBackAsAnotherDevice() { return comeBack({}); }
    // The same after a card pulled without unmounting: the volume comes back
    // holding only what had reached the device, none of what the kernel had
    // yet to write. Loop volumes only.
    bool comeBackAfterPull();

private:
    MountedVolume() = default;
    // A volume of `type` once `tools` and the kernel allow it and `prepare`
    // has made what it mounts (or said why it could not), mounted.
    static std::unique_ptr<MountedVolume>
    make(const QString& type, const QStringList& tools, QString& whyNot,
         const std::function<QString(MountedVolume&)>& prepare);
    bool mount();
    // Unmounts and detaches; attaches `contents` as the image where given.
    bool comeBack(const QString& contents);

    QTemporaryDir scratch;
    QString type;
    QString device;
    // Mounted only to keep the previous anonymous device number taken.
    QStringList held;
};
