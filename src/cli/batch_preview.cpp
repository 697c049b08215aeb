#include "batch_preview.h"

#include "command_line.h"

#include "core/base/batch_limit.h"
#include "core/batch/folder_authorization.h"
#include "core/import/file_import.h"
#include "core/import/metadata_reader.h"
#include "core/mapping/mapping_preview.h"
#include "core/preview/rule_preview.h"
#include "core/preview/volume_note.h"

#include <QDir>
#include <QUrl>

#include <algorithm>

qsizetype BatchPreview::readyCount() const {
    return std::count_if(rows.begin(), rows.end(),
                         [](const PreviewRow& row) { return !row.problem && row.changed(); });
}

qsizetype BatchPreview::unchangedCount() const {
    return std::count_if(rows.begin(), rows.end(),
                         [](const PreviewRow& row) { return !row.problem && !row.changed(); });
}

qsizetype BatchPreview::conflictCount() const {
    return std::count_if(rows.begin(), rows.end(),
                         [](const PreviewRow& row) { return row.problem.has_value(); });
}

BatchPreview previewBatch(const QStringList& paths, const Naming& naming, bool checkWindows,
                          const RenameProgress::Observer& progress) {
    QList<QUrl> items;
    for (const QString& path : paths)
        items.append(QUrl::fromLocalFile(CommandLine::localPath(path)));
    // Fails the whole selection when an item is missing, as adding files in the
    // app does, rather than previewing a batch the user did not mean.
    FolderAuthorization::requiredFolders(items);

    BatchPreview preview;
    preview.import = FileImport::collect(items, {}, batchLimit, progress);
    const RenameRules* rules = std::get_if<RenameRules>(&naming);
    if (rules && rules->order == NameOrder::arranged)
        preview.import.files = FileImport::inGivenOrder(preview.import.files, items);
    const QList<FileRecord>& files = preview.import.files;
    preview.volumeNote = VolumeNote::forFiles(files);
    if (const auto* document = std::get_if<MappingDocument>(&naming)) {
        MappingPreview mapped = MappingPreview::compute(files, *document, checkWindows);
        preview.rows = mapped.rows;
        preview.diagnostics = mapped.diagnostics;
        preview.spreadsheet = true;
        return preview;
    }
    // Only rules that name or order by date pay for opening every file.
    QList<std::optional<FileFacts>> facts;
    if (rules->usesFacts()) {
        facts.reserve(files.size());
        for (const FileRecord& file : files)
            facts.append(MetadataReader::read(file.path));
    }
    preview.rows = RulePreview::rows(files, facts, *rules, checkWindows);
    return preview;
}
