// The spreadsheet text: typed, pasted or opened from a file, within the
// parser's limits. Every problem getting the text becomes the one diagnostic
// the panel shows, and the text that was there stays.

#include "app/app_model.h"

#include "core/base/rename_failure.h"
#include "core/mapping/mapping_parser.h"

bool AppModel::canChangeSpreadsheet() const {
    return !busy_ && !authorizingFolders_;
}

void AppModel::editSpreadsheet() {
    if (!canChangeSpreadsheet() || hasModalEditor())
        return;
    setMode(RenameMode::spreadsheet);
    setShowMappingEditor(true);
    refreshPreview();
}

void AppModel::updateMappingText(const QString& text) {
    if (!canChangeSpreadsheet())
        return;
    if (text.toUtf8().size() > MappingParser::maximumBytes) {
        assign(mappingInputError_,
               std::optional<QString>(QStringLiteral(
                   "This text exceeds 4 MiB and was not loaded. Edit or clear the text, or open a "
                   "smaller spreadsheet.")),
               &AppModel::mappingInputErrorChanged);
    } else {
        assign(mappingText_, text, &AppModel::mappingTextChanged);
        assign(mappingInputError_, std::optional<QString>(), &AppModel::mappingInputErrorChanged);
    }
    refreshPreview();
}

void AppModel::pasteMapping() {
    if (!canChangeSpreadsheet())
        return;
    QString text = services.clipboard.text();
    if (!text.isEmpty()) {
        setMappingFormat(MappingFormat::automatic);
        updateMappingText(text);
        return;
    }
    assign(mappingInputError_,
           std::optional<QString>(QStringLiteral(
               "Copy two columns as text from your spreadsheet, then choose Paste columns.")),
           &AppModel::mappingInputErrorChanged);
    refreshPreview();
}

void AppModel::openMappingFile() {
    if (!canChangeSpreadsheet())
        return;
    FileDialogs::OpenRequest request;
    request.title = QStringLiteral("Open a filename spreadsheet");
    request.prompt = QStringLiteral("Open spreadsheet");
    request.message = QStringLiteral("Choose UTF-8 CSV or TSV, up to 4 MiB and 5,000 mappings. "
                                     "Include full filenames with their original extensions.");
    request.chooseFiles = true;
    request.chooseFolders = false;
    request.multiple = false;
    request.nameFilters = {QStringLiteral("Spreadsheet text (*.csv *.tsv *.txt)"),
                           QStringLiteral("All files (*)")};
    QList<QUrl> chosen = services.dialogs.open(request);
    if (!chosen.isEmpty())
        loadMapping(chosen.front());
}

void AppModel::loadMapping(const QUrl& file) {
    if (!canChangeSpreadsheet())
        return;
    QString text;
    try {
        text = MappingParser::readText(file);
    } catch (const RenameFailure& failure) {
        assign(mappingInputError_,
               std::optional<QString>(QStringLiteral("Spreadsheet not loaded. ") + failure.message +
                                      QStringLiteral(" Edit or clear the existing text, or open "
                                                     "another file.")),
               &AppModel::mappingInputErrorChanged);
        refreshPreview();
        return;
    }
    setMode(RenameMode::spreadsheet);
    assign(mappingText_, text, &AppModel::mappingTextChanged);
    assign(mappingInputError_, std::optional<QString>(), &AppModel::mappingInputErrorChanged);
    refreshPreview();
    QString extension = file.fileName().section(QLatin1Char('.'), -1).toLower();
    bool hasExtension = file.fileName().contains(QLatin1Char('.'));
    setMappingFormat(hasExtension && extension == QLatin1String("tsv") ? MappingFormat::tsv
                     : hasExtension && extension == QLatin1String("csv")
                         ? MappingFormat::csv
                         : MappingFormat::automatic);
}

void AppModel::clearMapping() {
    if (!canChangeSpreadsheet())
        return;
    assign(mappingText_, QString(), &AppModel::mappingTextChanged);
    assign(mappingInputError_, std::optional<QString>(), &AppModel::mappingInputErrorChanged);
    refreshPreview();
    setMappingFormat(MappingFormat::automatic);
}
