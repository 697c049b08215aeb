#include "ui/content_view.h"

#include "ui/content_parts.h"

#include "ui/sheen.h"
#include "ui/symbols.h"

#include "core/naming/recipe.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QStackedWidget>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>

using namespace ContentParts;

QWidget* ContentView::makeSidebar() {
    auto* sidebar = new QFrame;
    sidebar->setFixedWidth(226);
    sidebar->setObjectName(QStringLiteral("sidebar"));
    sidebar->setStyleSheet(QStringLiteral("#sidebar { background: #f3f0ec; border-right: 1px solid "
                                          "rgba(0,0,0,19); }"));
    auto* layout = new QVBoxLayout(sidebar);
    layout->setContentsMargins(12, 14, 12, 12);
    layout->setSpacing(2);

    layout->addWidget(sectionLabel(QStringLiteral("RENAME WITH")));
    const QList<QPair<QString, QString>> modes = {
        {QStringLiteral("Naming rules"), QStringLiteral("slider.horizontal.3")},
        {QStringLiteral("Spreadsheet"), QStringLiteral("tablecells")}};
    for (qsizetype index = 0; index < modes.size(); ++index) {
        auto* entry = plainButton(modes[index].first, modes[index].second);
        RenameMode mode = allRenameModes[index];
        connect(entry, &QPushButton::clicked, this, [this, mode] { model.setMode(mode); });
        modeEntries.append(entry);
        layout->addWidget(entry);
    }

    layout->addSpacing(12);
    layout->addWidget(sectionLabel(QStringLiteral("QUICK RECIPES")));
    startFresh = plainButton(QStringLiteral("Start fresh"), QStringLiteral("slider.horizontal.3"));
    connect(startFresh, &QPushButton::clicked, this, [this] { model.startFresh(); });
    layout->addWidget(startFresh);
    for (const Recipe& recipe : Recipe::builtIn()) {
        auto* entry = plainButton(recipe.name, recipe.symbol);
        connect(entry, &QPushButton::clicked, this, [this, recipe] { model.apply(recipe); });
        builtInEntries.append({entry, recipe.id});
        layout->addWidget(entry);
    }

    layout->addSpacing(12);
    layout->addWidget(sectionLabel(QStringLiteral("SAVED RECIPES")));
    savedRecipesLayout = new QVBoxLayout;
    savedRecipesLayout->setSpacing(2);
    layout->addLayout(savedRecipesLayout);
    auto* saveCurrent = plainButton(QStringLiteral("Save current rules as a recipe"));
    saveCurrent->setStyleSheet(saveCurrent->styleSheet() +
                               QStringLiteral("QPushButton { color: #7149d8; font-size: 12px; }"));
    connect(saveCurrent, &QPushButton::clicked, this, [this] { model.setShowSaveRecipe(true); });
    layout->addWidget(saveCurrent);

    layout->addStretch(1);
    tutorialButton =
        plainButton(QStringLiteral("Quick tutorial"), QStringLiteral("questionmark.circle"));
    tutorialButton->setToolTip(QStringLiteral("Practice a rename and undo with sample names"));
    connect(tutorialButton, &QPushButton::clicked, this, [this] { model.presentTutorial(); });
    layout->addWidget(tutorialButton);
    setAsideLine = label(QString(), 11, Sheen::secondary());
    setAsideLine->setWordWrap(true);
    // In line with the entries' text above it.
    setAsideLine->setContentsMargins(8, 4, 0, 4);
    setAsideLine->setTextFormat(Qt::RichText);
    setAsideLine->setTextInteractionFlags(Qt::LinksAccessibleByMouse |
                                          Qt::LinksAccessibleByKeyboard);
    setAsideLine->setToolTip(QStringLiteral(
        "Each record lists the files a recovery could not find, with the names they had. Delete "
        "a record when you no longer need it."));
    connect(setAsideLine, &QLabel::linkActivated, this, [this] { model.showJournal(); });
    layout->addWidget(setAsideLine);
    auto* privacy = new QHBoxLayout;
    auto* shield = new QLabel;
    shield->setPixmap(Symbols::icon(QStringLiteral("lock.shield")).pixmap(14, 14));
    privacy->addWidget(shield);
    privacy->addWidget(
        label(QStringLiteral("Files stay on your computer"), 11, Sheen::secondary()));
    privacy->addStretch(1);
    layout->addLayout(privacy);
    return sidebar;
}

void ContentView::rebuildRecipes() {
    while (QLayoutItem* item = savedRecipesLayout->takeAt(0)) {
        if (QWidget* widget = item->widget())
            widget->deleteLater();
        else if (QLayout* row = item->layout()) {
            while (QLayoutItem* inner = row->takeAt(0)) {
                if (inner->widget())
                    inner->widget()->deleteLater();
                delete inner;
            }
        }
        delete item;
    }
    if (model.savedRecipes().isEmpty()) {
        savedRecipesLayout->addWidget(
            label(QStringLiteral("Save rules you use often."), 12, Sheen::secondary()));
        return;
    }
    for (const Recipe& recipe : model.savedRecipes()) {
        auto* row = new QHBoxLayout;
        row->setSpacing(0);
        auto* entry = plainButton(recipe.name, recipe.symbol);
        entry->setProperty("recipeId", recipe.id.toString());
        connect(entry, &QPushButton::clicked, this, [this, recipe] { model.apply(recipe); });
        row->addWidget(entry, 1);
        auto* actions = new QToolButton;
        actions->setIcon(Symbols::icon(QStringLiteral("ellipsis")));
        actions->setAutoRaise(true);
        actions->setPopupMode(QToolButton::InstantPopup);
        actions->setAccessibleName(QStringLiteral("Recipe actions"));
        actions->setToolTip(QStringLiteral("Actions for ") + recipe.name);
        auto* menu = new QMenu(actions);
        menu->addAction(QStringLiteral("Delete recipe"), this,
                        [this, recipe] { model.deleteRecipe(recipe); });
        actions->setMenu(menu);
        row->addWidget(actions);
        savedRecipesLayout->addLayout(row);
    }
    refresh();
}
