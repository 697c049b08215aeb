#pragma once

#include "app/app_model.h"

#include <QMainWindow>

class ContentView;

// The one window, "Tessary": the content view, the menu commands with their
// shortcuts, dropped files, and the rule that quitting waits while names are
// being changed on disk.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    MainWindow(AppModel& model, SettingsStore& settings, UrlOpener& urls,
               QWidget* parent = nullptr);

    // Back to 1000 × 680 with the top edge where it was.
    void compact();

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void buildMenus();
    void refreshCommands();

    AppModel& model;
    SettingsStore& settings;
    UrlOpener& urls;
    ContentView* content;
    QList<std::pair<QAction*, std::function<bool()>>> commands;
    bool offeredTutorial = false;
};
