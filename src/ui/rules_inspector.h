#pragma once

#include "ui/inspector_card.h"

#include "core/naming/rename_rules.h"

#include <QList>

#include <functional>

class AppModel;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QSpinBox;
class ReplacementSteps;
class ToggleSwitch;

// The panel beside the preview in rules mode. Every control writes straight
// into the model's rules as the user edits it, keystroke by keystroke, and
// shows the rules again whenever they change elsewhere (a recipe applied, a
// fresh start).
class RulesInspector : public InspectorCard {
    Q_OBJECT
public:
    explicit RulesInspector(AppModel& model, QWidget* parent = nullptr);

private:
    struct TextField {
        QLineEdit* edit;
        QString RenameRules::*field;
        // Says which texts in braces are no tokens; absent for the find
        // field, whose text is always literal.
        QLabel* unknownTokens = nullptr;
    };

    // The field, with a token menu and a note under it when `tokens`.
    QWidget* addTextField(const QString& name, const QString& placeholder,
                          QString RenameRules::*field, bool tokens = true);
    void edit(const std::function<void(RenameRules&)>& change);
    void editStart(const QString& text);
    void showRules();
    void showTitle();
    void showDigitsNote();

    AppModel& model;
    // Set while the controls take the model's rules, so that showing them is
    // never mistaken for an edit and written back.
    bool showingRules = false;
    QLabel* subtitle;
    QList<TextField> textFields;
    ReplacementSteps* moreReplacements;
    QCheckBox* regex;
    QSpinBox* removeStart;
    QSpinBox* removeEnd;
    QSpinBox* insertAt;
    // Why the find pattern cannot be used, under the find field.
    QLabel* patternProblem;
    ToggleSwitch* removeAccents;
    QComboBox* letterCase;
    QComboBox* separators;
    QComboBox* order;
    QComboBox* direction;
    // Why the date shift cannot be read, under its field.
    QLabel* shiftProblem;
    QLabel* digitsNote;
    ToggleSwitch* sequence;
    QLineEdit* start;
    QComboBox* digits;
    ToggleSwitch* numberDuplicates;
    QComboBox* duplicateFormat;
    ToggleSwitch* companions;
};
