#include "ui/tutorial_parts.h"

#include "ui/file_glyph.h"
#include "ui/sheen.h"
#include "ui/symbols.h"
#include "ui/tutorial_practice.h"

#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QVBoxLayout>

namespace TutorialParts {

namespace {

// The welcome step's picture of the loop: a sample goes through Preview and
// Confirm, and an arrow leads back for the undo.
class LoopIllustration : public QWidget {
public:
    LoopIllustration() { setFixedHeight(170); }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QRectF card = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
        painter.setPen(QPen(Sheen::border(), 1));
        painter.setBrush(Sheen::faint());
        painter.drawRoundedRect(card, 12, 12);

        QFont badgeFont = font();
        badgeFont.setPointSizeF(7.5);
        badgeFont.setWeight(QFont::Bold);
        badgeFont.setLetterSpacing(QFont::AbsoluteSpacing, 0.6);
        painter.setFont(badgeFont);
        const QString sample = QStringLiteral("SAMPLE");
        QRectF badge(14, 12, QFontMetricsF(badgeFont).horizontalAdvance(sample) + 16, 20);
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::white);
        painter.drawRoundedRect(badge, 10, 10);
        painter.setPen(Sheen::violet());
        painter.drawText(badge, Qt::AlignCenter, sample);

        QFont stageFont = font();
        stageFont.setPointSizeF(10.5);
        stageFont.setWeight(QFont::DemiBold);
        painter.setFont(stageFont);
        const QSizeF stage(124, 38);
        const qreal middle = width() / 2.0;
        const qreal top = 50;
        QRectF preview(QPointF(middle - 52 - stage.width(), top), stage);
        QRectF confirm(QPointF(middle + 52, top), stage);
        for (const auto& [area, text] : {std::pair{preview, QStringLiteral("Preview")},
                                         std::pair{confirm, QStringLiteral("Confirm")}}) {
            painter.setPen(QPen(Sheen::border(), 1));
            painter.setBrush(Qt::white);
            painter.drawRoundedRect(area, 10, 10);
            painter.setPen(Sheen::ink());
            painter.drawText(area, Qt::AlignCenter, text);
        }

        QPen arrowPen(QBrush(Sheen::gradient(QRectF(preview.topLeft(), confirm.bottomRight()))), 2,
                      Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
        painter.setPen(arrowPen);
        painter.setBrush(Qt::NoBrush);
        const qreal rowY = preview.center().y();
        QPointF from(preview.right() + 12, rowY);
        QPointF to(confirm.left() - 12, rowY);
        painter.drawLine(from, to);
        painter.drawPolyline(QPolygonF{to + QPointF(-6, -5), to, to + QPointF(-6, 5)});

        // Undo runs back underneath, from Confirm to Preview.
        QPointF start(confirm.center().x(), confirm.bottom() + 8);
        QPointF end(preview.center().x(), preview.bottom() + 8);
        QPainterPath back(start);
        back.cubicTo(start + QPointF(0, 50), end + QPointF(0, 50), end);
        painter.setPen(QPen(Sheen::coral(), 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPath(back);
        painter.drawPolyline(QPolygonF{end + QPointF(-5, 6), end, end + QPointF(5, 6)});
    }
};

} // namespace

QString css(const QColor& color) {
    return color.name(QColor::HexArgb);
}

QLabel* label(const QString& text, qreal points, QFont::Weight weight, const QColor& color,
              bool wraps) {
    auto* label = new QLabel(text);
    QFont font = label->font();
    font.setPointSizeF(points);
    font.setWeight(weight);
    label->setFont(font);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, color);
    label->setPalette(palette);
    label->setWordWrap(wraps);
    label->setTextFormat(Qt::PlainText);
    return label;
}

QLabel* heading(const QString& text) {
    return label(text, 15, QFont::Bold, Sheen::ink());
}

QLabel* body(const QString& text) {
    return label(text, 10, QFont::Normal, Sheen::secondary(), true);
}

// Small capitals in the manner of the app's column headers.
QLabel* caption(const QString& text, const QColor& color) {
    QLabel* caption = label(text, 7.5, QFont::Bold, color.isValid() ? color : Sheen::secondary());
    QFont font = caption->font();
    font.setLetterSpacing(QFont::AbsoluteSpacing, 0.6);
    caption->setFont(font);
    return caption;
}

QLabel* symbol(const QString& name, int size) {
    auto* symbol = new QLabel;
    symbol->setPixmap(Symbols::icon(name).pixmap(size, size));
    symbol->setFixedSize(size, size);
    return symbol;
}

// The header's sparkles, drawn in the accent gradient: the icon themes have no
// sparkles, and a stand-in glyph would clash with the accent colours.
QPixmap sparkles(int size) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    auto star = [](QPointF centre, qreal radius) {
        QPainterPath path(centre + QPointF(0, -radius));
        path.quadTo(centre, centre + QPointF(radius, 0));
        path.quadTo(centre, centre + QPointF(0, radius));
        path.quadTo(centre, centre + QPointF(-radius, 0));
        path.quadTo(centre, centre + QPointF(0, -radius));
        return path;
    };
    QPainterPath shape = star(QPointF(size * 0.42, size * 0.58), size * 0.42);
    shape.addPath(star(QPointF(size * 0.8, size * 0.2), size * 0.2));
    shape.addPath(star(QPointF(size * 0.82, size * 0.82), size * 0.13));
    painter.fillPath(shape, Sheen::gradient(QRectF(pixmap.rect())));
    return pixmap;
}

// The footer's lock and shield; the style's stand-in for it exists only on
// Windows, so without a themed icon the sheet draws its own.
QPixmap lockShield(int size) {
    QPixmap themed = Symbols::icon(QStringLiteral("lock.shield")).pixmap(size, size);
    if (!themed.isNull())
        return themed;
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal s = size;
    QPainterPath shield(QPointF(s / 2, 0.5));
    shield.lineTo(s - 1.5, s * 0.2);
    shield.cubicTo(QPointF(s - 1.5, s * 0.65), QPointF(s * 0.7, s * 0.85), QPointF(s / 2, s - 0.5));
    shield.cubicTo(QPointF(s * 0.3, s * 0.85), QPointF(1.5, s * 0.65), QPointF(1.5, s * 0.2));
    shield.closeSubpath();
    painter.fillPath(shield, Sheen::secondary());
    painter.setBrush(Qt::white);
    painter.setPen(Qt::NoPen);
    painter.drawRoundedRect(QRectF(s * 0.32, s * 0.45, s * 0.36, s * 0.27), 1, 1);
    painter.setPen(QPen(Qt::white, s * 0.08));
    painter.setBrush(Qt::NoBrush);
    painter.drawArc(QRectF(s * 0.38, s * 0.27, s * 0.24, s * 0.3), 0, 180 * 16);
    return pixmap;
}

// A page's stack of content, with the heading and its text on top.
QVBoxLayout* pageLayout(QWidget* page, const QString& title, const QString& text) {
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    auto* intro = new QVBoxLayout;
    intro->setSpacing(4);
    intro->addWidget(heading(title));
    intro->addWidget(body(text));
    layout->addLayout(intro);
    return layout;
}

QPushButton* plainButton(QPushButton* button) {
    // Return belongs to the primary button wherever the focus is.
    button->setAutoDefault(false);
    button->setDefault(false);
    return button;
}

QWidget* loopIllustration() {
    return new LoopIllustration;
}

StepIndicator::StepIndicator() {
    setFixedSize(4 * 18 + 3 * 6 + 14, 6);
}

void StepIndicator::setCurrent(int index) {
    current = index;
    setAccessibleName(QStringLiteral("Tutorial step ") + QString::number(index + 1) +
                      QStringLiteral(" of ") + QString::number(stepCount));
    update();
}

void StepIndicator::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    qreal left = 0;
    for (int index = 0; index < stepCount; ++index) {
        QRectF capsule(left, 0, index == current ? 32 : 18, height());
        if (index == current)
            painter.setBrush(Sheen::gradient(capsule));
        else
            painter.setBrush(index < current ? QColor(Sheen::violet().lighter(160))
                                             : QColor(0, 0, 0, 28));
        painter.drawRoundedRect(capsule, height() / 2.0, height() / 2.0);
        left = capsule.right() + 6;
    }
}

NamePairs::NamePairs() {
    setObjectName(QStringLiteral("namePairs"));
    setStyleSheet(QStringLiteral("#namePairs { background: white; border: 1px solid %1; "
                                 "border-radius: 10px; }")
                      .arg(css(Sheen::border())));
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(12, 8, 12, 8);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(5);
    grid->addWidget(caption(QStringLiteral("ORIGINAL NAME")), 0, 0, 1, 2);
    grid->addWidget(caption(QStringLiteral("NEW NAME")), 0, 3);
    const QStringList samples = TutorialPractice::sampleNames();
    for (qsizetype index = 0; index < samples.size(); ++index) {
        const int row = int(index) + 1;
        auto* glyph = new QLabel;
        glyph->setPixmap(FileGlyph::icon(QFileInfo(samples[index]).suffix()).pixmap(QSize(15, 17)));
        grid->addWidget(glyph, row, 0);
        QLabel* original = label(samples[index], 10, QFont::Normal, Sheen::ink());
        grid->addWidget(original, row, 1);
        grid->addWidget(symbol(QStringLiteral("arrow.right"), 14), row, 2);
        QLabel* proposed = label(QString(), 10, QFont::DemiBold, Sheen::violet());
        grid->addWidget(proposed, row, 3);
        newNames.append(proposed);
    }
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);
}

void NamePairs::setNewNames(const QStringList& names) {
    for (qsizetype index = 0; index < newNames.size(); ++index)
        newNames[index]->setText(names.value(index));
}

} // namespace TutorialParts
