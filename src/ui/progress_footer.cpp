#include "ui/progress_footer.h"

#include "ui/inspector_text.h"
#include "ui/sheen.h"

#include <QProgressBar>
#include <QVBoxLayout>

ProgressFooter::ProgressFooter(AppModel& model, QWidget* parent) : QWidget(parent), model(model) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 0, 8, 0);
    layout->setSpacing(4);
    text = InspectorText::label(QString(), 11, QFont::DemiBold, Sheen::ink());
    layout->addWidget(text);
    bar = new QProgressBar;
    bar->setTextVisible(false);
    bar->setFixedHeight(6);
    bar->setAccessibleName(QStringLiteral("Progress"));
    // The rename button's violet-to-coral gradient, on the faint violet groove.
    bar->setStyleSheet(
        QStringLiteral("QProgressBar { background: %1; border: none; border-radius: "
                       "3px; } QProgressBar::chunk { border-radius: 3px; "
                       "background: qlineargradient(x1: 0, y1: 0, x2: 1, y2: 0, "
                       "stop: 0 %2, stop: 1 %3); }")
            .arg(Sheen::faint().name(), Sheen::violet().name(), Sheen::coral().name()));
    layout->addWidget(bar);
    // The footer's other controls cannot shrink, so in the smallest window
    // this gives way, down to what a four-digit count needs.
    setMinimumWidth(190);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    // Hidden until the first report: shown now, without a parent yet, it
    // would open as a window of its own.
    hide();
    connect(&model, &AppModel::progressChanged, this, &ProgressFooter::refresh);
    connect(&model, &AppModel::readingProgressChanged, this, &ProgressFooter::refresh);
}

QSize ProgressFooter::sizeHint() const {
    // Room for the longest count, "Recovering 5000 of 5000 files…", whatever
    // the count is now: the bar keeps its length while the numbers change.
    return {240, QWidget::sizeHint().height()};
}

void ProgressFooter::refresh() {
    // Reading dates runs beside the rest; a rename's count comes first.
    const std::optional<RenameProgress>& progress =
        model.progress() ? model.progress() : model.readingProgress();
    setVisible(progress.has_value());
    if (!progress)
        return;
    text->setText(progress->text());
    // Both bounds 0 make the bar busy without a count.
    bar->setRange(0, int(progress->total));
    bar->setValue(int(progress->done));
}
