#pragma once

#include <QPlainTextEdit>

class AppModel;

// The spreadsheet as editable plain text: monospaced, wrapped to the width,
// nothing rich pasted in and nothing rewritten behind the user's back. Each
// edit goes to the model; text the model takes from elsewhere (paste, open,
// clear) replaces what is shown without coming back as an edit. Its gutter
// numbers the lines as the spreadsheet's issues number their rows.
class MappingTextEditor : public QPlainTextEdit {
    Q_OBJECT
public:
    explicit MappingTextEditor(AppModel& model, QWidget* parent = nullptr);

    // Puts the cursor at the start of `line` (counted from 1), in view, and
    // takes the focus.
    void goToLine(qsizetype line);

protected:
    bool canInsertFromMimeData(const QMimeData* source) const override;
    void insertFromMimeData(const QMimeData* source) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    class Gutter;

    void showModelText();
    int gutterWidth() const;
    void fitGutter();
    void paintGutter(QPaintEvent* event);

    AppModel& model;
    Gutter* gutter;
    bool showingModelText = false;
};
