#include "ui/rules_inspector.h"

#include "app/app_model.h"
#include "core/naming/date_shift.h"
#include "ui/inspector_text.h"
#include "ui/replacement_steps.h"
#include "ui/sheen.h"
#include "ui/symbols.h"
#include "ui/toggle_switch.h"
#include "ui/token_menu.h"
#include "ui/windows_check_control.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpressionValidator>
#include <QScopedValueRollback>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QToolButton>

#include <algorithm>
#include <optional>
#include <tuple>
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

// Why a field's text cannot be used, under the field, hidden until there is
// a reason.
QLabel* problemNote(const QString& accessibleName) {
    QLabel* note = InspectorText::note(QString());
    note->setAccessibleName(accessibleName);
    // The red of a problem in the preview.
    note->setStyleSheet(QStringLiteral("color: #b42b2b;"));
    note->hide();
    return note;
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
    replaceRow->setAlignment(Qt::AlignTop);
    replaceRow->addWidget(
        addTextField(QStringLiteral("Find"), QStringLiteral("Find"), &RenameRules::find, false), 1);
    replaceRow->addWidget(InspectorText::symbol(QStringLiteral("arrow.right"), 14), 0,
                          Qt::AlignTop);
    replaceRow->addWidget(addTextField(QStringLiteral("Replace with"),
                                       QStringLiteral("Replace with"), &RenameRules::replacement),
                          1);
    auto* replaceSection = new QVBoxLayout;
    replaceSection->setSpacing(5);
    replaceSection->addWidget(InspectorText::section(QStringLiteral("FIND & REPLACE")));
    replaceSection->addLayout(replaceRow);
    moreReplacements = new ReplacementSteps(fieldHeight);
    replaceSection->addWidget(moreReplacements);
    auto* addReplacement = new QToolButton;
    addReplacement->setText(QStringLiteral("Add a replacement"));
    addReplacement->setIcon(Symbols::icon(QStringLiteral("plus")));
    addReplacement->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    addReplacement->setAutoRaise(true);
    addReplacement->setToolTip(
        QStringLiteral("Another find and replace, applied to what the ones above left."));
    replaceSection->addWidget(addReplacement, 0, Qt::AlignLeft);
    // Under both fields, as a long sentence would not fit under one.
    patternProblem = problemNote(QStringLiteral("Find pattern problem"));
    replaceSection->addWidget(patternProblem);
    regex = new QCheckBox(QStringLiteral("Regular expression"));
    regex->setToolTip(QStringLiteral(
        "Find by pattern. The replacement takes the pattern's groups as $1 to $9 or ${name}, "
        "and \\U or \\L up to \\E for upper or lower case."));
    replaceSection->addWidget(regex, 0, Qt::AlignLeft);
    layout->addLayout(replaceSection);

    auto count = [](const QString& accessibleName, int lowest) {
        auto* box = new QSpinBox;
        box->setAccessibleName(accessibleName);
        box->setRange(lowest, 999);
        box->setFixedHeight(fieldHeight);
        return box;
    };
    removeStart = count(QStringLiteral("Characters removed from the start"), 0);
    removeEnd = count(QStringLiteral("Characters removed from the end"), 0);
    insertAt = count(QStringLiteral("Insert at position"), -999);
    removeStart->setToolTip(QStringLiteral("Characters taken off the start of the name, after "
                                           "find and replace."));
    removeEnd->setToolTip(QStringLiteral("Characters taken off the end of the name, before "
                                         "its extension."));
    insertAt->setToolTip(QStringLiteral("After this many characters of the name; a negative "
                                        "number counts back from its end."));
    auto* removing = new QHBoxLayout;
    removing->setSpacing(10);
    removing->addLayout(InspectorText::labelled(QStringLiteral("REMOVE FIRST"), removeStart), 1);
    removing->addLayout(InspectorText::labelled(QStringLiteral("REMOVE LAST"), removeEnd), 1);
    layout->addLayout(removing);
    auto* inserting = new QHBoxLayout;
    inserting->setSpacing(10);
    inserting->addLayout(
        InspectorText::labelled(QStringLiteral("INSERT"),
                                addTextField(QStringLiteral("Insert"), QStringLiteral("Text"),
                                             &RenameRules::insertion, false)),
        1);
    inserting->addLayout(InspectorText::labelled(QStringLiteral("AT"), insertAt), 1);
    layout->addLayout(inserting);

    auto* affixes = new QHBoxLayout;
    affixes->setSpacing(10);
    // Each column keeps its field at the top when the other shows a note.
    for (auto [section, name, placeholder, field] :
         {std::tuple(QStringLiteral("PREFIX"), QStringLiteral("Prefix"),
                     QStringLiteral("e.g. acme-"), &RenameRules::prefix),
          std::tuple(QStringLiteral("SUFFIX"), QStringLiteral("Suffix"),
                     QStringLiteral("e.g. -final"), &RenameRules::suffix)}) {
        QVBoxLayout* column =
            InspectorText::labelled(section, addTextField(name, placeholder, field));
        column->addStretch(1);
        affixes->addLayout(column, 1);
    }
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

    removeAccents = new ToggleSwitch(QStringLiteral("Remove accents"));
    removeAccents->setToolTip(
        QStringLiteral("café becomes cafe, Ærø becomes AEro. Other scripts keep their letters."));
    layout->addWidget(removeAccents);

    order = choice(QStringLiteral("Order"));
    order->setToolTip(QStringLiteral("The order of the preview and of the sequence numbers. "
                                     "Equal dates or sizes keep the natural filename order."));
    order->addItem(QStringLiteral("Natural filename order"), static_cast<int>(NameOrder::name));
    order->addItem(QStringLiteral("Date taken"), static_cast<int>(NameOrder::taken));
    order->addItem(QStringLiteral("Date modified"), static_cast<int>(NameOrder::modified));
    order->addItem(QStringLiteral("Size"), static_cast<int>(NameOrder::size));
    order->addItem(QStringLiteral("As arranged"), static_cast<int>(NameOrder::arranged));
    direction = choice(QStringLiteral("Order direction"));
    direction->addItem(QStringLiteral("Ascending"), 0);
    direction->addItem(QStringLiteral("Descending"), 1);
    auto* ordering = new QHBoxLayout;
    ordering->setSpacing(10);
    ordering->addLayout(InspectorText::labelled(QStringLiteral("ORDER"), order), 4);
    ordering->addLayout(InspectorText::labelled(QStringLiteral("DIRECTION"), direction), 3);
    layout->addLayout(ordering);
    QWidget* shift = addTextField(QStringLiteral("Shift dates"), QStringLiteral("e.g. +01:00"),
                                  &RenameRules::shiftDates, false);
    shift->setToolTip(QStringLiteral("How far the camera's clock was off: +01:00, -00:30 or "
                                     "+1d 02:00. Moves every date a name shows."));
    // Half the width, as the order above it.
    auto* shifting = new QHBoxLayout;
    shifting->setSpacing(10);
    shifting->addLayout(InspectorText::labelled(QStringLiteral("SHIFT DATES"), shift), 1);
    shifting->addStretch(1);
    layout->addLayout(shifting);
    shiftProblem = problemNote(QStringLiteral("Date shift problem"));
    layout->addWidget(shiftProblem);

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
    digitsNote = problemNote(QStringLiteral("Sequence digits problem"));
    layout->addWidget(digitsNote);

    numberDuplicates = new ToggleSwitch(QStringLiteral("Number duplicates"));
    numberDuplicates->setToolTip(
        QStringLiteral("Files that would get the same name are numbered in the preview's order, "
                       "all but the first. A name already taken on disk stays a conflict."));
    duplicateFormat = choice(QStringLiteral("Duplicate number format"));
    for (DuplicateFormat format : allDuplicateFormats)
        duplicateFormat->addItem(QStringLiteral("name") + numbered(format, 2),
                                 static_cast<int>(format));
    layout->addWidget(numberDuplicates);
    // Half the width, as each of the sequence's two choices above.
    auto* duplicates = new QHBoxLayout;
    duplicates->setSpacing(10);
    duplicates->addLayout(InspectorText::labelled(QStringLiteral("NUMBERED AS"), duplicateFormat),
                          1);
    duplicates->addStretch(1);
    layout->addLayout(duplicates);
    companions = new ToggleSwitch(QStringLiteral("Keep companion files together"));
    companions->setToolTip(QStringLiteral(
        "Files in one folder that share a name apart from the extension (DSC_0042.NEF, "
        "DSC_0042.JPG, DSC_0042.xmp) get the same new name and number, each with its own "
        "extension. The first of them in the order decides the name."));
    layout->addWidget(companions);
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
    connect(order, &QComboBox::activated, this, [this] {
        NameOrder chosen = static_cast<NameOrder>(order->currentData().toInt());
        edit([chosen](RenameRules& rules) { rules.order = chosen; });
    });
    connect(direction, &QComboBox::activated, this, [this] {
        bool descending = direction->currentData().toInt() == 1;
        edit([descending](RenameRules& rules) { rules.descending = descending; });
    });
    connect(moreReplacements, &ReplacementSteps::edited, this,
            [this](const QList<Replacement>& steps) {
                edit([&steps](RenameRules& rules) { rules.moreReplacements = steps; });
            });
    connect(addReplacement, &QToolButton::clicked, this, [this] {
        edit([](RenameRules& rules) { rules.moreReplacements.append(Replacement()); });
        moreReplacements->focusLast();
    });
    // Not a structured binding: clang before 16 cannot capture one.
    for (const auto& count : {std::pair(removeStart, &RenameRules::removeStart),
                              std::pair(removeEnd, &RenameRules::removeEnd),
                              std::pair(insertAt, &RenameRules::insertAt)}) {
        std::int64_t RenameRules::*field = count.second;
        connect(count.first, &QSpinBox::valueChanged, this, [this, field](int value) {
            edit([field, value](RenameRules& rules) { rules.*field = value; });
        });
    }
    connect(regex, &QCheckBox::clicked, this,
            [this](bool on) { edit([on](RenameRules& rules) { rules.regex = on; }); });
    connect(removeAccents, &QCheckBox::clicked, this,
            [this](bool on) { edit([on](RenameRules& rules) { rules.removeAccents = on; }); });
    connect(numberDuplicates, &QCheckBox::clicked, this,
            [this](bool on) { edit([on](RenameRules& rules) { rules.numberDuplicates = on; }); });
    connect(companions, &QCheckBox::clicked, this,
            [this](bool on) { edit([on](RenameRules& rules) { rules.companions = on; }); });
    connect(duplicateFormat, &QComboBox::activated, this, [this] {
        auto chosen = static_cast<DuplicateFormat>(duplicateFormat->currentData().toInt());
        edit([chosen](RenameRules& rules) { rules.duplicateFormat = chosen; });
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
    connect(&model, &AppModel::filesChanged, this, &RulesInspector::showDigitsNote);
    showRules();
    showTitle();
}

QWidget* RulesInspector::addTextField(const QString& name, const QString& placeholder,
                                      QString RenameRules::*field, bool tokens) {
    auto* line = new QLineEdit;
    line->setFixedHeight(fieldHeight);
    line->setAccessibleName(name);
    line->setPlaceholderText(placeholder);
    line->setClearButtonEnabled(false);
    connect(line, &QLineEdit::textEdited, this, [this, field](const QString& text) {
        edit([field, &text](RenameRules& rules) { rules.*field = text; });
    });
    if (!tokens) {
        textFields.append({line, field});
        return line;
    }
    TokenMenu::attach(line);
    auto* unknown = InspectorText::note(QString());
    unknown->setAccessibleName(name + QStringLiteral(" tokens"));
    unknown->hide();
    textFields.append({line, field, unknown});
    auto* column = new QWidget;
    auto* stack = new QVBoxLayout(column);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->setSpacing(3);
    stack->addWidget(line);
    stack->addWidget(unknown);
    return column;
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
        if (!text.unknownTokens)
            continue;
        // Braces that hold no token stay in the name as typed, as they always
        // did; a mistyped token must still not pass unnoticed.
        QStringList lines;
        for (const QString& unknown : NameTokens::unknown(rules.*text.field)) {
            // ${name} names a group of the pattern.
            bool group = rules.regex && text.field == &RenameRules::replacement &&
                         rules.replacement.contains(QLatin1Char('$') + unknown);
            if (!group)
                lines.append(unknown + QStringLiteral(" is not a token; kept as text"));
        }
        text.unknownTokens->setText(lines.join(QLatin1Char('\n')));
        text.unknownTokens->setVisible(!lines.isEmpty());
    }
    moreReplacements->showSteps(rules.moreReplacements);
    // The first step's problem: each blocks the whole batch alike.
    std::optional<QString> problem;
    const QList<Replacement> steps = rules.replacements();
    for (qsizetype step = 0; rules.regex && !problem && step < steps.size(); ++step) {
        if (steps[step].find.isEmpty())
            continue;
        FindPattern::Compiled pattern = rules.compiled.find(steps[step].find, step);
        problem = pattern.problem
                      ? pattern.problem
                      : FindPattern::referenceProblem(pattern.regex, steps[step].replacement);
    }
    patternProblem->setText(problem.value_or(QString()));
    patternProblem->setVisible(problem.has_value());
    const bool shiftRead = DateShift::seconds(rules.shiftDates).has_value();
    shiftProblem->setText(shiftRead ? QString() : DateShift::problem(rules.shiftDates));
    shiftProblem->setVisible(!shiftRead);
    {
        QSignalBlocker regexBlocker(regex);
        regex->setChecked(rules.regex);
        QSignalBlocker accentsBlocker(removeAccents);
        removeAccents->setChecked(rules.removeAccents);
        QSignalBlocker duplicatesBlocker(numberDuplicates);
        numberDuplicates->setChecked(rules.numberDuplicates);
        QSignalBlocker companionsBlocker(companions);
        companions->setChecked(rules.companions);
    }
    for (auto [box, value] :
         {std::pair(removeStart, rules.removeStart), std::pair(removeEnd, rules.removeEnd),
          std::pair(insertAt, rules.insertAt)}) {
        QSignalBlocker blocker(box);
        // A recipe edited by hand may hold more than the box shows.
        box->setValue(int(std::clamp<std::int64_t>(value, box->minimum(), box->maximum())));
    }
    insertAt->setEnabled(!rules.insertion.isEmpty());
    selectData(duplicateFormat, static_cast<int>(rules.duplicateFormat));
    duplicateFormat->setEnabled(rules.numberDuplicates);
    selectData(letterCase, static_cast<int>(rules.nameCase));
    selectData(separators, static_cast<int>(rules.separator));
    selectData(order, static_cast<int>(rules.order));
    selectData(direction, rules.descending ? 1 : 0);
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
    showDigitsNote();
}

void RulesInspector::showDigitsNote() {
    digitsNote->setText(model.digitsNote());
    digitsNote->setVisible(!digitsNote->text().isEmpty());
}

void RulesInspector::showTitle() {
    subtitle->setText(model.recipeTitle());
}
