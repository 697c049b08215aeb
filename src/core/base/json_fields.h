#pragma once

#include <nlohmann/json.hpp>

#include <QString>

#include <cstdint>

// Strict reading of one JSON object. Stored data that was edited by hand or
// written by another version must never be half-understood, so a missing key
// or a value of another type throws RenameFailure instead of falling back to a
// default. Keys the reader does not ask for are ignored.
class JsonFields {
public:
    // Throws when `json` is not an object.
    explicit JsonFields(const nlohmann::ordered_json& json);

    // Whether the object holds `key`, for the few keys that later versions
    // added and earlier data lacks.
    bool has(const char* key) const;
    const nlohmann::ordered_json& value(const char* key) const;
    QString string(const char* key) const;
    bool boolean(const char* key) const;
    std::int64_t int64(const char* key) const;
    std::int32_t int32(const char* key) const;
    std::uint64_t uint64(const char* key) const;
    // For a key later versions added: `into` takes its value when the object
    // holds it, and keeps its default when not.
    void optional(const char* key, bool& into) const;
    void optional(const char* key, std::int64_t& into) const;
    void optional(const char* key, QString& into) const;

private:
    [[noreturn]] void wrongType(const char* key) const;

    const nlohmann::ordered_json& object;
};
