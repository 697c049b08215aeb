#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <cstdint>

// What makes a file this file, whatever its name. Device and inode alone are
// not enough: inode numbers are reused, so the birth time tells a new file
// that took a deleted file's inode from the original.
struct FileIdentity {
    std::int32_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t birthSeconds = 0;
    std::int64_t birthNanos = 0;
    // FAT32 and exFAT give a file a new inode number whenever its inode is
    // loaded again (after a remount, after the kernel drops its cache), and
    // exFAT gives a folder a new birth time whenever an entry in it is
    // renamed. On such a volume `renumbered` is set, and a file is recognised
    // by what does stay: its size and modification time beside its birth
    // time. A folder there keeps zeros in these fields (and in its birth time
    // on exFAT). Journals carry the three only when `renumbered` is set.
    bool renumbered = false;
    std::uint64_t size = 0;
    std::int64_t modifiedSeconds = 0;
    std::int64_t modifiedNanos = 0;

    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;

    bool hasBirthTime() const { return birthSeconds != 0 || birthNanos != 0; }

    // Whether nothing but the device number ties this identity to its volume,
    // so a journal has to name the volume to follow it to another number.
    bool needsVolumeName() const { return renumbered || !hasBirthTime(); }

    // Whether `now`, read from the disk, is the file or folder that was
    // recorded as `recorded`, possibly in an earlier run. This is the one place
    // that decides it; every check before a rename and every search of
    // recovery asks here.
    static bool sameFile(const FileIdentity& recorded, const FileIdentity& now);
};

struct FileIdentityHash {
    std::size_t operator()(const FileIdentity& identity) const noexcept;
};

// {"device","inode","birthSeconds","birthNanos"}, each a JSON integer, and on a
// renumbering volume "renumbered": true with "size", "modifiedSeconds" and
// "modifiedNanos". Decoding throws RenameFailure when a key is missing or
// holds another type.
void to_json(nlohmann::ordered_json& json, const FileIdentity& identity);
void from_json(const nlohmann::ordered_json& json, FileIdentity& identity);
