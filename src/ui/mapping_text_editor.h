#pragma once

#include <QPlainTextEdit>

class AppModel;

// The spreadsheet as editable plain text: monospaced, wrapped to the width,
// nothing rich pasted in and nothing rewritten behind the user's back. Each
// edit goes to the model; text the model takes from elsewhere (paste, open,
// clear) replaces what is shown without coming back as an edit.
class MappingTextEditor : public QPlainTextEdit {
    Q_OBJECT
public:
    explicit MappingTextEditor(AppModel& model, QWidget* parent = nullptr);

protected:
    bool canInsertFromMimeData(const QMimeData* source) const override;
    void insertFromMimeData(const QMimeData* source) override;

private:
    void showModelText();

    AppModel& model;
    bool showingModelText = false;
};
