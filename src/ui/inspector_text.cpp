#include "ui/inspector_text.h"

#include "ui/sheen.h"
#include "ui/symbols.h"

namespace InspectorText {
QLabel* label(const QString& text, int pixelSize, QFont::Weight weight, const QColor& color,
              QWidget* parent) {
    auto* label = new QLabel(text, parent);
    // Names and sentences from the model are shown as written, never as markup.
    label->setTextFormat(Qt::PlainText);
    QFont font = label->font();
    font.setPixelSize(pixelSize);
    font.setWeight(weight);
    label->setFont(font);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, color);
    label->setPalette(palette);
    return label;
}

QLabel* body(const QString& text, QWidget* parent) {
    QLabel* result = label(text, 13, QFont::Normal, Sheen::ink(), parent);
    result->setWordWrap(true);
    return result;
}

QLabel* note(const QString& text, QWidget* parent) {
    QLabel* result = label(text, 12, QFont::Normal, Sheen::secondary(), parent);
    result->setWordWrap(true);
    return result;
}

QLabel* section(const QString& text, QWidget* parent) {
    QLabel* result = label(text, 11, QFont::DemiBold, Sheen::secondary(), parent);
    QFont font = result->font();
    font.setLetterSpacing(QFont::PercentageSpacing, 104);
    result->setFont(font);
    return result;
}

QLabel* title(const QString& text, int pixelSize, QWidget* parent) {
    return label(text, pixelSize, QFont::DemiBold, Sheen::ink(), parent);
}

QLabel* symbol(const QString& name, int size, QWidget* parent) {
    auto* result = new QLabel(parent);
    result->setPixmap(Symbols::icon(name).pixmap(size, size));
    result->setFixedSize(size, size);
    return result;
}

QVBoxLayout* labelled(const QString& sectionTitle, QWidget* control) {
    auto* layout = new QVBoxLayout;
    layout->setSpacing(5);
    QLabel* label = section(sectionTitle);
    label->setBuddy(control);
    layout->addWidget(label);
    layout->addWidget(control);
    return layout;
}

QHBoxLayout* header(const QString& symbolName, const QString& titleText, QLabel* subtitle,
                    int titlePixelSize) {
    auto* layout = new QHBoxLayout;
    layout->setSpacing(10);
    auto* tile = new QLabel;
    int side = titlePixelSize + 19;
    tile->setFixedSize(side, side);
    tile->setAlignment(Qt::AlignCenter);
    tile->setPixmap(Symbols::icon(symbolName).pixmap(side / 2 + 2, side / 2 + 2));
    tile->setStyleSheet(QStringLiteral("background: %1; border-radius: %2px;")
                            .arg(Sheen::faint().name())
                            .arg(side / 4));
    layout->addWidget(tile, 0, Qt::AlignTop);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(1);
    texts->addWidget(title(titleText, titlePixelSize));
    if (subtitle)
        texts->addWidget(subtitle);
    layout->addLayout(texts, 1);
    return layout;
}

} // namespace InspectorText
