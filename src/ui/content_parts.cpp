#include "ui/content_parts.h"

#include "ui/inspector_text.h"
#include "ui/sheen.h"
#include "ui/symbols.h"

#include <QFrame>
#include <QLabel>
#include <QPushButton>

namespace ContentParts {

QLabel* label(const QString& text, int pixelSize, QColor color, int weight) {
    return InspectorText::label(text, pixelSize, QFont::Weight(weight), color);
}

QLabel* sectionLabel(const QString& text) {
    return label(text, 11, Sheen::secondary(), QFont::DemiBold);
}

QPushButton* plainButton(const QString& text, const QString& symbol) {
    auto* button = new QPushButton(text);
    button->setFlat(true);
    button->setCursor(Qt::PointingHandCursor);
    if (!symbol.isEmpty())
        button->setIcon(Symbols::icon(symbol));
    button->setStyleSheet(
        QStringLiteral("QPushButton { text-align: left; padding: 4px 8px; border: "
                       "none; border-radius: 6px; color: #24212e; }"
                       "QPushButton:hover { background: rgba(113,73,216,20); }"
                       "QPushButton:checked { background: #efeaf9; font-weight: 600; }"
                       "QPushButton:disabled { color: #a09aa8; }"));
    return button;
}

void markSelected(QPushButton* entry, bool selected) {
    entry->setCheckable(true);
    entry->setChecked(selected);
    entry->setAccessibleDescription(selected ? QStringLiteral("Selected") : QString());
}

QFrame* card() {
    auto* frame = new QFrame;
    frame->setObjectName(QStringLiteral("card"));
    frame->setStyleSheet(QStringLiteral(
        "#card { background: white; border: 1px solid rgba(0,0,0,19); border-radius: 12px; }"));
    return frame;
}

QString countedFiles(qsizetype count) {
    return QString::number(count) +
           (count == 1 ? QStringLiteral(" file") : QStringLiteral(" files"));
}

} // namespace ContentParts
