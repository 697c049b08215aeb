#include "ui/rename_action.h"

#include "ui/symbols.h"

#include <QKeySequence>

RenameAction::RenameAction(AppModel& model, QWidget* parent)
    : SheenButton(QString(), true, parent), model(model) {
    setIcon(Symbols::icon(QStringLiteral("arrow.right")));
    setLayoutDirection(Qt::RightToLeft);
    setToolTip(
        QStringLiteral("Review the confirmation before applying names to your files (%1).")
            .arg(QKeySequence(Qt::CTRL | Qt::Key_Return).toString(QKeySequence::NativeText)));
    connect(this, &QPushButton::clicked, this, [this] { this->model.setShowConfirmation(true); });
    connect(&model, &AppModel::changed, this, &RenameAction::refresh);
    refresh();
}

void RenameAction::refresh() {
    setText(QStringLiteral("Rename %1 files").arg(model.changedCount()));
    setEnabled(model.canRename());
}
