#pragma once

#include "core/naming/rename_rules.h"

#include <QList>
#include <QWidget>

class QLineEdit;
class QVBoxLayout;

// The find and replace steps after the first, a row each, with a button
// that removes its row. Rows are made and removed only when the number of
// steps changes, so the field being typed in keeps its cursor.
class ReplacementSteps : public QWidget {
    Q_OBJECT
public:
    ReplacementSteps(int fieldHeight, QWidget* parent = nullptr);

    void showSteps(const QList<Replacement>& steps);
    // Puts the cursor in the find field of the last step.
    void focusLast();

signals:
    // Every step as the user left it; a removed step is gone from the list.
    void edited(const QList<Replacement>& steps);

private:
    struct Row {
        QWidget* widget;
        QLineEdit* find;
        QLineEdit* replacement;
    };

    void addRow();

    int fieldHeight;
    QVBoxLayout* layout;
    QList<Row> rows;
    QList<Replacement> steps;
};
