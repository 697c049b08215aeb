#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

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

    // NFS, SMB or FUSE: volumes that may refuse RENAME_NOREPLACE.
    bool isNetworkOrFuse() const;

    // The name by which this volume is known again after it was mounted under
    // another device number: its type, what it mounts and which folder of it.
    // Only network, FUSE and overlay volumes have one. Their device numbers are
    // handed out afresh at each mount and their files record no birth time, so
    // nothing else tells their files from others. The name leaves out options
    // that change from one mount to the next (an NFS client's address); an
    // overlay's source says nothing, so its layers are the name. Empty for
    // every other volume, and for volumes that lose their files when
    // unmounted (tmpfs).
    QString recognisableName() const;

    // The lines of a mount table in the kernel's format; lines that do not
    // parse are skipped.
    static QList<VolumeMount> parsed(const QByteArray& table);

    // This process's mount table; empty when it cannot be read.
    static QList<VolumeMount> current();
};
