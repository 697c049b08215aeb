// Applying, saving and deleting recipes, and keeping the user's recipes in
// the settings store.

#include "app/app_model.h"

#include <nlohmann/json.hpp>

#include <QTextBoundaryFinder>

namespace {

// The first `limit` user-perceived characters, so an emoji or an accented
// letter written with combining marks is never cut in half.
QString firstCharacters(const QString& text, int limit) {
    QTextBoundaryFinder boundaries(QTextBoundaryFinder::Grapheme, text);
    int count = 0;
    while (count < limit && boundaries.toNextBoundary() != -1)
        ++count;
    if (count < limit || boundaries.position() < 0)
        return text;
    return text.left(boundaries.position());
}

} // namespace

void AppModel::apply(const Recipe& recipe) {
    setMode(RenameMode::rules);
    setRules(recipe.rules);
    assign(selectedRecipe_, std::optional<Recipe>(recipe), &AppModel::selectedRecipeChanged);
}

void AppModel::saveRecipe() {
    QString name = recipeName_.trimmed();
    if (name.isEmpty())
        return;
    Recipe recipe{QUuid::createUuid(), firstCharacters(name, 40), QStringLiteral("bookmark"),
                  rules_};
    QList<Recipe> recipes = savedRecipes_;
    recipes.append(recipe);
    assign(savedRecipes_, recipes, &AppModel::savedRecipesChanged);
    assign(selectedRecipe_, std::optional<Recipe>(recipe), &AppModel::selectedRecipeChanged);
    saveRecipes();
    setRecipeName(QString());
    setShowSaveRecipe(false);
}

void AppModel::deleteRecipe(const Recipe& recipe) {
    // `recipe` may be an entry of `savedRecipes_` itself, which the assignment
    // below frees: keep only its id.
    const QUuid id = recipe.id;
    QList<Recipe> recipes = savedRecipes_;
    recipes.removeIf([&](const Recipe& saved) { return saved.id == id; });
    assign(savedRecipes_, recipes, &AppModel::savedRecipesChanged);
    if (selectedRecipe_ && selectedRecipe_->id == id)
        assign(selectedRecipe_, std::optional<Recipe>(), &AppModel::selectedRecipeChanged);
    saveRecipes();
}

void AppModel::saveRecipes() {
    auto list = nlohmann::ordered_json::array();
    for (const Recipe& recipe : savedRecipes_)
        list.push_back(recipe);
    services.settings.setData(QStringLiteral("savedRecipes"),
                              QByteArray::fromStdString(list.dump()));
}
