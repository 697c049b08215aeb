#pragma once

#include "core/name_case.h"
#include "core/name_separator.h"

#include <nlohmann/json_fwd.hpp>

#include <QString>

#include <cstdint>

// One complete set of naming rules, applied in a fixed order: stem, find and
// replace, prefix and suffix, letter case, separators, sequence number, and
// the file's own extension put back unchanged.
struct RenameRules {
    QString baseName;
    QString find;
    QString replacement;
    QString prefix;
    QString suffix;
    NameCase nameCase = NameCase::unchanged;
    NameSeparator separator = NameSeparator::unchanged;
    bool sequence = false;
    // Not range-checked when stored or decoded; limited each time a name is made.
    std::int64_t sequenceStart = 1;
    std::int64_t sequencePadding = 3;

    // The proposed name for a file currently called `name` at zero-based
    // position `index` of the batch. Never fails and never reads the disk: the
    // preview judges whatever comes out.
    QString filename(const QString& name, std::int64_t index) const;

    friend bool operator==(const RenameRules&, const RenameRules&) = default;
};

// All ten keys are written, and all ten are required when decoding: a missing
// key, a wrong type or an unknown case throws RenameFailure.
void to_json(nlohmann::ordered_json& json, const RenameRules& rules);
void from_json(const nlohmann::ordered_json& json, RenameRules& rules);
