#pragma once

#include "core/journal/rename_journal.h"

#include <QList>

#include <cstdint>

// Network, FUSE and overlay volumes get a new device number at every mount,
// and their files record no birth time; cards and sticks (FAT32, exFAT) and
// NTFS disks come back under another device node when plugged in again, and
// their files keep no lasting inode number or no birth time. A file's recorded
// identity alone cannot follow it across a remount, so a journal names such
// volumes by what they mount or by their UUID, and these two functions write
// and follow those names.
namespace JournaledVolumes {

// No kernel hands out this device number (major 4095, minor 1048575), so an
// identity given it matches no file.
constexpr std::int32_t unrecognisedDevice = -1;

// The volumes of the entries' files and folders that only their device number
// identifies, each with its recognisable name; reads the mount table.
QList<JournaledVolume> of(const QList<JournalEntry>& entries);

// Moves the journal's identities on such a volume to the device number it has
// now, when exactly one mounted volume has the recorded name. Where none or
// several do, they get `unrecognisedDevice`: the old number may by now belong
// to another volume, and a file there with the same inode is not the same
// file.
void follow(RenameJournal& journal);

} // namespace JournaledVolumes
