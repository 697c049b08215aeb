#pragma once

// The small pieces every part of the window's content builds with.

#include <QColor>
#include <QFont>
#include <QString>

class QFrame;
class QLabel;
class QPushButton;

namespace ContentParts {

QLabel* label(const QString& text, int pixelSize, QColor color, int weight = QFont::Normal);
QLabel* sectionLabel(const QString& text);
// A flat button that lines up with text, with a symbol when one is named.
QPushButton* plainButton(const QString& text, const QString& symbol = {});
// Navigation entries tell assistive technology which one is current.
void markSelected(QPushButton* entry, bool selected);
// A white rounded card.
QFrame* card();
// "1 file", "2 files".
QString countedFiles(qsizetype count);

} // namespace ContentParts
