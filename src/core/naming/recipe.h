#pragma once

#include "core/naming/rename_rules.h"

#include <nlohmann/json_fwd.hpp>

#include <QString>
#include <QUuid>

#include <vector>

// A named, reusable set of naming rules. Recipes are told apart by `id`, never
// by name: two recipes may share a name.
struct Recipe {
    QUuid id;
    QString name;
    QString symbol;
    RenameRules rules;

    friend bool operator==(const Recipe&, const Recipe&) = default;

    // "Client handoff", "Photo sequence" and "Web-friendly", in that order.
    // Made once per run with fresh ids, which stay the same for the rest of the
    // run and differ on the next one: never look a built-in recipe up by id
    // across runs.
    static const std::vector<Recipe>& builtIn();
};

// {"id","name","symbol","rules"}; every key is required when decoding, and the
// id must be a UUID in the 36-character form. Decoding throws RenameFailure.
void to_json(nlohmann::ordered_json& json, const Recipe& recipe);
void from_json(const nlohmann::ordered_json& json, Recipe& recipe);
