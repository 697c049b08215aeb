#pragma once

#include <QWidget>

class AppModel;
class QCheckBox;
class QFrame;
class QToolButton;

// The "Check Windows filenames" check box bound to the model, with an
// information button whose popover says what the check covers. Both
// inspectors show it.
class WindowsCheckControl : public QWidget {
    Q_OBJECT
public:
    explicit WindowsCheckControl(AppModel& model, QWidget* parent = nullptr);

    // Opens the popover below the information button.
    void showHelp();

private:
    AppModel& model;
    QCheckBox* check;
    QToolButton* info;
    QFrame* help;
};
