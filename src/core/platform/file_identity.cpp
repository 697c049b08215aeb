#include "core/platform/file_identity.h"

#include "core/base/json_fields.h"

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
//
// On a volume that renumbers inodes (FAT32, exFAT) the inode says nothing, and
// a file is the recorded one when it is found under one of the names the
// caller knows it by (the caller only ever looks there) on the same device,
// with the same size, modification time and birth time:
// - the device, which a journal moves to the number the volume has now only
//   when a volume of the recorded serial number is mounted (JournaledVolumes),
//   excludes a second card, even of the same camera model with the same file
//   names: its serial number was drawn when it was formatted;
// - size, modification time and birth time exclude a different file that
//   another program put under the name: it was written, or created, at
//   another moment. A copy made with its times kept (cp -p) on a volume that
//   records no birth time is the one file that passes for the original, and
//   it holds the same content.
// Files of one batch that agree in all three are told apart by the caller
// (recovery's search), not here.
bool FileIdentity::sameFile(const FileIdentity& recorded, const FileIdentity& now) {
    if (recorded.renumbered) {
        return now.renumbered && recorded.device == now.device && recorded.size == now.size &&
               recorded.modifiedSeconds == now.modifiedSeconds &&
               recorded.modifiedNanos == now.modifiedNanos &&
               recorded.birthSeconds == now.birthSeconds && recorded.birthNanos == now.birthNanos;
    }
    // A journal written before renumbering volumes were known compares as it
    // always did.
    if (recorded.device == now.device && recorded.inode == now.inode &&
        recorded.birthSeconds == now.birthSeconds && recorded.birthNanos == now.birthNanos)
        return true;
    return recorded.hasBirthTime() && recorded.inode == now.inode &&
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
    if (identity.renumbered) {
        json["renumbered"] = true;
        json["size"] = identity.size;
        json["modifiedSeconds"] = identity.modifiedSeconds;
        json["modifiedNanos"] = identity.modifiedNanos;
    }
}

void from_json(const nlohmann::ordered_json& json, FileIdentity& identity) {
    JsonFields fields(json);
    identity.device = fields.int32("device");
    identity.inode = fields.uint64("inode");
    identity.birthSeconds = fields.int64("birthSeconds");
    identity.birthNanos = fields.int64("birthNanos");
    identity.renumbered = fields.has("renumbered") && fields.boolean("renumbered");
    if (identity.renumbered) {
        identity.size = fields.uint64("size");
        identity.modifiedSeconds = fields.int64("modifiedSeconds");
        identity.modifiedNanos = fields.int64("modifiedNanos");
    }
}
