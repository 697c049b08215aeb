#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <cstdint>

// One line of the kernel's mount table (/proc/self/mountinfo): which volume is
// mounted under a device number, and how.
struct VolumeMount {
    // The same encoding as FileIdentity::device.
    std::int32_t device = 0;
    QString type;
    QString source;
    // The folder of the volume that is mounted (not "/" for bind mounts).
    QString root;
    QString superOptions;
    // The UUID of the file system on a card, stick or disk (`serials` below);
    // empty until asked for, and where none could be read.
    QString uuid;

    // NFS, SMB or FUSE: volumes that may refuse RENAME_NOREPLACE.
    bool isNetworkOrFuse() const;

    // Whether this is a FAT32, exFAT or NTFS volume on a block device: a card,
    // a stick or a disk shared with Windows.
    bool isRemovableFormat() const;

    // The name by which this volume is known again after it was mounted under
    // another device number: its type, what it mounts and which folder of it.
    // Network, FUSE and overlay volumes have one: their device numbers are
    // handed out afresh at each mount and their files record no birth time, so
    // nothing else tells their files from others. So have FAT32, exFAT and
    // NTFS volumes, whose files record no birth time or lasting inode number:
    // named by their UUID where it is known, since their device node changes
    // with the port they are plugged into. The name leaves out options that
    // change from one mount to the next (an NFS client's address); an
    // overlay's source says nothing, so its layers are the name. Empty for
    // every other volume, and for volumes that lose their files when
    // unmounted (tmpfs).
    QString recognisableName() const;

    // Every name a journal may have recorded for this volume: the one above,
    // and, where that is the UUID, the name by device node that journals
    // written before volumes were named by UUID carry.
    QStringList knownNames() const;

    // The lines of a mount table in the kernel's format; lines that do not
    // parse are skipped.
    static QList<VolumeMount> parsed(const QByteArray& table);

    // This process's mount table; empty when it cannot be read.
    static QList<VolumeMount> current();

    // The same, with the UUID of each card, stick or disk read from its
    // device: for naming volumes in journals, not for every preview.
    static QList<VolumeMount> currentWithUuids();
};
