#pragma once

#include <QObject>

// Return and Enter press the focused push or tool button, as they do in a
// dialog: outside one, Qt leaves buttons to the space bar, and a person
// moving through the window by Tab expects Return to act.
class ReturnPressesButtons : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};
