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

    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;

    // Whether `now`, read from the disk, is the file or folder that was
    // recorded as `recorded`, possibly in an earlier run. This is the one place
    // that decides it; every check before a rename and every search of
    // recovery asks here.
    static bool sameFile(const FileIdentity& recorded, const FileIdentity& now);
};

struct FileIdentityHash {
    std::size_t operator()(const FileIdentity& identity) const noexcept;
};

// {"device","inode","birthSeconds","birthNanos"}, each a JSON integer. Decoding
// throws RenameFailure when a key is missing or holds another type.
void to_json(nlohmann::ordered_json& json, const FileIdentity& identity);
void from_json(const nlohmann::ordered_json& json, FileIdentity& identity);
