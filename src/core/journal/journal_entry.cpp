#include "core/journal/journal_entry.h"

#include "core/base/json_fields.h"

void to_json(nlohmann::ordered_json& json, const JournalEntry& entry) {
    json = nlohmann::ordered_json{{"original", entry.original.toStdString()},
                                  {"final", entry.final.toStdString()},
                                  {"staging", entry.staging.toStdString()},
                                  {"identity", entry.identity},
                                  {"parentIdentity", entry.parentIdentity}};
}

void from_json(const nlohmann::ordered_json& json, JournalEntry& entry) {
    JsonFields fields(json);
    JournalEntry decoded;
    decoded.original = fields.string("original");
    decoded.final = fields.string("final");
    decoded.staging = fields.string("staging");
    decoded.identity = fields.value("identity").get<FileIdentity>();
    decoded.parentIdentity = fields.value("parentIdentity").get<FileIdentity>();
    entry = decoded;
}
