#pragma once

#include <QCheckBox>

// An on/off switch: the label on the left, a violet pill on the right. It is
// still a check box underneath, so keyboard use and accessibility are the
// platform's own.
class ToggleSwitch : public QCheckBox {
    Q_OBJECT
public:
    explicit ToggleSwitch(const QString& text, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    // The whole row toggles, as the label and the pill read as one control.
    bool hitButton(const QPoint& position) const override;
};
