#pragma once

#include "core/platform/unique_fd.h"
#include "core/platform/volume_mount.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

#include <map>
#include <optional>

// When the moves of a batch are written to disk, chosen per file system so
// that neither a power cut nor a pulled card loses a file, and no flush is
// made that none of them needs. Replayed power cuts decided the table:
//
// - ext3, ext4, xfs, btrfs journal a rename as one change, so a cut leaves a
//   file under its old name or its new one, never neither: each folder is
//   flushed once, before the journal may say the moves happened.
// - FAT32 writes a rename's new entry without the file's size and first
//   cluster, which come only with the file's own write-back: the file is
//   flushed first, then the rest of the move.
// - Everything else (exFAT, NTFS, FUSE, network, ext2 and file systems not
//   measured) may lose the entries of one move when cut in its middle: its
//   folder is flushed after every move, so at most the move in flight is at
//   risk.
class MoveFlushing {
public:
    // Whether the moves in the folder at `parent` wait for the end of their
    // phase. Throws RenameFailure when the folder cannot be opened.
    bool deferred(const QString& parent);

    // After the file now named `name` moved inside `folder` (at `parent`).
    // Throws RenameFailure when the disk cannot confirm the move.
    void moved(const QString& parent, int folder, const QByteArray& name);

    // Writes out every folder whose moves were deferred. Before the journal
    // may mark the moves done or be removed.
    void settle();

private:
    enum class Kind { oncePerPhase, fileFirst, eachMove };
    Kind kindOf(const QString& parent, int folder);

    QHash<QString, Kind> kinds;
    std::map<QString, UniqueFd> waiting;
    std::optional<QList<VolumeMount>> mounts;
};
