#include "ui/tutorial_view.h"

#include "ui/help_pages.h"

#include "app/app_model.h"
#include "app/settings_store.h"
#include "app/url_opener.h"
#include "ui/file_glyph.h"
#include "ui/sheen.h"
#include "ui/symbols.h"

#include <QButtonGroup>
#include <QFileInfo>
#include <QFontDatabase>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace {

constexpr int stepCount = 4;

QString css(const QColor& color) {
    return color.name(QColor::HexArgb);
}

QLabel* label(const QString& text, qreal points, QFont::Weight weight, const QColor& color,
              bool wraps = false) {
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
QLabel* caption(const QString& text, const QColor& color = Sheen::secondary()) {
    QLabel* caption = label(text, 7.5, QFont::Bold, color);
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

namespace TutorialParts {

// One capsule per step; the current one is longer and in the accent gradient.
class StepIndicator : public QWidget {
public:
    StepIndicator() { setFixedSize(4 * 18 + 3 * 6 + 14, 6); }

    void setCurrent(int index) {
        current = index;
        setAccessibleName(QStringLiteral("Tutorial step ") + QString::number(index + 1) +
                          QStringLiteral(" of ") + QString::number(stepCount));
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override {
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

private:
    int current = 0;
};

// The two-column list of original and new names, one row per sample.
class NamePairs : public QFrame {
public:
    NamePairs() {
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
            glyph->setPixmap(
                FileGlyph::icon(QFileInfo(samples[index]).suffix()).pixmap(QSize(15, 17)));
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

    void setNewNames(const QStringList& names) {
        for (qsizetype index = 0; index < newNames.size(); ++index)
            newNames[index]->setText(names.value(index));
    }

private:
    QList<QLabel*> newNames;
};

} // namespace TutorialParts

using TutorialParts::NamePairs;
using TutorialParts::StepIndicator;

TutorialView::TutorialView(AppModel& model, SettingsStore& settings, UrlOpener& urls,
                           QWidget* parent)
    : QDialog(parent), model(model), settings(settings), urls(urls) {
    setWindowTitle(QStringLiteral("A quick tour of Tessary"));
    setWindowModality(Qt::WindowModal);
    setFixedSize(640, 500);
    setPalette(Sheen::lightPalette());
    setAutoFillBackground(true);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 20, 24, 16);
    layout->setSpacing(12);
    layout->addWidget(makeHeader());
    indicator = new StepIndicator;
    layout->addWidget(indicator);

    pages = new QStackedWidget;
    pages->addWidget(makeWelcome());
    pages->addWidget(makePreview());
    pages->addWidget(makeUndo());
    pages->addWidget(makeFinish());
    layout->addWidget(pages, 1);

    auto* rule = new QFrame;
    rule->setFrameShape(QFrame::HLine);
    rule->setFixedHeight(1);
    rule->setStyleSheet(QStringLiteral("background: %1; border: none;").arg(css(Sheen::border())));
    layout->addWidget(rule);
    layout->addWidget(makeFooter());
    // Only once the button is inside the dialog does it become the dialog's
    // own default, which Return keeps reaching after other buttons had focus.
    primaryButton->setDefault(true);

    // The window may clear `showTutorial` itself; the sheet goes with it.
    connect(&model, &AppModel::showTutorialChanged, this, [this] {
        if (!this->model.showTutorial() && isVisible())
            reject();
    });
    showState();
}

QUrl TutorialView::userGuide() {
    return HelpPages::url(HelpPages::Page::guide);
}

QWidget* TutorialView::makeHeader() {
    auto* header = new QWidget;
    auto* layout = new QHBoxLayout(header);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);

    auto* badge = new QLabel;
    badge->setObjectName(QStringLiteral("sparkles"));
    badge->setFixedSize(40, 40);
    badge->setAlignment(Qt::AlignCenter);
    badge->setPixmap(sparkles(22));
    badge->setStyleSheet(QStringLiteral("#sparkles { background: %1; border-radius: 10px; }")
                             .arg(css(Sheen::faint())));
    layout->addWidget(badge);

    auto* titles = new QVBoxLayout;
    titles->setSpacing(2);
    titles->addWidget(caption(QStringLiteral("SAFE PRACTICE · ABOUT A MINUTE"), Sheen::violet()));
    titles->addWidget(
        label(QStringLiteral("A quick tour of Tessary"), 14, QFont::Bold, Sheen::ink()));
    layout->addLayout(titles, 1);

    auto* skip = plainButton(new SheenButton(QStringLiteral("Skip tutorial")));
    skip->setShortcut(QKeySequence(Qt::Key_Escape));
    connect(skip, &QPushButton::clicked, this, &QDialog::reject);
    layout->addWidget(skip, 0, Qt::AlignTop);
    return header;
}

QWidget* TutorialView::makeWelcome() {
    auto* page = new QWidget;
    QVBoxLayout* layout = pageLayout(
        page, QStringLiteral("Your first rename, without the worry."),
        QStringLiteral("Try three sample files. See how a naming style works, confirm a rename, "
                       "then undo it. Your own files and previous undo batch stay untouched."));
    layout->addSpacing(6);
    layout->addWidget(new LoopIllustration);
    layout->addStretch(1);
    return page;
}

QWidget* TutorialView::makePreview() {
    auto* page = new QWidget;
    QVBoxLayout* layout = pageLayout(
        page, QStringLiteral("See the new names first."),
        QStringLiteral(
            "Try either method below. Check every original and proposed name before continuing."));

    auto* methodRow = new QHBoxLayout;
    methodRow->setSpacing(10);
    QLabel* methodLabel = label(QStringLiteral("Naming method"), 10, QFont::DemiBold, Sheen::ink());
    methodRow->addWidget(methodLabel);
    auto* segments = new QFrame;
    segments->setObjectName(QStringLiteral("segments"));
    segments->setAccessibleName(QStringLiteral("Naming method"));
    segments->setStyleSheet(
        QStringLiteral("#segments { background: %1; border-radius: 8px; }"
                       // One weight for both states, so a chosen label never
                       // outgrows the button sized for it.
                       "#segments QPushButton { border: none; border-radius: 6px; padding: 4px "
                       "14px; color: %2; background: transparent; font-weight: 600; }"
                       "#segments QPushButton:checked { background: white; color: %3; }")
            .arg(css(Sheen::faint()), css(Sheen::ink()), css(Sheen::violet())));
    auto* segmentLayout = new QHBoxLayout(segments);
    segmentLayout->setContentsMargins(2, 2, 2, 2);
    segmentLayout->setSpacing(2);
    auto* group = new QButtonGroup(segments);
    rulesChoice = plainButton(new QPushButton(QStringLiteral("Naming rules")));
    spreadsheetChoice = plainButton(new QPushButton(QStringLiteral("Spreadsheet")));
    for (QPushButton* choice : {rulesChoice, spreadsheetChoice}) {
        choice->setCheckable(true);
        choice->setCursor(Qt::PointingHandCursor);
        group->addButton(choice);
        segmentLayout->addWidget(choice);
    }
    connect(rulesChoice, &QPushButton::clicked, this, [this] { setMethod(RenameMode::rules); });
    connect(spreadsheetChoice, &QPushButton::clicked, this,
            [this] { setMethod(RenameMode::spreadsheet); });
    methodRow->addWidget(segments);
    methodRow->addStretch(1);
    layout->addLayout(methodRow);

    rulesPanel = new QWidget;
    auto* rules = new QVBoxLayout(rulesPanel);
    rules->setContentsMargins(0, 0, 0, 0);
    rules->setSpacing(6);
    rules->addWidget(
        label(QStringLiteral("Client handoff recipe · lowercase · hyphens · 001 sequence"), 9.5,
              QFont::Normal, Sheen::secondary()));
    auto* fieldRow = new QHBoxLayout;
    fieldRow->setSpacing(10);
    QLabel* fieldLabel = label(QStringLiteral("Project name"), 10, QFont::DemiBold, Sheen::ink());
    fieldRow->addWidget(fieldLabel);
    projectField = new QLineEdit(currentPractice.projectName);
    projectField->setAccessibleName(QStringLiteral("Sample project name"));
    projectField->setFixedWidth(240);
    fieldLabel->setBuddy(projectField);
    connect(projectField, &QLineEdit::textEdited, this, [this](const QString& text) {
        currentPractice.projectName = text;
        showState();
    });
    fieldRow->addWidget(projectField);
    fieldRow->addStretch(1);
    rules->addLayout(fieldRow);
    layout->addWidget(rulesPanel);

    spreadsheetPanel = new QWidget;
    auto* spreadsheet = new QVBoxLayout(spreadsheetPanel);
    spreadsheet->setContentsMargins(0, 0, 0, 0);
    spreadsheet->setSpacing(6);
    spreadsheet->addWidget(label(QStringLiteral("Paste old and new filenames, or open CSV / TSV. "
                                                "Include extensions. Rows can be in any order."),
                                 9.5, QFont::Normal, Sheen::secondary(), true));
    QLabel* sample = label(TutorialPractice::spreadsheetSample(), 9, QFont::Normal, Sheen::ink());
    QFont mono = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    mono.setPointSizeF(9);
    sample->setFont(mono);
    sample->setObjectName(QStringLiteral("spreadsheetSample"));
    sample->setTextInteractionFlags(Qt::TextSelectableByMouse);
    sample->setStyleSheet(
        QStringLiteral("#spreadsheetSample { background: white; border: 1px solid "
                       "%1; border-radius: 8px; padding: 6px 10px; }")
            .arg(css(Sheen::border())));
    spreadsheet->addWidget(sample);
    layout->addWidget(spreadsheetPanel);

    auto* status = new QHBoxLayout;
    status->setSpacing(6);
    statusSymbol = new QLabel;
    statusSymbol->setFixedSize(16, 16);
    status->addWidget(statusSymbol);
    statusText = label(QString(), 10, QFont::DemiBold, Sheen::ink());
    status->addWidget(statusText, 1);
    layout->addLayout(status);

    previewPairs = new NamePairs;
    layout->addWidget(previewPairs);
    layout->addStretch(1);
    return page;
}

QWidget* TutorialView::makeUndo() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    auto* intro = new QVBoxLayout;
    intro->setSpacing(4);
    undoHeading = heading(QString());
    undoText = body(QString());
    intro->addWidget(undoHeading);
    intro->addWidget(undoText);
    layout->addLayout(intro);
    undoPairs = new NamePairs;
    layout->addWidget(undoPairs);

    auto* note = new QFrame;
    note->setObjectName(QStringLiteral("undoNote"));
    note->setStyleSheet(QStringLiteral("#undoNote { background: %1; border-radius: 10px; }")
                            .arg(css(Sheen::faint())));
    auto* noteLayout = new QHBoxLayout(note);
    noteLayout->setContentsMargins(12, 10, 12, 10);
    noteLayout->setSpacing(8);
    noteLayout->addWidget(symbol(QStringLiteral("info.circle"), 16), 0, Qt::AlignTop);
    noteLayout->addWidget(label(QStringLiteral("Undo covers the last batch. A new rename replaces "
                                               "it. Keep files in place until you’re happy with "
                                               "their names."),
                                9.5, QFont::Normal, Sheen::ink(), true),
                          1);
    layout->addWidget(note);
    layout->addStretch(1);
    return page;
}

QWidget* TutorialView::makeFinish() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(12);
    layout->addWidget(heading(QStringLiteral("Ready for your own files.")));

    const std::pair<QString, QString> steps[] = {
        {QStringLiteral("Add files or a folder"),
         QStringLiteral(
             "Drop them into the window or click Add files. A folder adds its immediate "
             "files. If asked, select the indicated containing folder to allow access.")},
        {QStringLiteral("Choose rules or a spreadsheet"),
         QStringLiteral("Use Client handoff for a consistent naming style. If you already have old "
                        "and new names, choose Spreadsheet and paste two columns from Excel or "
                        "Numbers.")},
        {QStringLiteral("Check, confirm, and keep a receipt"),
         QStringLiteral("Resolve every warning before Rename. Names change in their current "
                        "folders. Export can save a preview or the last completed rename "
                        "receipt.")},
    };
    int number = 0;
    for (const auto& [title, detail] : steps) {
        auto* row = new QHBoxLayout;
        row->setSpacing(12);
        QLabel* badge = label(QString::number(++number), 10, QFont::Bold, Qt::white);
        badge->setObjectName(QStringLiteral("stepNumber"));
        badge->setFixedSize(24, 24);
        badge->setAlignment(Qt::AlignCenter);
        badge->setStyleSheet(
            QStringLiteral("#stepNumber { background: qlineargradient(x1:0, y1:0, x2:1, y2:1, "
                           "stop:0 %1, stop:1 %2); border-radius: 12px; color: white; }")
                .arg(css(Sheen::violet()), css(Sheen::coral())));
        row->addWidget(badge, 0, Qt::AlignTop);
        auto* texts = new QVBoxLayout;
        texts->setSpacing(2);
        texts->addWidget(label(title, 10.5, QFont::DemiBold, Sheen::ink()));
        texts->addWidget(body(detail));
        row->addLayout(texts, 1);
        layout->addLayout(row);
    }

    layout->addSpacing(4);
    auto* replay = new QHBoxLayout;
    replay->setSpacing(12);
    replay->addWidget(label(QStringLiteral("Replay anytime from Help → Quick Tutorial."), 10,
                            QFont::Normal, Sheen::secondary()));
    auto* guide = plainButton(new QPushButton(QStringLiteral("Full guide ↗")));
    guide->setObjectName(QStringLiteral("guideLink"));
    guide->setCursor(Qt::PointingHandCursor);
    guide->setFlat(true);
    guide->setStyleSheet(QStringLiteral("#guideLink { border: none; padding: 0; color: %1; "
                                        "font-weight: 600; }")
                             .arg(css(Sheen::violet())));
    connect(guide, &QPushButton::clicked, this, [this] { model.openPage(userGuide()); });
    replay->addWidget(guide);
    replay->addStretch(1);
    layout->addLayout(replay);
    layout->addStretch(1);
    return page;
}

QWidget* TutorialView::makeFooter() {
    auto* footer = new QWidget;
    auto* layout = new QHBoxLayout(footer);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    auto* lock = new QLabel;
    lock->setPixmap(lockShield(14));
    layout->addWidget(lock);
    layout->addWidget(
        label(QStringLiteral("Sample names only"), 9.5, QFont::Normal, Sheen::secondary()));
    layout->addStretch(1);
    backButton = plainButton(new SheenButton(QStringLiteral("Back")));
    connect(backButton, &QPushButton::clicked, this, &TutorialView::goBack);
    layout->addWidget(backButton);
    primaryButton = new SheenButton(actionTitle(), true);
    primaryButton->setMinimumWidth(150);
    connect(primaryButton, &QPushButton::clicked, this, &TutorialView::advance);
    layout->addWidget(primaryButton);
    return footer;
}

QString TutorialView::actionTitle() const {
    switch (currentStep) {
    case Step::welcome:
        return QStringLiteral("Try sample files");
    case Step::preview:
        return QStringLiteral("Rename sample files");
    case Step::undo:
        return currentPractice.renamedNames ? QStringLiteral("Undo sample rename")
                                            : QStringLiteral("Continue");
    case Step::finish:
        return QStringLiteral("Start using Tessary");
    }
    return {};
}

void TutorialView::advance() {
    switch (currentStep) {
    case Step::welcome:
        setStep(Step::preview);
        return;
    case Step::preview:
        if (askToRenameSamples())
            confirmSampleRename();
        return;
    case Step::undo:
        if (currentPractice.renamedNames) {
            currentPractice.renamedNames.reset();
            showState();
            return;
        }
        setStep(Step::finish);
        return;
    case Step::finish:
        accept();
        return;
    }
}

void TutorialView::goBack() {
    if (currentStep == Step::undo)
        currentPractice.renamedNames.reset();
    if (currentStep == Step::welcome) {
        showState();
        return;
    }
    setStep(Step(int(currentStep) - 1));
}

void TutorialView::confirmSampleRename() {
    if (currentPractice.renamedNames || currentPractice.problem())
        return;
    currentPractice.renamedNames = currentPractice.proposedNames();
    setStep(Step::undo);
}

void TutorialView::done(int result) {
    // Hidden first, so the model's change below finds the sheet already gone.
    QDialog::done(result);
    settings.setFlag(QStringLiteral("hasSeenTutorial"), true);
    model.setShowTutorial(false);
}

bool TutorialView::askToRenameSamples() {
    QMessageBox alert(this);
    alert.setWindowTitle(QStringLiteral("Rename these 3 sample files?"));
    alert.setTextFormat(Qt::PlainText);
    alert.setText(QStringLiteral("Rename these 3 sample files?"));
    alert.setInformativeText(
        QStringLiteral("This practice changes sample names on screen only. For your own files, "
                       "the confirmation applies the names in their current folders. Contents and "
                       "extensions stay the same."));
    QPushButton* rename =
        alert.addButton(QStringLiteral("Rename samples"), QMessageBox::AcceptRole);
    alert.addButton(QStringLiteral("Cancel"), QMessageBox::RejectRole);
    alert.setDefaultButton(rename);
    // Wide enough that the message reads in a few lines rather than a column.
    alert.setStyleSheet(QStringLiteral("QLabel { min-width: 340px; } #qt_msgbox_label { "
                                       "font-weight: bold; }"));
    alert.exec();
    return alert.clickedButton() == rename;
}

void TutorialView::setStep(Step step) {
    currentStep = step;
    showState();
}

void TutorialView::setMethod(RenameMode method) {
    currentPractice.method = method;
    showState();
}

void TutorialView::showState() {
    const int index = int(currentStep);
    indicator->setCurrent(index);
    pages->setCurrentIndex(index);

    const bool rules = currentPractice.method == RenameMode::rules;
    rulesChoice->setChecked(rules);
    spreadsheetChoice->setChecked(!rules);
    rulesPanel->setVisible(rules);
    spreadsheetPanel->setVisible(!rules);
    const std::optional<QString> problem = currentPractice.problem();
    statusSymbol->setPixmap(Symbols::icon(problem ? QStringLiteral("exclamationmark.circle.fill")
                                                  : QStringLiteral("checkmark.circle.fill"))
                                .pixmap(16, 16));
    statusText->setText(problem.value_or(QStringLiteral("3 ready · extensions stay the same")));
    previewPairs->setNewNames(currentPractice.proposedNames());

    const bool renamed = currentPractice.renamedNames.has_value();
    undoHeading->setText(renamed ? QStringLiteral("A fresh set of names.")
                                 : QStringLiteral("Back to the originals."));
    undoText->setText(renamed
                          ? QStringLiteral("Now try Undo last batch. In the app, it restores the "
                                           "most recent rename, even after you close and reopen "
                                           "Tessary.")
                          : QStringLiteral("That’s the whole loop: preview, confirm, and undo "
                                           "when you need to. This practice has not changed any "
                                           "files on disk."));
    undoPairs->setVisible(renamed);
    if (renamed)
        undoPairs->setNewNames(*currentPractice.renamedNames);

    backButton->setVisible(currentStep != Step::welcome);
    primaryButton->setText(actionTitle());
    primaryButton->setEnabled(!(currentStep == Step::preview && problem));
}
