#include "ui/replacement_steps.h"

#include "ui/inspector_text.h"
#include "ui/symbols.h"
#include "ui/token_menu.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QToolButton>

ReplacementSteps::ReplacementSteps(int fieldHeight, QWidget* parent)
    : QWidget(parent), fieldHeight(fieldHeight), layout(new QVBoxLayout(this)) {
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
}

void ReplacementSteps::showSteps(const QList<Replacement>& shown) {
    steps = shown;
    // Later, as the row's own button may be what removed it.
    while (rows.size() > steps.size()) {
        QWidget* gone = rows.takeLast().widget;
        gone->hide();
        gone->deleteLater();
    }
    while (rows.size() < steps.size())
        addRow();
    for (qsizetype step = 0; step < steps.size(); ++step) {
        if (rows[step].find->text() != steps[step].find)
            rows[step].find->setText(steps[step].find);
        if (rows[step].replacement->text() != steps[step].replacement)
            rows[step].replacement->setText(steps[step].replacement);
    }
    setVisible(!steps.isEmpty());
}

void ReplacementSteps::focusLast() {
    if (!rows.isEmpty())
        rows.last().find->setFocus(Qt::OtherFocusReason);
}

void ReplacementSteps::addRow() {
    const qsizetype step = rows.size();
    auto* widget = new QWidget;
    auto* row = new QHBoxLayout(widget);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    auto field = [this, step](const QString& name) {
        auto* line = new QLineEdit;
        line->setFixedHeight(fieldHeight);
        line->setPlaceholderText(name);
        line->setAccessibleName(QStringLiteral("%1, step %2").arg(name).arg(step + 2));
        return line;
    };
    QLineEdit* find = field(QStringLiteral("Find"));
    QLineEdit* replacement = field(QStringLiteral("Replace with"));
    TokenMenu::attach(replacement);
    auto* remove = new QToolButton;
    remove->setIcon(Symbols::icon(QStringLiteral("minus.circle")));
    remove->setAutoRaise(true);
    remove->setToolTip(QStringLiteral("Remove this replacement"));
    remove->setAccessibleName(QStringLiteral("Remove replacement, step %1").arg(step + 2));
    row->addWidget(find, 1);
    row->addWidget(InspectorText::symbol(QStringLiteral("arrow.right"), 14));
    row->addWidget(replacement, 1);
    row->addWidget(remove);
    layout->addWidget(widget);
    rows.append({widget, find, replacement});

    connect(find, &QLineEdit::textEdited, this, [this, step](const QString& text) {
        steps[step].find = text;
        emit edited(steps);
    });
    connect(replacement, &QLineEdit::textEdited, this, [this, step](const QString& text) {
        steps[step].replacement = text;
        emit edited(steps);
    });
    connect(remove, &QToolButton::clicked, this, [this, step] {
        QList<Replacement> left = steps;
        left.removeAt(step);
        emit edited(left);
    });
}
