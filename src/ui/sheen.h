#pragma once

#include <QColor>
#include <QLinearGradient>
#include <QPalette>
#include <QPushButton>

// The window's palette: ink text on a warm canvas, violet and coral accents.
namespace Sheen {

QColor ink();
QColor violet();
QColor coral();
QColor canvas();
QColor faint();
QColor border();
QColor secondary();
QLinearGradient gradient(const QRectF& area);

// A light palette whatever the desktop's theme.
QPalette lightPalette();

} // namespace Sheen

// The app's button: 13-point semibold; a prominent one is white on the
// violet-to-coral gradient. Drawn at 45% opacity when unavailable and 72%
// while pressed.
class SheenButton : public QPushButton {
    Q_OBJECT
public:
    explicit SheenButton(const QString& text, bool prominent = false, QWidget* parent = nullptr);

    bool prominent() const { return isProminent; }

protected:
    void paintEvent(QPaintEvent* event) override;
    QSize sizeHint() const override;

private:
    bool isProminent;
};
