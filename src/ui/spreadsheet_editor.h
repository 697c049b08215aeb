#pragma once

#include <QDialog>

class AppModel;
class QComboBox;
class QLabel;
class QTextBrowser;
class MappingTextEditor;

// The sheet where the spreadsheet is pasted, opened, typed and checked. The
// window shows it while the model's `showMappingEditor` is set and hides it
// when that clears; closing it in any way (Done, Escape, the window's close
// button) clears the flag. Wholly unavailable while the model is busy or
// asking for folder access. Choosing an issue that names a row takes the
// cursor to that line of the text.
class SpreadsheetEditor : public QDialog {
    Q_OBJECT
public:
    explicit SpreadsheetEditor(AppModel& model, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void showFormat();
    void showDiagnostics();
    void showDiagnosticList();
    void showAvailability();

    AppModel& model;
    QComboBox* format;
    MappingTextEditor* text;
    QLabel* headingSymbol;
    QLabel* heading;
    QLabel* panelBody;
    QTextBrowser* diagnosticList;
};
