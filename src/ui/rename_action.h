#pragma once

#include "app/app_model.h"
#include "ui/sheen.h"

// The footer's rename button. It only asks for confirmation; the confirmation
// is what renames.
class RenameAction : public SheenButton {
    Q_OBJECT
public:
    explicit RenameAction(AppModel& model, QWidget* parent = nullptr);

private:
    void refresh();
    AppModel& model;
};
