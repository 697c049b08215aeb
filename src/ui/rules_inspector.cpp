#include "ui/rules_inspector.h"

#include "app/app_model.h"
#include "ui/inspector_text.h"
#include "ui/sheen.h"
#include "ui/symbols.h"
#include "ui/toggle_switch.h"
#include "ui/windows_check_control.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpressionValidator>
#include <QScopedValueRollback>
#include <QSignalBlocker>

#include <algorithm>
#include <optional>
#include <utility>

namespace {

constexpr std::int64_t largestStart = 999'999'999;
// Fields and choices share one height so that side-by-side sections line up.
constexpr int fieldHeight = 30;

// The whole number a start field holds, clamped into the range a sequence
// can start at; nothing while the text is not yet a number ("" or "-").
std::optional<std::int64_t> startValue(const QString& text) {
    bool ok = false;
    qlonglong value = text.toLongLong(&ok);
    if (!ok)
        return std::nullopt;
    return std::clamp<std::int64_t>(value, 0, largestStart);
}

void selectData(QComboBox* box, int value) {
    QSignalBlocker blocker(box);
    box->setCurrentIndex(box->findData(value));
}

QComboBox* choice(const QString& accessibleName) {
    auto* box = new QComboBox;
    box->setAccessibleName(accessibleName);
    box->setMinimumWidth(0);
    box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    box->setFixedHeight(fieldHeight);
    return box;
}

} // namespace

RulesInspector::RulesInspector(AppModel& model, QWidget* parent)
    : InspectorCard(parent), model(model) {
    setStyleSheet(styleSheet() + QStringLiteral(R"(
        QLineEdit { background: white; border: 1px solid rgba(0,0,0,38); border-radius: 6px;
                    padding: 4px 7px; font-size: 13px; }
        QLineEdit:focus { border: 1px solid %1; }
        QLineEdit:disabled { color: %2; background: %3; }
        QComboBox { font-size: 13px; }
    )")
                                     .arg(Sheen::violet().name(), Sheen::secondary().name(),
                                          Sheen::canvas().name()));

    subtitle = InspectorText::note(QString());
    subtitle->setWordWrap(false);
    header()->addLayout(InspectorText::header(QStringLiteral("slider.horizontal.3"),
                                              QStringLiteral("Naming rules"), subtitle));

    QVBoxLayout* layout = scrollingContent();
    layout->setSpacing(14);

    layout->addLayout(InspectorText::labelled(QStringLiteral("BASE NAME"),
                                              addTextField(QStringLiteral("Base name"),
                                                           QStringLiteral("Keep original name"),
                                                           &RenameRules::baseName)));

    auto* replaceRow = new QHBoxLayout;
    replaceRow->setSpacing(6);
    replaceRow->addWidget(
        addTextField(QStringLiteral("Find"), QStringLiteral("Find"), &RenameRules::find), 1);
    replaceRow->addWidget(InspectorText::symbol(QStringLiteral("arrow.right"), 14));
    replaceRow->addWidget(addTextField(QStringLiteral("Replace with"),
                                       QStringLiteral("Replace with"), &RenameRules::replacement),
                          1);
    auto* replaceSection = new QVBoxLayout;
    replaceSection->setSpacing(5);
    replaceSection->addWidget(InspectorText::section(QStringLiteral("FIND & REPLACE")));
    replaceSection->addLayout(replaceRow);
    layout->addLayout(replaceSection);

    auto* affixes = new QHBoxLayout;
    affixes->setSpacing(10);
    affixes->addLayout(
        InspectorText::labelled(QStringLiteral("PREFIX"),
                                addTextField(QStringLiteral("Prefix"), QStringLiteral("e.g. acme-"),
                                             &RenameRules::prefix)),
        1);
    affixes->addLayout(
        InspectorText::labelled(QStringLiteral("SUFFIX"),
                                addTextField(QStringLiteral("Suffix"),
                                             QStringLiteral("e.g. -final"), &RenameRules::suffix)),
        1);
    layout->addLayout(affixes);

    letterCase = choice(QStringLiteral("Letter case"));
    letterCase->addItem(QStringLiteral("Keep original"), static_cast<int>(NameCase::unchanged));
    letterCase->addItem(QStringLiteral("lowercase"), static_cast<int>(NameCase::lower));
    letterCase->addItem(QStringLiteral("UPPERCASE"), static_cast<int>(NameCase::upper));
    letterCase->addItem(QStringLiteral("Title Case"), static_cast<int>(NameCase::title));

    separators = choice(QStringLiteral("Separators"));
    separators->setToolTip(QStringLiteral("Normalize spaces, hyphens, and underscores."));
    separators->addItem(QStringLiteral("Original"), static_cast<int>(NameSeparator::unchanged));
    separators->setItemData(0, QStringLiteral("Keep original separators"), Qt::AccessibleTextRole);
    separators->addItem(QStringLiteral("Hyphens"), static_cast<int>(NameSeparator::hyphen));
    separators->addItem(QStringLiteral("Underscores"), static_cast<int>(NameSeparator::underscore));
    separators->addItem(QStringLiteral("Space"), static_cast<int>(NameSeparator::space));

    auto* choices = new QHBoxLayout;
    choices->setSpacing(10);
    choices->addLayout(InspectorText::labelled(QStringLiteral("LETTER CASE"), letterCase), 1);
    choices->addLayout(InspectorText::labelled(QStringLiteral("SEPARATORS"), separators), 1);
    layout->addLayout(choices);

    sequence = new ToggleSwitch(QStringLiteral("Add a sequence"));
    sequence->setToolTip(QStringLiteral("Uses the natural filename order in the preview."));
    layout->addWidget(sequence);

    start = new QLineEdit;
    start->setFixedHeight(fieldHeight);
    start->setAccessibleName(QStringLiteral("Sequence start number"));
    start->setToolTip(QStringLiteral("A whole number from 0 to 999,999,999"));
    // A sign and more digits than fit are let through so that the value can be
    // clamped rather than the keystroke silently refused.
    start->setValidator(new QRegularExpressionValidator(
        QRegularExpression(QStringLiteral("-?[0-9]{0,15}")), start));

    digits = choice(QStringLiteral("Sequence digits"));
    for (int width = 1; width <= 6; ++width)
        digits->addItem(QString(width - 1, QLatin1Char('0')) + QLatin1Char('1'), width);

    auto* numbering = new QHBoxLayout;
    numbering->setSpacing(10);
    numbering->addLayout(InspectorText::labelled(QStringLiteral("START AT"), start), 1);
    numbering->addLayout(InspectorText::labelled(QStringLiteral("DIGITS"), digits), 1);
    layout->addLayout(numbering);
    layout->addStretch(1);

    footer()->addWidget(new WindowsCheckControl(model, this));
    auto* save = new SheenButton(QStringLiteral("Save recipe"));
    save->setIcon(Symbols::icon(QStringLiteral("bookmark")));
    save->setIconSize(QSize(15, 15));
    save->setToolTip(QStringLiteral(
        "Save the current rules. Rules apply from top to bottom; extensions stay unchanged."));
    footer()->addWidget(save);

    // `activated`, `clicked` and `textEdited` come from the user only; the
    // model's own changes arrive through `rulesChanged` below.
    connect(letterCase, &QComboBox::activated, this, [this] {
        NameCase chosen = static_cast<NameCase>(letterCase->currentData().toInt());
        edit([chosen](RenameRules& rules) { rules.nameCase = chosen; });
    });
    connect(separators, &QComboBox::activated, this, [this] {
        NameSeparator chosen = static_cast<NameSeparator>(separators->currentData().toInt());
        edit([chosen](RenameRules& rules) { rules.separator = chosen; });
    });
    connect(sequence, &QCheckBox::clicked, this,
            [this](bool on) { edit([on](RenameRules& rules) { rules.sequence = on; }); });
    connect(start, &QLineEdit::textEdited, this, &RulesInspector::editStart);
    connect(start, &QLineEdit::editingFinished, this, [this] {
        // A clamped or unfinished entry shows the number that was stored.
        QString stored = QString::number(this->model.rules().sequenceStart);
        if (start->text() != stored)
            start->setText(stored);
    });
    connect(digits, &QComboBox::activated, this, [this] {
        int width = digits->currentData().toInt();
        edit([width](RenameRules& rules) { rules.sequencePadding = width; });
    });
    connect(save, &QPushButton::clicked, this, [this] { this->model.setShowSaveRecipe(true); });

    connect(&model, &AppModel::rulesChanged, this, [this] {
        showRules();
        showTitle();
    });
    connect(&model, &AppModel::selectedRecipeChanged, this, &RulesInspector::showTitle);
    showRules();
    showTitle();
}

QLineEdit* RulesInspector::addTextField(const QString& name, const QString& placeholder,
                                        QString RenameRules::*field) {
    auto* line = new QLineEdit;
    line->setFixedHeight(fieldHeight);
    line->setAccessibleName(name);
    line->setPlaceholderText(placeholder);
    line->setClearButtonEnabled(false);
    connect(line, &QLineEdit::textEdited, this, [this, field](const QString& text) {
        edit([field, &text](RenameRules& rules) { rules.*field = text; });
    });
    textFields.append({line, field});
    return line;
}

void RulesInspector::edit(const std::function<void(RenameRules&)>& change) {
    if (showingRules)
        return;
    RenameRules rules = model.rules();
    change(rules);
    model.setRules(rules);
}

void RulesInspector::editStart(const QString& text) {
    std::optional<std::int64_t> value = startValue(text);
    if (!value)
        return;
    edit([value](RenameRules& rules) { rules.sequenceStart = *value; });
}

void RulesInspector::showRules() {
    QScopedValueRollback guard(showingRules, true);
    const RenameRules& rules = model.rules();
    // Only a text that differs is replaced, so the field being typed in keeps
    // its cursor and its undo history.
    for (const TextField& text : std::as_const(textFields)) {
        if (text.edit->text() != rules.*text.field)
            text.edit->setText(rules.*text.field);
    }
    selectData(letterCase, static_cast<int>(rules.nameCase));
    selectData(separators, static_cast<int>(rules.separator));
    {
        QSignalBlocker blocker(sequence);
        sequence->setChecked(rules.sequence);
    }
    // "-12" stays on screen while it is typed even though 0 was stored.
    QString startText = QString::number(rules.sequenceStart);
    if (start->text() != startText && startValue(start->text()) != rules.sequenceStart)
        start->setText(startText);
    // A decoded recipe may hold any width; the nearest choice is shown.
    selectData(digits, static_cast<int>(
                           std::clamp<std::int64_t>(rules.sequencePadding, 1, digits->count())));
    start->setEnabled(rules.sequence);
    digits->setEnabled(rules.sequence);
}

void RulesInspector::showTitle() {
    subtitle->setText(model.recipeTitle());
}
