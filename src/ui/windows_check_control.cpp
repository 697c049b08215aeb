#include "ui/windows_check_control.h"

#include "app/app_model.h"
#include "ui/inspector_text.h"
#include "ui/sheen.h"
#include "ui/symbols.h"

#include <QCheckBox>
#include <QFrame>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QScreen>
#include <QSignalBlocker>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

WindowsCheckControl::WindowsCheckControl(AppModel& model, QWidget* parent)
    : QWidget(parent), model(model) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);

    check = new QCheckBox(QStringLiteral("Check Windows filenames"), this);
    QFont font = check->font();
    font.setPixelSize(13);
    check->setFont(font);
    check->setChecked(model.checkWindows());
    layout->addWidget(check);

    info = new QToolButton(this);
    info->setIcon(Symbols::icon(QStringLiteral("info.circle")));
    info->setIconSize(QSize(16, 16));
    info->setAutoRaise(true);
    info->setCursor(Qt::PointingHandCursor);
    info->setAccessibleName(QStringLiteral("About Windows filename checks"));
    info->setToolTip(QStringLiteral("What Windows filename checks cover"));
    layout->addWidget(info);
    layout->addStretch(1);

    help = new QFrame(this, Qt::Popup);
    help->setObjectName(QStringLiteral("windowsCheckHelp"));
    help->setAccessibleName(QStringLiteral("Windows filename checks"));
    help->setFixedWidth(280);
    help->setStyleSheet(QStringLiteral("#windowsCheckHelp { background: white; border: 1px solid "
                                       "rgba(0,0,0,40); border-radius: 10px; }"));
    auto* helpLayout = new QVBoxLayout(help);
    helpLayout->setContentsMargins(16, 14, 16, 16);
    helpLayout->setSpacing(8);
    helpLayout->addWidget(InspectorText::title(QStringLiteral("Windows filename checks"), 13));
    helpLayout->addWidget(InspectorText::body(
        QStringLiteral("Flags reserved characters, device names and trailing dots or spaces. "
                       "Names are never rewritten automatically.")));
    helpLayout->addWidget(InspectorText::body(QStringLiteral(
        "Full paths, cloud-service policies and linked project references are not checked.")));

    // `clicked` fires for the user's changes only, so showing the model's
    // value never writes it back.
    connect(check, &QCheckBox::clicked, this, [this](bool on) {
        this->model.setCheckWindows(on);
        QSignalBlocker blocker(check);
        check->setChecked(this->model.checkWindows());
    });
    connect(&model, &AppModel::checkWindowsChanged, this, [this] {
        QSignalBlocker blocker(check);
        check->setChecked(this->model.checkWindows());
    });
    connect(info, &QToolButton::clicked, this, &WindowsCheckControl::showHelp);
}

void WindowsCheckControl::showHelp() {
    // Wrapped paragraphs need the height for the popover's fixed width, which
    // adjustSize alone does not ask for.
    help->setFixedHeight(help->layout()->totalHeightForWidth(help->width()));
    QPoint below = info->mapToGlobal(QPoint(info->width() / 2 - help->width() / 2, info->height()));
    // Kept on the screen, as the inspector sits at the window's right edge.
    if (QScreen* screen = info->screen()) {
        QRect available = screen->availableGeometry();
        below.setX(std::clamp(below.x(), available.left(),
                              std::max(available.left(), available.right() - help->width())));
        if (below.y() + help->height() > available.bottom())
            below.setY(info->mapToGlobal(QPoint(0, 0)).y() - help->height());
    }
    help->move(below);
    help->show();
}
