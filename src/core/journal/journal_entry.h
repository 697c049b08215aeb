#pragma once

#include "core/platform/file_identity.h"

#include <nlohmann/json_fwd.hpp>

#include <QString>

// One file of a journaled batch: the three places it can be at any instant of
// the batch, and the identities that prove it is still the same file.
struct JournalEntry {
    // Absolute, standardized paths, all in the same folder.
    QString original;
    QString final;
    QString staging;
    FileIdentity identity;
    FileIdentity parentIdentity;

    friend bool operator==(const JournalEntry&, const JournalEntry&) = default;
};

void to_json(nlohmann::ordered_json& json, const JournalEntry& entry);
void from_json(const nlohmann::ordered_json& json, JournalEntry& entry);
