#include "ui/spreadsheet_editor.h"

#include "app/app_model.h"
#include "ui/inspector_text.h"
#include "ui/mapping_text_editor.h"
#include "ui/return_presses_buttons.h"
#include "ui/sheen.h"
#include "ui/symbols.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QTextBlockFormat>
#include <QTextBrowser>
#include <QTextCharFormat>
#include <QTextCursor>
#include <QVBoxLayout>

namespace {

SheenButton* plainButton(const QString& label) {
    auto* button = new SheenButton(label);
    // Return belongs to the text area and the picker, never to a button that
    // happens to be the dialog's default; a button with the focus still takes
    // it (ReturnPressesButtons).
    button->setAutoDefault(false);
    return button;
}

// "Row 4 · draft.pdf", "Row 4", "draft.pdf" or nothing.
QString diagnosticPlace(const MappingDiagnostic& diagnostic) {
    QStringList parts;
    if (diagnostic.row)
        parts.append(QStringLiteral("Row ") + QString::number(*diagnostic.row));
    if (diagnostic.name)
        parts.append(*diagnostic.name);
    return parts.join(QStringLiteral(" · "));
}

} // namespace

SpreadsheetEditor::SpreadsheetEditor(AppModel& model, QWidget* parent)
    : QDialog(parent), model(model) {
    new ReturnPressesButtons(this);
    setWindowTitle(QStringLiteral("Names from your spreadsheet"));
    setWindowModality(Qt::WindowModal);
    setFixedSize(760, 660);
    setStyleSheet(QStringLiteral("QComboBox { font-size: 13px; }"));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(26, 26, 26, 26);
    layout->setSpacing(12);

    layout->addLayout(InspectorText::header(
        QStringLiteral("tablecells"), QStringLiteral("Names from your spreadsheet"),
        InspectorText::note(QStringLiteral("Two columns. Full filenames. Every selected file needs "
                                           "exactly one matching row.")),
        18));
    layout->addSpacing(4);

    auto* controls = new QHBoxLayout;
    controls->setSpacing(8);
    format = new QComboBox;
    format->setAccessibleName(QStringLiteral("Spreadsheet format"));
    format->setFixedHeight(32);
    format->addItem(QStringLiteral("Detect format"), static_cast<int>(MappingFormat::automatic));
    format->addItem(QStringLiteral("CSV (commas)"), static_cast<int>(MappingFormat::csv));
    format->addItem(QStringLiteral("TSV (tabs)"), static_cast<int>(MappingFormat::tsv));
    auto* formatLabel = InspectorText::body(QStringLiteral("Format"));
    formatLabel->setWordWrap(false);
    formatLabel->setBuddy(format);
    controls->addWidget(formatLabel);
    controls->addWidget(format);
    controls->addStretch(1);
    SheenButton* paste = plainButton(QStringLiteral("Paste columns"));
    SheenButton* open = plainButton(QStringLiteral("Open CSV / TSV…"));
    SheenButton* clear = plainButton(QStringLiteral("Clear"));
    controls->addWidget(paste);
    controls->addWidget(open);
    controls->addWidget(clear);
    layout->addLayout(controls);

    layout->addSpacing(2);
    auto* caption = InspectorText::section(QStringLiteral("OLD FILENAME  →  NEW FILENAME"));
    layout->addWidget(caption);
    text = new MappingTextEditor(model);
    caption->setBuddy(text);
    layout->addWidget(text, 1);
    auto* hints = new QVBoxLayout;
    hints->setSpacing(2);
    hints->addWidget(InspectorText::note(
        QStringLiteral("Optional header: old_name,new_name. Paste tab-separated cells or use CSV "
                       "such as \"draft,1.pdf\",final.pdf. Whitespace is preserved.")));
    hints->addWidget(InspectorText::note(QStringLiteral("UTF-8 · 4 MiB · 5,000 rows maximum")));
    layout->addLayout(hints);

    auto* panel = new QFrame;
    panel->setObjectName(QStringLiteral("diagnosticsPanel"));
    panel->setStyleSheet(
        QStringLiteral("#diagnosticsPanel { background: %1; border-radius: 10px; }")
            .arg(Sheen::faint().name()));
    auto* panelLayout = new QVBoxLayout(panel);
    panelLayout->setContentsMargins(14, 12, 14, 12);
    panelLayout->setSpacing(6);
    auto* headingRow = new QHBoxLayout;
    headingRow->setSpacing(7);
    headingSymbol = new QLabel;
    headingSymbol->setFixedSize(16, 16);
    heading = InspectorText::title(QString(), 13);
    headingRow->addWidget(headingSymbol);
    headingRow->addWidget(heading, 1);
    panelLayout->addLayout(headingRow);
    panelBody = InspectorText::note(QString());
    panelLayout->addWidget(panelBody, 0, Qt::AlignTop);
    // A browser, so each issue that names a row is a link that a click, or
    // Tab and Return, follows to that line.
    diagnosticList = new QTextBrowser;
    diagnosticList->setOpenLinks(false);
    diagnosticList->setAccessibleName(QStringLiteral("Spreadsheet issues"));
    diagnosticList->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    diagnosticList->setStyleSheet(
        QStringLiteral("QTextBrowser { background: white; border: 1px solid rgba(0,0,0,25); "
                       "border-radius: 6px; }"));
    panelLayout->addWidget(diagnosticList, 1);
    // Takes the room of the hidden list, keeping the text under the heading.
    panelLayout->addStretch(0);
    // One height whatever the panel says, so the text area above does not
    // jump on every keystroke as the check starts and ends.
    panel->setFixedHeight(164);
    layout->addWidget(panel);

    auto* footerRow = new QHBoxLayout;
    footerRow->setSpacing(16);
    footerRow->addWidget(InspectorText::note(QStringLiteral(
                             "Matches are case-sensitive and ignore row order. Extensions must "
                             "stay exactly the same. No paths, fuzzy matching, formulas or "
                             "spreadsheet code are executed; formula-like names remain literal "
                             "text.")),
                         1);
    auto* done = new SheenButton(QStringLiteral("Done"), true);
    done->setAutoDefault(false);
    done->setMinimumWidth(96);
    footerRow->addWidget(done, 0, Qt::AlignBottom);
    layout->addSpacing(2);
    layout->addLayout(footerRow);

    connect(diagnosticList, &QTextBrowser::anchorClicked, this,
            [this](const QUrl& row) { text->goToLine(row.path().toLongLong()); });
    connect(format, &QComboBox::activated, this, [this] {
        this->model.setMappingFormat(static_cast<MappingFormat>(format->currentData().toInt()));
    });
    connect(paste, &QPushButton::clicked, this, [this] { this->model.pasteMapping(); });
    connect(open, &QPushButton::clicked, this, [this] { this->model.openMappingFile(); });
    connect(clear, &QPushButton::clicked, this, [this] { this->model.clearMapping(); });
    // Escape and the window's close button reject the dialog too, so Done
    // takes the same road and every way out clears the model's flag once.
    connect(done, &QPushButton::clicked, this, &QDialog::reject);
    connect(this, &QDialog::finished, this, [this] { this->model.setShowMappingEditor(false); });

    connect(&model, &AppModel::mappingFormatChanged, this, &SpreadsheetEditor::showFormat);
    connect(&model, &AppModel::previewingChanged, this, &SpreadsheetEditor::showDiagnostics);
    connect(&model, &AppModel::mappingDiagnosticsChanged, this,
            &SpreadsheetEditor::showDiagnosticList);
    connect(&model, &AppModel::mappingCountChanged, this, &SpreadsheetEditor::showDiagnostics);
    connect(&model, &AppModel::filesChanged, this, &SpreadsheetEditor::showDiagnostics);
    connect(&model, &AppModel::busyChanged, this, &SpreadsheetEditor::showAvailability);
    connect(&model, &AppModel::authorizingFoldersChanged, this,
            &SpreadsheetEditor::showAvailability);
    showFormat();
    showDiagnosticList();
    showAvailability();
}

void SpreadsheetEditor::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    text->setFocus();
}

void SpreadsheetEditor::showFormat() {
    QSignalBlocker blocker(format);
    format->setCurrentIndex(format->findData(static_cast<int>(model.mappingFormat())));
}

void SpreadsheetEditor::showDiagnostics() {
    const QList<MappingDiagnostic>& diagnostics = model.mappingDiagnostics();
    QString symbol;
    if (model.previewing()) {
        symbol = QStringLiteral("hourglass");
        heading->setText(QStringLiteral("Checking the newest text…"));
        panelBody->setText(QStringLiteral("Rename is disabled until the preview is current."));
    } else if (!diagnostics.isEmpty()) {
        symbol = QStringLiteral("exclamationmark.circle.fill");
        heading->setText(QString::number(diagnostics.size()) +
                         QStringLiteral(" spreadsheet issues to resolve"));
    } else {
        symbol = QStringLiteral("checkmark.circle.fill");
        heading->setText(QString::number(model.mappingCount()) +
                         QStringLiteral(" mappings checked"));
        panelBody->setText(
            model.files().isEmpty()
                ? QStringLiteral("Add your original files to match this list.")
                : QStringLiteral("Return to the live preview to review proposed names and any "
                                 "filesystem conflicts. Nothing changes until you confirm "
                                 "Rename."));
    }
    headingSymbol->setPixmap(Symbols::icon(symbol).pixmap(16, 16));
    bool listing = !model.previewing() && !diagnostics.isEmpty();
    panelBody->setVisible(!listing);
    diagnosticList->setVisible(listing);
}

void SpreadsheetEditor::showDiagnosticList() {
    diagnosticList->clear();
    QTextCursor cursor(diagnosticList->document());
    cursor.beginEditBlock();
    QTextCharFormat place;
    place.setFontWeight(QFont::DemiBold);
    place.setForeground(Sheen::ink());
    QTextCharFormat message;
    message.setForeground(Sheen::ink());
    QTextBlockFormat first;
    first.setTopMargin(0);
    QTextBlockFormat next;
    next.setTopMargin(8);
    bool started = false;
    for (const MappingDiagnostic& diagnostic : model.mappingDiagnostics()) {
        QString where = diagnosticPlace(diagnostic);
        QTextBlockFormat opening = started ? next : first;
        if (started)
            cursor.insertBlock(opening);
        else
            cursor.setBlockFormat(opening);
        // One link over the place and the message, kept in one block by a
        // line separator, so the whole issue is one target to click or tab to.
        QTextCharFormat placeHere = place;
        QTextCharFormat messageHere = message;
        if (diagnostic.row) {
            QString href = QStringLiteral("row:") + QString::number(*diagnostic.row);
            for (QTextCharFormat* format : {&placeHere, &messageHere}) {
                format->setAnchor(true);
                format->setAnchorHref(href);
            }
            // In the window's link colour, marking the issues that lead somewhere.
            placeHere.setForeground(Sheen::violet());
        }
        if (!where.isEmpty())
            cursor.insertText(where + QChar(QChar::LineSeparator), placeHere);
        cursor.insertText(diagnostic.message, messageHere);
        started = true;
    }
    cursor.endEditBlock();
    diagnosticList->moveCursor(QTextCursor::Start);
    showDiagnostics();
}

void SpreadsheetEditor::showAvailability() {
    setEnabled(!model.busy() && !model.authorizingFolders());
}
