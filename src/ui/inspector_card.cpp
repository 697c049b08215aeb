#include "ui/inspector_card.h"

#include <QApplication>
#include <QScrollArea>

InspectorCard::InspectorCard(QWidget* parent) : QFrame(parent) {
    setObjectName(QStringLiteral("inspectorCard"));
    setStyleSheet(QStringLiteral("#inspectorCard { background: white; border: 1px solid "
                                 "rgba(0,0,0,19); border-radius: 12px; }"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(12);
    headerLayout = new QVBoxLayout;
    contentLayout = new QVBoxLayout;
    footerLayout = new QVBoxLayout;
    headerLayout->setSpacing(2);
    contentLayout->setSpacing(8);
    footerLayout->setSpacing(8);
    layout->addLayout(headerLayout);
    layout->addLayout(contentLayout);
    layout->addStretch(1);
    layout->addLayout(footerLayout);
}

QVBoxLayout* InspectorCard::scrollingContent() {
    auto* scroll = new QScrollArea;
    scroll->setObjectName(QStringLiteral("inspectorScroll"));
    // Its controls take the keyboard; a stop on the panel itself would show nothing.
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setStyleSheet(QStringLiteral(
        "#inspectorScroll, #inspectorScrolled { background: transparent; }"
        "QScrollBar:vertical { width: 8px; background: transparent; margin: 0; }"
        "QScrollBar::handle:vertical { background: rgba(0,0,0,45); border-radius: 4px; "
        "min-height: 24px; }"
        "QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height: 0; }"
        "QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical { background: none; }"));
    auto* inner = new QWidget;
    inner->setObjectName(QStringLiteral("inspectorScrolled"));
    auto* layout = new QVBoxLayout(inner);
    // Room for the slim scroll bar beside the fields.
    layout->setContentsMargins(0, 0, 10, 0);
    scroll->setWidget(inner);
    contentLayout->addWidget(scroll, 1);
    // In a short window some fields sit below the fold; one reached with Tab
    // is scrolled into view rather than edited out of sight.
    connect(qApp, &QApplication::focusChanged, scroll, [scroll, inner](QWidget*, QWidget* now) {
        if (now && inner->isAncestorOf(now))
            scroll->ensureWidgetVisible(now, 0, 24);
    });

    auto* card = static_cast<QVBoxLayout*>(this->layout());
    card->setStretchFactor(contentLayout, 1);
    // The gap above the footer would otherwise share the spare height.
    card->setStretch(card->indexOf(contentLayout) + 1, 0);
    return layout;
}
