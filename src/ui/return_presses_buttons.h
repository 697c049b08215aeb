#pragma once

#include <QObject>

class QWidget;

// Return and Enter press the focused push or tool button of `window`, as
// they do a dialog's default button: Qt leaves other buttons to the space
// bar, and a person moving through the window by Tab expects Return to act.
// Watches the application from its creation until `window`, its parent, goes.
class ReturnPressesButtons : public QObject {
    Q_OBJECT
public:
    explicit ReturnPressesButtons(QWidget* window);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* window;
};
