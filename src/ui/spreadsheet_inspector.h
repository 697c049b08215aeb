#pragma once

#include "ui/inspector_card.h"

class AppModel;
class QLabel;
class QPushButton;
class SheenButton;

// The card beside the preview in spreadsheet mode: how many mappings the list
// holds against how many files, whether anything is left to resolve, and the
// way into the spreadsheet editor.
class SpreadsheetInspector : public InspectorCard {
    Q_OBJECT
public:
    explicit SpreadsheetInspector(AppModel& model, QWidget* parent = nullptr);

private:
    void showStatus();

    AppModel& model;
    QLabel* status;
    QPushButton* review;
    QWidget* allMatched;
    SheenButton* edit;
};
