// Reading the dates and sizes of added files, once each, beside everything
// else the model does.

#include "app/app_model.h"

#include "app/background.h"

#include "core/import/metadata_reader.h"

#include <utility>

void AppModel::readFacts() {
    // One reading at a time; the files added meanwhile are picked up when it
    // ends.
    if (readingProgress_)
        return;
    QList<FileRecord> unread;
    for (const FileRecord& file : std::as_const(files_)) {
        if (!facts.contains(file.identity))
            unread.append(file);
    }
    if (unread.isEmpty())
        return;
    using Read = QList<std::pair<FileIdentity, FileFacts>>;
    runInBackground(
        this,
        [unread,
         progress = startProgress(RenameProgress::Phase::reading, &AppModel::showReadingProgress)] {
            Read read;
            read.reserve(unread.size());
            for (const FileRecord& file : unread) {
                read.append({file.identity, MetadataReader::read(file.path)});
                progress({RenameProgress::Phase::reading, read.size(), unread.size()});
            }
            return read;
        },
        [this](const Read& read) {
            for (const auto& [identity, fileFacts] : read)
                facts.insert_or_assign(identity, fileFacts);
            assign(readingProgress_, std::optional<RenameProgress>(),
                   &AppModel::readingProgressChanged);
            // A preview that waited for these dates, or would name by them.
            if (rules_.usesFacts() && !files_.isEmpty())
                refreshPreview();
            readFacts();
        });
}

void AppModel::showReadingProgress(const RenameProgress& progress) {
    assign(readingProgress_, std::optional<RenameProgress>(progress),
           &AppModel::readingProgressChanged);
}

QList<std::optional<FileFacts>> AppModel::knownFacts(const QList<FileRecord>& files,
                                                     const RenameRules& rules,
                                                     RenameMode mode) const {
    QList<std::optional<FileFacts>> known;
    if (mode != RenameMode::rules || !rules.usesFacts())
        return known;
    known.reserve(files.size());
    for (const FileRecord& file : files) {
        auto found = facts.find(file.identity);
        known.append(found == facts.end() ? std::nullopt : std::optional(found->second));
    }
    return known;
}
