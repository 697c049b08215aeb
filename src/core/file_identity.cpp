#include "core/file_identity.h"

#include "core/json_fields.h"

#include <functional>

namespace {
void combine(std::size_t& seed, std::size_t value) {
    seed ^= value + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2);
}
} // namespace

// Linux does not keep device numbers: btrfs gives a subvolume a new anonymous
// device at every mount, and a USB or loop disk attached again may come back
// as another node. A recorded identity whose device alone differs is still the
// same file when the file system records birth times and the inode and the
// birth time agree to the nanosecond: a file created on another volume, or a
// new file that took a deleted file's inode, carries another birth time. The
// one false match left is a block-for-block copy of the very volume (a cloned
// disk image), whose files are copies of the same files with the same names.
// Where no birth time is recorded (reported as zero), inode numbers alone are
// too common to trust across volumes, so a device change is never forgiven.
bool FileIdentity::sameFile(const FileIdentity& recorded, const FileIdentity& now) {
    if (recorded == now)
        return true;
    bool hasBirthTime = recorded.birthSeconds != 0 || recorded.birthNanos != 0;
    return hasBirthTime && recorded.inode == now.inode &&
           recorded.birthSeconds == now.birthSeconds && recorded.birthNanos == now.birthNanos;
}

std::size_t FileIdentityHash::operator()(const FileIdentity& identity) const noexcept {
    std::size_t seed = 0;
    combine(seed, std::hash<std::int32_t>{}(identity.device));
    combine(seed, std::hash<std::uint64_t>{}(identity.inode));
    combine(seed, std::hash<std::int64_t>{}(identity.birthSeconds));
    combine(seed, std::hash<std::int64_t>{}(identity.birthNanos));
    return seed;
}

void to_json(nlohmann::ordered_json& json, const FileIdentity& identity) {
    json = nlohmann::ordered_json{{"device", identity.device},
                                  {"inode", identity.inode},
                                  {"birthSeconds", identity.birthSeconds},
                                  {"birthNanos", identity.birthNanos}};
}

void from_json(const nlohmann::ordered_json& json, FileIdentity& identity) {
    JsonFields fields(json);
    identity.device = fields.int32("device");
    identity.inode = fields.uint64("inode");
    identity.birthSeconds = fields.int64("birthSeconds");
    identity.birthNanos = fields.int64("birthNanos");
}
