#include "ui/mapping_text_editor.h"

#include "app/app_model.h"
#include "ui/sheen.h"

#include <QFontDatabase>
#include <QMimeData>
#include <QScopedValueRollback>
#include <QTextCursor>

MappingTextEditor::MappingTextEditor(AppModel& model, QWidget* parent)
    : QPlainTextEdit(parent), model(model) {
    setAccessibleName(QStringLiteral("Spreadsheet mapping text"));
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    // The design's point sizes are taken as pixels throughout the window.
    font.setPixelSize(12);
    font.setWeight(QFont::Normal);
    setFont(font);
    setLineWrapMode(QPlainTextEdit::WidgetWidth);
    // A long filename without spaces still wraps rather than scrolling sideways.
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    // Tab separates the columns of a TSV sheet, so it must stay a character.
    setTabChangesFocus(false);
    setUndoRedoEnabled(true);
    document()->setDocumentMargin(4);
    setStyleSheet(QStringLiteral("MappingTextEditor { background: white; color: %1; border: 1px "
                                 "solid rgba(0,0,0,38); border-radius: 8px; padding: 8px 6px; }"
                                 "MappingTextEditor:focus { border: 1px solid %2; }")
                      .arg(Sheen::ink().name(), Sheen::violet().name()));

    connect(this, &QPlainTextEdit::textChanged, this, [this] {
        if (!showingModelText)
            this->model.updateMappingText(toPlainText());
    });
    connect(&model, &AppModel::mappingTextChanged, this, &MappingTextEditor::showModelText);
    showModelText();
}

bool MappingTextEditor::canInsertFromMimeData(const QMimeData* source) const {
    return source->hasText();
}

void MappingTextEditor::insertFromMimeData(const QMimeData* source) {
    // Cells copied from a spreadsheet arrive as HTML and images as well; only
    // their text belongs in the list.
    insertPlainText(source->text());
}

void MappingTextEditor::showModelText() {
    const QString& text = model.mappingText();
    if (toPlainText() == text)
        return;
    QScopedValueRollback guard(showingModelText, true);
    // Replaced through a cursor rather than setPlainText, so a paste or a
    // clear can be undone like typing.
    QTextCursor cursor(document());
    cursor.beginEditBlock();
    cursor.select(QTextCursor::Document);
    cursor.insertText(text);
    cursor.endEditBlock();
}
