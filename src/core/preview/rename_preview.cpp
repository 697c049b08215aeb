#include "core/preview/rename_preview.h"

#include "core/base/parallel_ranges.h"
#include "core/base/rename_failure.h"
#include "core/batch/file_safety.h"
#include "core/journal/rename_journal.h"
#include "core/naming/filename.h"
#include "core/naming/natural_order.h"
#include "core/naming/volume_filename.h"
#include "core/naming/windows_filename.h"
#include "core/platform/posix_file_system.h"
#include "core/preview/batch_observation.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <numeric>

namespace RenamePreview {
namespace {

// Where a proposed name would land. Keyed by the folder's identity rather than
// its path, so two paths to one folder count as one folder.
struct DestinationKey {
    FileIdentity parent;
    QString name;

    friend bool operator==(const DestinationKey&, const DestinationKey&) = default;
};

// QHash keeps its entries in blocks where std::unordered_map allocates one
// node each, and a preview counts thousands of them on every keystroke.
std::size_t qHash(const DestinationKey& key, std::size_t seed = 0) noexcept {
    return qHashMulti(seed, FileIdentityHash{}(key.parent), key.name);
}

// How many proposals of the batch land on each name in each folder.
QHash<DestinationKey, int> destinations(const QList<PreviewRow>& rows,
                                        const QList<QString>& proposedKeys) {
    QHash<DestinationKey, int> counts;
    counts.reserve(rows.size());
    for (qsizetype index = 0; index < rows.size(); ++index)
        ++counts[{rows[index].intent.source.parentIdentity, proposedKeys[index]}];
    return counts;
}

// The engine journals the new path and a staging path beside it; the longest
// staging name is that of a batch's last possible file. `folderBytes` is the
// folder's path in UTF-8 with its closing slash.
bool tooLongToJournal(qsizetype folderBytes, const QString& filename) {
    static const qsizetype longestStaging =
        RenameJournal::stagingName(QUuid(), batchLimit - 1).size();
    // A filename takes at most three bytes per UTF-16 unit, so most folders
    // leave room for any name without converting it.
    qsizetype longestName = std::max(filename.size() * 3, longestStaging);
    if (folderBytes + longestName <= RenameJournal::maximumPathBytes)
        return false;
    return folderBytes + std::max(filename.toUtf8().size(), longestStaging) >
           RenameJournal::maximumPathBytes;
}

// Everything a row is judged by, the folder's other files last.
std::optional<QString> problem(const RenameIntent& intent, const QString& proposedKey,
                               const BatchObservation::File& file,
                               const BatchObservation::Folder& folder,
                               const QHash<DestinationKey, int>& destinations, bool checkWindows,
                               bool formerNames) {
    const FileRecord& source = intent.source;
    if (file.repeated)
        return QStringLiteral("The same file was included more than once.");
    if (auto problem = formerNames ? Filename::currentProblem(intent.filename)
                                   : Filename::problem(intent.filename))
        return problem;

    // The file must still be the very file, in the very folder, that was added.
    if (file.nameProblem)
        return file.nameProblem;
    if (folder.failure)
        return folder.failure;
    if (!file.now)
        return file.failure.value_or(QStringLiteral("Cannot inspect the folder."));
    if (!FileIdentity::sameFile(source.identity, file.now->file) ||
        !FileIdentity::sameFile(source.parentIdentity, file.now->folder))
        return QStringLiteral("This file changed or moved. Remove it and add it again.");
    bool changes = Filename::canonical(intent.filename) != file.canonicalName;
    if (changes && file.now->renameRefusal)
        return file.now->renameRefusal;
    if (changes) {
        if (auto problem = VolumeFilename::problem(intent.filename, folder.format))
            return problem;
    }
    if (changes && tooLongToJournal(folder.pathBytes, intent.filename))
        return QStringLiteral("The complete path would be too long to journal safely. Shorten "
                              "the folder path or filename.");

    if (checkWindows) {
        if (auto problem = WindowsFilename::problem(intent.filename))
            return problem;
    }
    if (destinations.value({source.parentIdentity, proposedKey}) >= 2)
        return QStringLiteral(
            "Two files would have the same name (ignoring case and Unicode form).");
    if (!folder.keysHeldByOthers)
        return QStringLiteral("Cannot read this folder. Check its permissions.");
    if (folder.keysHeldByOthers->contains(proposedKey))
        return QStringLiteral("A file or folder with this name already exists.");
    return std::nullopt;
}

} // namespace

QList<PreviewRow> rows(const QList<RenameIntent>& intents, bool checkWindows, bool formerNames) {
    QList<FileRecord> sources;
    sources.reserve(intents.size());
    for (const RenameIntent& intent : intents)
        sources.append(intent.source);
    QList<qsizetype> observedAt(intents.size());
    std::iota(observedAt.begin(), observedAt.end(), 0);
    return rows(intents, checkWindows, BatchObservation::take(sources), observedAt, formerNames);
}

QList<PreviewRow> rows(QList<RenameIntent> intents, bool checkWindows,
                       const BatchObservation& observed, const QList<qsizetype>& observedAt,
                       bool formerNames) {
    auto fileOf = [&](qsizetype index) -> const BatchObservation::File& {
        return observed.files[observedAt[index]];
    };
    // Moved, not copied: a copy touches every path's shared text, scattered
    // over the heap, and took a third of the judging.
    QList<PreviewRow> result;
    result.reserve(intents.size());
    for (RenameIntent& intent : intents)
        result.append(PreviewRow{std::move(intent), std::nullopt});

    // Between two keystrokes the whole batch is judged again, so the work
    // that needs no order is spread over the processors.
    QList<QString> proposedKeys(result.size());
    ParallelRanges::run(result.size(),
                        [&, keys = proposedKeys.data()](qsizetype begin, qsizetype end) {
                            for (qsizetype index = begin; index < end; ++index)
                                keys[index] = Filename::collisionKey(result[index].intent.filename);
                        });
    const QHash<DestinationKey, int> landing = destinations(result, proposedKeys);
    static const BatchObservation::Folder unlisted;
    ParallelRanges::run(result.size(), [&, rows = result.data()](qsizetype begin, qsizetype end) {
        for (qsizetype index = begin; index < end; ++index) {
            const BatchObservation::File& file = fileOf(index);
            const auto found = observed.folders.constFind(file.folderPath);
            rows[index].problem = problem(rows[index].intent, proposedKeys[index], file,
                                          found == observed.folders.cend() ? unlisted : *found,
                                          landing, checkWindows, formerNames);
        }
    });
    return result;
}

QList<FileRecord> sorted(const QList<FileRecord>& records) {
    QList<QString> names;
    names.reserve(records.size());
    for (const FileRecord& record : records)
        names.append(record.name());
    // The same name in two folders: the smaller full path, composed, first.
    auto byPath = [&](qsizetype a, qsizetype b) {
        return compareCodePoints(Filename::canonical(records[a].path),
                                 Filename::canonical(records[b].path)) < 0;
    };
    QList<FileRecord> result;
    result.reserve(records.size());
    for (qsizetype position : NaturalOrder::positions(names, byPath))
        result.append(records[position]);
    return result;
}

} // namespace RenamePreview
