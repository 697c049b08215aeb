#include "ui/return_presses_buttons.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPushButton>
#include <QToolButton>

ReturnPressesButtons::ReturnPressesButtons(QWidget* window) : QObject(window), window(window) {
    QCoreApplication::instance()->installEventFilter(this);
}

bool ReturnPressesButtons::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress || watched != QApplication::focusWidget())
        return false;
    const auto* key = static_cast<QKeyEvent*>(event);
    if ((key->key() != Qt::Key_Return && key->key() != Qt::Key_Enter) ||
        (key->modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier)
        return false;
    auto* button = qobject_cast<QAbstractButton*>(watched);
    // Each window answers for its own buttons, so that a dialog over the
    // window and the window never both press.
    if (!button || button->window() != window || !button->isEnabled() ||
        !(qobject_cast<QPushButton*>(button) || qobject_cast<QToolButton*>(button)))
        return false;
    button->click();
    return true;
}
