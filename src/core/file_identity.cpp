#include "core/file_identity.h"

#include "core/json_fields.h"

#include <functional>

namespace {
void combine(std::size_t& seed, std::size_t value) {
    seed ^= value + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2);
}
} // namespace

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
