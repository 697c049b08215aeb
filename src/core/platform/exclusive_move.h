#pragma once

#include <QByteArray>

// How a file takes another name in its folder without ever replacing what has
// that name. Linux offers renameat2(RENAME_NOREPLACE), but NFS and most FUSE
// volumes (sshfs, ntfs-3g, bindfs) refuse the flag. There the classic
// equivalent is used, as mail delivery into Maildir folders has for decades: a
// link under the new name, which fails atomically when the name exists, also
// over the network, then removal of the old name. Between the two the file has
// both names, so every step is flushed and `dropSecondName` settles that state
// after an interruption.
namespace ExclusiveMove {

// Moves `from` to `to` inside `folder`: 0 or an errno (EEXIST when `to`
// exists). The caller flushes the folder afterwards, as after any rename.
int move(int folder, const QByteArray& from, const QByteArray& to);

// Removes `name` when it is a second name of the file under `kept`, and
// flushes the folder. False when it is not, or cannot be removed.
bool dropSecondName(int folder, const QByteArray& kept, const QByteArray& name);

} // namespace ExclusiveMove
