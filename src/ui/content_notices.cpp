#include "ui/content_view.h"

#include "ui/content_parts.h"

#include "ui/progress_footer.h"
#include "ui/rename_action.h"
#include "ui/sheen.h"
#include "ui/symbols.h"

#include <QHBoxLayout>
#include <QKeySequence>
#include <QLabel>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QStackedWidget>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>

using namespace ContentParts;

QWidget* ContentView::makeBanner() {
    banner = new QFrame;
    banner->setObjectName(QStringLiteral("banner"));
    banner->setStyleSheet(QStringLiteral("#banner { background: #fff3ef; border: 1px solid "
                                         "#f6c3b6; border-radius: 12px; }"));
    auto* outer = new QVBoxLayout(banner);
    outer->setContentsMargins(14, 10, 14, 10);
    auto* layout = new QHBoxLayout;
    auto* icon = new QLabel;
    icon->setPixmap(
        Symbols::icon(QStringLiteral("arrow.uturn.backward.circle.fill")).pixmap(22, 22));
    layout->addWidget(icon);
    auto* texts = new QVBoxLayout;
    QLabel* headline = label(QStringLiteral("An interrupted batch needs recovery"), 14,
                             Sheen::ink(), QFont::DemiBold);
    // At the window's smallest size the buttons leave the texts little room.
    headline->setWordWrap(true);
    texts->addWidget(headline);
    QLabel* advice = label(QStringLiteral("Keep .tessary files in place. Reconnect any external "
                                          "volumes before continuing."),
                           12, Sheen::secondary());
    advice->setWordWrap(true);
    texts->addWidget(advice);
    layout->addLayout(texts, 1);
    auto* journal = new SheenButton(QStringLiteral("Show journal"));
    connect(journal, &QPushButton::clicked, this, [this] { model.showJournal(); });
    layout->addWidget(journal);
    recoverButton = new SheenButton(QStringLiteral("Recover original names"), true);
    connect(recoverButton, &QPushButton::clicked, this, [this] { model.runRecoveryAction(true); });
    layout->addWidget(recoverButton);
    outer->addLayout(layout);

    // Under the texts, across the banner: the way out when recovery cannot
    // find every file.
    missingRow = new QWidget;
    auto* missing = new QHBoxLayout(missingRow);
    missing->setContentsMargins(icon->sizeHint().width() + layout->spacing(), 2, 0, 0);
    missingText = label(QString(), 12, Sheen::ink());
    missingText->setWordWrap(true);
    missing->addWidget(missingText, 1);
    restoreButton = new SheenButton(QStringLiteral("Restore the files that can be found…"));
    connect(restoreButton, &QPushButton::clicked, this,
            [this] { model.setShowRestoreConfirmation(true); });
    missing->addWidget(restoreButton);
    outer->addWidget(missingRow);
    return banner;
}

QWidget* ContentView::makeNoticeLine() {
    noticeLine = new QWidget;
    auto* layout = new QHBoxLayout(noticeLine);
    layout->setContentsMargins(2, 0, 2, 0);
    noticeIcon = new QLabel;
    layout->addWidget(noticeIcon);
    noticeText = label(QString(), 12, Sheen::ink());
    noticeText->setWordWrap(true);
    // Three lines: after restoring the files that can be found, the notice
    // names a renamed file and the kept record, each a long name.
    noticeText->setMaximumHeight(noticeText->fontMetrics().lineSpacing() * 3 + 2);
    layout->addWidget(noticeText, 1);
    detailsButton = plainButton(QStringLiteral("Details"));
    connect(detailsButton, &QPushButton::clicked, this, &ContentView::showSkipped);
    layout->addWidget(detailsButton);
    return noticeLine;
}

void ContentView::showSkipped() {
    auto* popover = new QFrame(detailsButton, Qt::Popup);
    popover->setAttribute(Qt::WA_DeleteOnClose);
    auto* layout = new QVBoxLayout(popover);
    auto* text = new QPlainTextEdit(model.importDetails());
    text->setReadOnly(true);
    text->setAccessibleName(QStringLiteral("Skipped items"));
    layout->addWidget(text);
    popover->resize(420, 220);
    // Above the button, and kept inside the screen it is on.
    QPoint place = detailsButton->mapToGlobal(QPoint(0, -popover->height()));
    if (QScreen* screen = detailsButton->screen()) {
        QRect room = screen->availableGeometry();
        place.setX(std::clamp(place.x(), room.left(), room.right() - popover->width()));
        place.setY(std::clamp(place.y(), room.top(), room.bottom() - popover->height()));
    }
    popover->move(place);
    popover->show();
}

QWidget* ContentView::makeFooter() {
    auto* footer = new QWidget;
    footer->setAutoFillBackground(true);
    QPalette palette = footer->palette();
    palette.setColor(QPalette::Window, Qt::white);
    footer->setPalette(palette);
    auto* layout = new QHBoxLayout(footer);
    layout->setContentsMargins(18, 10, 18, 10);
    undoButton = new SheenButton(QStringLiteral("Undo last batch"));
    undoButton->setIcon(Symbols::icon(QStringLiteral("arrow.uturn.backward")));
    undoButton->setToolTip(
        QStringLiteral("Restores the most recent batch, including after relaunch (%1)")
            .arg(QKeySequence(Qt::CTRL | Qt::ALT | Qt::Key_Z).toString(QKeySequence::NativeText)));
    connect(undoButton, &QPushButton::clicked, this, [this] { model.runRecoveryAction(false); });
    layout->addWidget(undoButton);
    auto* status = new QVBoxLayout;
    status->setSpacing(0);
    footerStatus = label(QString(), 12, Sheen::ink(), QFont::DemiBold);
    status->addWidget(footerStatus);
    status->addWidget(
        label(QStringLiteral("Contents and extensions stay intact."), 11, Sheen::secondary()));
    layout->addLayout(status);
    layout->addWidget(new ProgressFooter(model));
    layout->addStretch(1);
    exportMenu = new QToolButton;
    exportMenu->setText(QStringLiteral("Export"));
    exportMenu->setIcon(Symbols::icon(QStringLiteral("square.and.arrow.up")));
    exportMenu->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    exportMenu->setToolTip(
        QStringLiteral("Save a standalone HTML draft or the last completed rename receipt"));
    exportMenu->setPopupMode(QToolButton::InstantPopup);
    auto* menu = new QMenu(exportMenu);
    exportDraft = menu->addAction(QStringLiteral("Draft preview…"), this,
                                  [this] { model.exportReport(false); });
    exportReceipt = menu->addAction(QStringLiteral("Last rename receipt…"), this,
                                    [this] { model.exportReport(true); });
    exportMenu->setMenu(menu);
    layout->addWidget(exportMenu);
    layout->addWidget(new RenameAction(model));
    return footer;
}
