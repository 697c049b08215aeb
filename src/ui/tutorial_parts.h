#pragma once

// What the tutorial's pages are built from: text in the sheet's type scale,
// the pictures it draws itself, the step indicator and the lists of names.

#include <QColor>
#include <QFont>
#include <QFrame>
#include <QList>
#include <QPixmap>
#include <QString>
#include <QWidget>

class QLabel;
class QPushButton;
class QVBoxLayout;

namespace TutorialParts {

inline constexpr int stepCount = 4;

// A colour as a style sheet writes it.
QString css(const QColor& color);

QLabel* label(const QString& text, qreal points, QFont::Weight weight, const QColor& color,
              bool wraps = false);
QLabel* heading(const QString& text);
QLabel* body(const QString& text);
// Small capitals in the manner of the app's column headers; secondary ink
// unless a colour is given.
QLabel* caption(const QString& text, const QColor& color = {});
QLabel* symbol(const QString& name, int size);

// The header's sparkles, drawn in the accent gradient: the icon themes have no
// sparkles, and a stand-in glyph would clash with the accent colours.
QPixmap sparkles(int size);
// The footer's lock and shield; the style's stand-in for it exists only on
// Windows, so without a themed icon the sheet draws its own.
QPixmap lockShield(int size);

// A page's stack of content, with the heading and its text on top.
QVBoxLayout* pageLayout(QWidget* page, const QString& title, const QString& text);
// A button that leaves Return to the primary one.
QPushButton* plainButton(QPushButton* button);

// The welcome step's picture of the loop.
QWidget* loopIllustration();

// One capsule per step; the current one is longer and in the accent gradient.
class StepIndicator : public QWidget {
public:
    StepIndicator();
    void setCurrent(int index);

protected:
    void paintEvent(QPaintEvent*) override;

private:
    int current = 0;
};

// The two-column list of original and new names, one row per sample.
class NamePairs : public QFrame {
public:
    NamePairs();
    void setNewNames(const QStringList& names);

private:
    QList<QLabel*> newNames;
};

} // namespace TutorialParts
