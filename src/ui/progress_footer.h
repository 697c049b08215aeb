#pragma once

#include "app/app_model.h"

#include <QWidget>

class QLabel;
class QProgressBar;

// The footer's account of a long import, rename, undo or recovery, or of
// reading the dates of added files: what is
// happening, "N of M" files and a bar. Shown only while the model reports
// progress; a bar without a count moves to and fro until the total is known.
class ProgressFooter : public QWidget {
    Q_OBJECT
public:
    explicit ProgressFooter(AppModel& model, QWidget* parent = nullptr);

    QSize sizeHint() const override;

private:
    void refresh();

    AppModel& model;
    QLabel* text = nullptr;
    QProgressBar* bar = nullptr;
};
