#include "ui/mapping_text_editor.h"

#include "app/app_model.h"
#include "ui/sheen.h"

#include <QFontDatabase>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QScopedValueRollback>
#include <QTextBlock>
#include <QTextCursor>

#include <algorithm>

class MappingTextEditor::Gutter : public QWidget {
public:
    explicit Gutter(MappingTextEditor* editor) : QWidget(editor), editor(editor) {}

protected:
    void paintEvent(QPaintEvent* event) override { editor->paintGutter(event); }

private:
    MappingTextEditor* editor;
};

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
    // Tab separates the columns of a TSV sheet, so it must stay a character;
    // Ctrl+Tab is the way out, and the field says so.
    setTabChangesFocus(false);
    const QString keys = QStringLiteral("Tab types a tab between the columns. Ctrl+Tab moves on "
                                        "to the next control, Ctrl+Shift+Tab back.");
    setPlaceholderText(keys);
    setToolTip(keys);
    setAccessibleDescription(keys);
    setUndoRedoEnabled(true);
    document()->setDocumentMargin(4);
    setStyleSheet(QStringLiteral("MappingTextEditor { background: white; color: %1; border: 1px "
                                 "solid rgba(0,0,0,38); border-radius: 8px; padding: 8px 6px; }"
                                 "MappingTextEditor:focus { border: 1px solid %2; }")
                      .arg(Sheen::ink().name(), Sheen::violet().name()));

    gutter = new Gutter(this);
    connect(this, &QPlainTextEdit::blockCountChanged, this, &MappingTextEditor::fitGutter);
    connect(this, &QPlainTextEdit::updateRequest, this, [this](const QRect& rect, int dy) {
        if (dy)
            gutter->scroll(0, dy);
        else
            gutter->update(0, rect.y(), gutter->width(), rect.height());
    });
    // The current line's number stands out, so the gutter follows the cursor.
    connect(this, &QPlainTextEdit::cursorPositionChanged, gutter, qOverload<>(&QWidget::update));
    fitGutter();

    connect(this, &QPlainTextEdit::textChanged, this, [this] {
        if (!showingModelText)
            this->model.updateMappingText(toPlainText());
    });
    connect(&model, &AppModel::mappingTextChanged, this, &MappingTextEditor::showModelText);
    showModelText();
}

void MappingTextEditor::goToLine(qsizetype line) {
    QTextBlock block = document()->findBlockByNumber(static_cast<int>(line - 1));
    setTextCursor(QTextCursor(block.isValid() ? block : document()->lastBlock()));
    ensureCursorVisible();
    setFocus(Qt::OtherFocusReason);
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

void MappingTextEditor::keyPressEvent(QKeyEvent* event) {
    bool control = event->modifiers() & Qt::ControlModifier;
    bool backwards = event->key() == Qt::Key_Backtab ||
                     (event->key() == Qt::Key_Tab && event->modifiers() & Qt::ShiftModifier);
    if (control && (event->key() == Qt::Key_Tab || event->key() == Qt::Key_Backtab)) {
        // The text area's own focusNextPrevChild refuses while Tab types a
        // tab, so the window's focus chain is asked directly.
        QWidget::focusNextPrevChild(!backwards);
        return;
    }
    QPlainTextEdit::keyPressEvent(event);
}

void MappingTextEditor::resizeEvent(QResizeEvent* event) {
    QPlainTextEdit::resizeEvent(event);
    fitGutter();
}

int MappingTextEditor::gutterWidth() const {
    // Two digits at least, so the text does not shift as the tenth row is typed.
    int digits = std::max(2, static_cast<int>(QString::number(blockCount()).size()));
    return 6 + fontMetrics().horizontalAdvance(QLatin1Char('9')) * digits + 10;
}

void MappingTextEditor::fitGutter() {
    setViewportMargins(gutterWidth(), 0, 0, 0);
    QRect inside = contentsRect();
    gutter->setGeometry(inside.left(), inside.top(), gutterWidth(), inside.height());
}

void MappingTextEditor::paintGutter(QPaintEvent* event) {
    QPainter painter(gutter);
    painter.setFont(font());
    int right = gutter->width() - 10;
    int current = textCursor().blockNumber();
    int lineHeight = fontMetrics().height();
    QTextBlock block = firstVisibleBlock();
    qreal top = blockBoundingGeometry(block).translated(contentOffset()).top();
    while (block.isValid() && top <= event->rect().bottom()) {
        qreal height = blockBoundingRect(block).height();
        if (block.isVisible() && top + height >= event->rect().top()) {
            painter.setPen(block.blockNumber() == current ? Sheen::ink() : Sheen::secondary());
            painter.drawText(QRectF(0, top, right, lineHeight), Qt::AlignRight | Qt::AlignVCenter,
                             QString::number(block.blockNumber() + 1));
        }
        top += height;
        block = block.next();
    }
}
