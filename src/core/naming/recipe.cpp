#include "core/naming/recipe.h"

#include "core/base/json_fields.h"
#include "core/base/rename_failure.h"
#include "core/base/uuid_text.h"

#include <nlohmann/json.hpp>

namespace {

Recipe builtInRecipe(const char* name, const char* symbol, const char* baseName, NameCase nameCase,
                     bool sequence) {
    RenameRules rules;
    rules.baseName = QString::fromUtf8(baseName);
    rules.nameCase = nameCase;
    rules.separator = NameSeparator::hyphen;
    rules.sequence = sequence;
    return Recipe{QUuid::createUuid(), QString::fromUtf8(name), QString::fromUtf8(symbol), rules};
}

} // namespace

const std::vector<Recipe>& Recipe::builtIn() {
    // Immutable once made; the thread-safe static initialisation keeps the ids
    // stable for the whole run.
    static const std::vector<Recipe> recipes = {
        builtInRecipe("Client handoff", "shippingbox", "Studio North", NameCase::lower, true),
        builtInRecipe("Photo sequence", "camera", "Weekend Away", NameCase::lower, true),
        builtInRecipe("Web-friendly", "globe", "", NameCase::lower, false),
    };
    return recipes;
}

void to_json(nlohmann::ordered_json& json, const Recipe& recipe) {
    json = nlohmann::ordered_json{{"id", UuidText::text(recipe.id).toStdString()},
                                  {"name", recipe.name.toStdString()},
                                  {"symbol", recipe.symbol.toStdString()},
                                  {"rules", recipe.rules}};
}

void from_json(const nlohmann::ordered_json& json, Recipe& recipe) {
    JsonFields fields(json);
    auto id = UuidText::parse(fields.string("id"));
    if (!id)
        throw RenameFailure(QStringLiteral("The key “id” does not hold a UUID."));
    Recipe decoded;
    decoded.id = *id;
    decoded.name = fields.string("name");
    decoded.symbol = fields.string("symbol");
    decoded.rules = fields.value("rules").get<RenameRules>();
    recipe = decoded;
}
