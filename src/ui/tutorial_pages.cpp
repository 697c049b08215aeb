#include "ui/tutorial_view.h"

#include "ui/tutorial_parts.h"

#include "app/app_model.h"
#include "ui/sheen.h"

#include <QButtonGroup>
#include <QFontDatabase>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

using namespace TutorialParts;

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
    layout->addWidget(loopIllustration());
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
