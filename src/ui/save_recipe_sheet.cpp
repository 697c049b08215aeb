#include "ui/save_recipe_sheet.h"

#include "ui/sheen.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

SaveRecipeSheet::SaveRecipeSheet(AppModel& model, QWidget* parent) : QDialog(parent), model(model) {
    setWindowTitle(QStringLiteral("Keep this recipe"));
    setWindowModality(Qt::WindowModal);
    setPalette(Sheen::lightPalette());
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(22, 20, 22, 18);
    auto* title = new QLabel(QStringLiteral("Keep this recipe"));
    QFont font = title->font();
    font.setPixelSize(18);
    font.setWeight(QFont::Bold);
    title->setFont(font);
    layout->addWidget(title);
    layout->addWidget(new QLabel(
        QStringLiteral("Save the current naming rules and pick up where you left off.")));
    name = new QLineEdit(model.recipeName());
    name->setPlaceholderText(QStringLiteral("Recipe name"));
    name->setAccessibleName(QStringLiteral("Recipe name"));
    connect(name, &QLineEdit::textEdited, this,
            [this](const QString& text) { this->model.setRecipeName(text); });
    connect(&model, &AppModel::recipeNameChanged, this, [this] {
        if (name->text() != this->model.recipeName())
            name->setText(this->model.recipeName());
    });
    layout->addWidget(name);
    auto* hint =
        new QLabel(QStringLiteral("Up to 40 characters. Your recipes stay on this computer."));
    QPalette palette = hint->palette();
    palette.setColor(QPalette::WindowText, Sheen::secondary());
    hint->setPalette(palette);
    layout->addWidget(hint);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    auto* cancel = new SheenButton(QStringLiteral("Cancel"));
    connect(cancel, &QPushButton::clicked, this, &SaveRecipeSheet::reject);
    auto* save = new SheenButton(QStringLiteral("Save recipe"), true);
    save->setDefault(true);
    connect(save, &QPushButton::clicked, this, [this] { this->model.saveRecipe(); });
    connect(name, &QLineEdit::returnPressed, save, &QPushButton::click);
    buttons->addWidget(cancel);
    buttons->addWidget(save);
    layout->addLayout(buttons);
    resize(420, sizeHint().height());
}

void SaveRecipeSheet::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    name->setText(model.recipeName());
    name->setFocus();
}

void SaveRecipeSheet::reject() {
    model.setShowSaveRecipe(false);
    QDialog::reject();
}
