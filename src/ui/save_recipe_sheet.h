#pragma once

#include "app/app_model.h"

#include <QDialog>

class QLineEdit;

// "Keep this recipe": names the current rules. The typed name lives in the
// model, so cancelling keeps it for next time.
class SaveRecipeSheet : public QDialog {
    Q_OBJECT
public:
    explicit SaveRecipeSheet(AppModel& model, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;
    void reject() override;

private:
    AppModel& model;
    QLineEdit* name;
};
