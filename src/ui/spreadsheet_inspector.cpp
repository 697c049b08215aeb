#include "ui/spreadsheet_inspector.h"

#include "app/app_model.h"
#include "ui/inspector_text.h"
#include "ui/sheen.h"
#include "ui/symbols.h"
#include "ui/windows_check_control.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

QHBoxLayout* step(int number, const QString& text) {
    auto* row = new QHBoxLayout;
    row->setSpacing(9);
    auto* badge = InspectorText::title(QString::number(number), 11);
    badge->setAlignment(Qt::AlignCenter);
    badge->setFixedSize(20, 20);
    badge->setStyleSheet(QStringLiteral("background: %1; color: %2; border-radius: 10px;")
                             .arg(Sheen::faint().name(), Sheen::violet().name()));
    row->addWidget(badge, 0, Qt::AlignTop);
    row->addWidget(InspectorText::body(text), 1);
    return row;
}

} // namespace

SpreadsheetInspector::SpreadsheetInspector(AppModel& model, QWidget* parent)
    : InspectorCard(parent), model(model) {
    header()->addLayout(InspectorText::header(QStringLiteral("tablecells"),
                                              QStringLiteral("Spreadsheet"), nullptr));

    QVBoxLayout* layout = scrollingContent();
    layout->setSpacing(10);

    layout->addWidget(InspectorText::body(
        QStringLiteral("Match original filenames to your client's new names.")));
    layout->addWidget(InspectorText::note(
        QStringLiteral("Exact, case-sensitive matches. Row order does not matter. Include "
                       "extensions.")));

    auto* statusBox = new QFrame;
    statusBox->setObjectName(QStringLiteral("spreadsheetStatus"));
    statusBox->setStyleSheet(QStringLiteral("#spreadsheetStatus { background: %1; border-radius: "
                                            "8px; }")
                                 .arg(Sheen::faint().name()));
    auto* statusLayout = new QVBoxLayout(statusBox);
    statusLayout->setContentsMargins(12, 10, 12, 10);
    statusLayout->setSpacing(4);
    status = InspectorText::title(QString(), 13);
    status->setWordWrap(true);
    statusLayout->addWidget(status);

    review = new QPushButton;
    review->setFlat(true);
    review->setCursor(Qt::PointingHandCursor);
    review->setStyleSheet(QStringLiteral("QPushButton { color: %1; font-size: 13px; text-align: "
                                         "left; border: none; padding: 0; }"
                                         "QPushButton:hover { text-decoration: underline; }")
                              .arg(Sheen::violet().name()));
    statusLayout->addWidget(review, 0, Qt::AlignLeft);

    allMatched = new QWidget;
    auto* matchedRow = new QHBoxLayout(allMatched);
    matchedRow->setContentsMargins(0, 0, 0, 0);
    matchedRow->setSpacing(6);
    matchedRow->addWidget(InspectorText::symbol(QStringLiteral("checkmark.circle.fill"), 14));
    matchedRow->addWidget(InspectorText::body(QStringLiteral("Every file has a match")), 1);
    statusLayout->addWidget(allMatched);
    layout->addWidget(statusBox);

    edit = new SheenButton(QString());
    edit->setIcon(Symbols::icon(QStringLiteral("pencil.and.square")));
    edit->setIconSize(QSize(15, 15));
    layout->addWidget(edit);

    layout->addSpacing(6);
    layout->addWidget(InspectorText::title(QStringLiteral("How it works"), 13));
    layout->addLayout(step(1, QStringLiteral("Add the original files or folder.")));
    layout->addLayout(step(2, QStringLiteral("Paste old and new filenames, or open CSV / TSV.")));
    layout->addLayout(step(3, QStringLiteral("Resolve issues, then confirm the preview.")));
    layout->addWidget(InspectorText::note(
        QStringLiteral("Naming rules are inactive in this mode. Everything runs locally.")));
    layout->addStretch(1);

    footer()->addWidget(new WindowsCheckControl(model, this));

    connect(review, &QPushButton::clicked, this, [this] { this->model.editSpreadsheet(); });
    connect(edit, &QPushButton::clicked, this, [this] { this->model.editSpreadsheet(); });
    connect(&model, &AppModel::changed, this, &SpreadsheetInspector::showStatus);
    showStatus();
}

void SpreadsheetInspector::showStatus() {
    bool empty = model.mappingText().isEmpty();
    if (model.previewing())
        status->setText(QStringLiteral("Checking the list…"));
    else if (empty)
        status->setText(QStringLiteral("Paste two columns or open CSV / TSV."));
    else
        status->setText(QString::number(model.mappingCount()) + QStringLiteral(" mappings · ") +
                        QString::number(model.files().size()) + QStringLiteral(" files"));

    qsizetype issues = model.mappingDiagnostics().size();
    review->setVisible(issues > 0);
    review->setText(QStringLiteral("Review ") + QString::number(issues) +
                    (issues == 1 ? QStringLiteral(" spreadsheet issue")
                                 : QStringLiteral(" spreadsheet issues")));
    allMatched->setVisible(issues == 0 && model.mappingCount() > 0);

    edit->setText(empty ? QStringLiteral("Add spreadsheet") : QStringLiteral("Edit spreadsheet"));
}
