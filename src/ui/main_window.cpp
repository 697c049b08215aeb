#include "ui/main_window.h"

#include "ui/content_view.h"
#include "ui/help_pages.h"
#include "ui/return_presses_buttons.h"

#include <QAction>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>

MainWindow::MainWindow(AppModel& model, SettingsStore& settings, UrlOpener& urls, QWidget* parent)
    : QMainWindow(parent), model(model), settings(settings), urls(urls),
      content(new ContentView(model, settings, urls)) {
    setObjectName(QStringLiteral("main"));
    setWindowTitle(QStringLiteral("Tessary"));
    setCentralWidget(content);
    setMinimumSize(900, 600);
    resize(1000, 680);
    setAcceptDrops(true);
    new ReturnPressesButtons(this);
    buildMenus();
    connect(&model, &AppModel::changed, this, &MainWindow::refreshCommands);
    refreshCommands();
}

void MainWindow::buildMenus() {
    auto command = [this](QMenu* menu, const QString& title, const QKeySequence& shortcut,
                          std::function<bool()> available, std::function<void()> action) {
        QAction* item = menu->addAction(title);
        item->setShortcut(shortcut);
        connect(item, &QAction::triggered, this, std::move(action));
        commands.append({item, std::move(available)});
    };
    auto always = [] { return true; };

    QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
    command(
        file, QStringLiteral("Add Files…"), QKeySequence(Qt::CTRL | Qt::Key_O),
        [this] { return !model.batchControlsDisabled(); }, [this] { model.openFiles(false); });
    command(
        file, QStringLiteral("Add Folder…"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_O),
        [this] { return !model.batchControlsDisabled(); }, [this] { model.openFiles(true); });
    command(
        file, QStringLiteral("Edit Spreadsheet…"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_M),
        [this] { return !model.batchControlsDisabled(); }, [this] { model.editSpreadsheet(); });
    file->addSeparator();
    command(
        file, QStringLiteral("Export Draft Preview…"), QKeySequence(Qt::CTRL | Qt::Key_E),
        [this] { return model.hasPreviewReport(); }, [this] { model.exportReport(false); });
    command(
        file, QStringLiteral("Export Last Rename Receipt…"),
        QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_E),
        [this] { return model.completedReport().has_value() && !model.batchControlsDisabled(); },
        [this] { model.exportReport(true); });
    file->addSeparator();
    command(
        file, QStringLiteral("Rename Previewed Files…"), QKeySequence(Qt::CTRL | Qt::Key_Return),
        [this] { return model.canRename(); }, [this] { model.setShowConfirmation(true); });
    command(
        file, QStringLiteral("Clear Batch"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Backspace),
        [this] { return !model.files().isEmpty() && !model.batchControlsDisabled(); },
        [this] { model.clear(); });
    command(
        file, QStringLiteral("Save Current Recipe…"),
        QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S),
        [this] { return model.mode() == RenameMode::rules && !model.batchControlsDisabled(); },
        [this] { model.setShowSaveRecipe(true); });
    file->addSeparator();
    // Quitting goes through the window's close, where the one check lives.
    command(file, QStringLiteral("Quit"), QKeySequence::Quit, always, [this] { close(); });

    QMenu* edit = menuBar()->addMenu(QStringLiteral("&Edit"));
    command(
        edit, QStringLiteral("Undo Last Rename Batch"),
        QKeySequence(Qt::CTRL | Qt::ALT | Qt::Key_Z),
        [this] {
            return !model.batchControlsDisabled() && !model.hasRecovery() && model.undoCount() > 0;
        },
        [this] { model.runRecoveryAction(false); });
    edit->addSeparator();
    auto canMove = [this] {
        return !model.batchControlsDisabled() && model.mode() == RenameMode::rules &&
               !model.selection().isEmpty();
    };
    command(edit, QStringLiteral("Move Rows Up"), QKeySequence(Qt::ALT | Qt::Key_Up), canMove,
            [this] { model.moveSelection(-1); });
    command(edit, QStringLiteral("Move Rows Down"), QKeySequence(Qt::ALT | Qt::Key_Down), canMove,
            [this] { model.moveSelection(1); });
    // Alt+Up and Alt+Down open a list elsewhere in the window: they move rows
    // only from the rows.
    for (qsizetype last : {commands.size() - 2, commands.size() - 1})
        content->takeKeysInPreview(commands[last].first);
    edit->addSeparator();
    command(
        edit, QStringLiteral("Edit New Name"), QKeySequence(Qt::Key_F2),
        [this] { return model.canNameByHand() && !model.selection().isEmpty(); },
        [this] { content->editName(); });
    command(
        edit, QStringLiteral("Reset New Names"), {}, [this] { return model.canResetNames(); },
        [this] { model.resetSelectedNames(); });

    QMenu* view = menuBar()->addMenu(QStringLiteral("&View"));
    command(view, QStringLiteral("Go to Rules"), QKeySequence(Qt::CTRL | Qt::Key_1), always,
            [this] { content->focusInspector(); });
    command(view, QStringLiteral("Go to Preview"), QKeySequence(Qt::CTRL | Qt::Key_2), always,
            [this] { content->focusPreview(); });
    view->addSeparator();
    command(
        view, QStringLiteral("Compact Window"), QKeySequence(Qt::CTRL | Qt::Key_0),
        [this] { return !model.batchControlsDisabled(); }, [this] { compact(); });

    QMenu* help = menuBar()->addMenu(QStringLiteral("&Help"));
    command(
        help, QStringLiteral("Quick Tutorial…"), {}, [this] { return model.canPresentTutorial(); },
        [this] { model.presentTutorial(); });
    const QList<QPair<QString, HelpPages::Page>> pages = {
        {QStringLiteral("Tessary User Guide"), HelpPages::Page::guide},
        {QStringLiteral("Tessary Website"), HelpPages::Page::website},
        {QStringLiteral("Release Notes"), HelpPages::Page::releaseNotes},
        // "&&" is a literal ampersand in a menu title, not a mnemonic.
        {QStringLiteral("Privacy && Support"), HelpPages::Page::privacy}};
    for (const auto& [title, page] : pages) {
        HelpPages::Page chosen = page;
        command(help, title, {}, always,
                [this, chosen] { model.openPage(HelpPages::url(chosen)); });
    }
}

void MainWindow::refreshCommands() {
    for (const auto& [action, available] : commands)
        action->setEnabled(available());
}

void MainWindow::compact() {
    QRect frame = geometry();
    setGeometry(frame.x(), frame.y(), 1000, 680);
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (!model.mutatingFiles()) {
        event->accept();
        return;
    }
    QMessageBox box(QMessageBox::Information, QStringLiteral("Tessary is finishing an operation"),
                    QStringLiteral("Tessary is finishing an operation"), QMessageBox::Ok, this);
    box.setInformativeText(
        QStringLiteral("Please wait for the current batch to finish before quitting."));
    box.exec();
    event->ignore();
}

void MainWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    // A tutorial that could not be shown is offered again next time; the
    // flag is set only when the tutorial closes.
    if (!offeredTutorial && !model.isDemo() && !settings.flag(QStringLiteral("hasSeenTutorial")) &&
        model.files().isEmpty()) {
        offeredTutorial = true;
        QMetaObject::invokeMethod(
            this, [this] { model.presentTutorial(); }, Qt::QueuedConnection);
    }
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (!event->mimeData()->hasUrls() || model.batchControlsDisabled())
        return;
    content->setDropTarget(true);
    event->acceptProposedAction();
}

void MainWindow::dragLeaveEvent(QDragLeaveEvent* event) {
    content->setDropTarget(false);
    QMainWindow::dragLeaveEvent(event);
}

void MainWindow::dropEvent(QDropEvent* event) {
    content->setDropTarget(false);
    if (model.receiveDrop(*event->mimeData()))
        event->acceptProposedAction();
    else
        event->ignore();
}

void MainWindow::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
}
