#include "core/preview/batch_observation.h"

#include "core/base/parallel_ranges.h"
#include "core/base/rename_failure.h"
#include "core/naming/filename.h"
#include "core/platform/posix_file_system.h"

namespace {

std::optional<QList<std::pair<QString, QString>>> listed(const FileSafety::OpenFolder& folder) {
    auto listing = PosixFileSystem::listFolder(folder.fd.get());
    if (!listing)
        return std::nullopt;
    const std::vector<QByteArray>& names = *listing.value;
    QList<std::pair<QString, QString>> entries(qsizetype(names.size()));
    ParallelRanges::run(
        entries.size(), [&, keyed = entries.data()](qsizetype begin, qsizetype end) {
            for (qsizetype index = begin; index < end; ++index) {
                const QByteArray& bytes = names[std::size_t(index)];
                // A name that is not UTF-8 still takes its lossy spelling, which is
                // the cautious side: it can only block a proposal, never let one
                // through.
                QString name = FilePath::decodedName(bytes).value_or(QString::fromUtf8(bytes));
                keyed[index] = {name, Filename::collisionKey(name)};
            }
        });
    return entries;
}

} // namespace

std::optional<QSet<QString>>
BatchObservation::Folder::keysHeldBesides(const QSet<QString>& batchNames) const {
    if (!entries)
        return std::nullopt;
    QSet<QString> keys;
    keys.reserve(entries->size());
    for (const auto& [name, key] : *entries) {
        if (!batchNames.contains(name))
            keys.insert(key);
    }
    return keys;
}

BatchObservation BatchObservation::take(const QList<FileRecord>& records,
                                        const std::atomic<bool>* superseded) {
    BatchObservation observation;
    observation.files.resize(records.size());
    File* files = observation.files.data();
    QHash<QString, QList<qsizetype>> membersByFolder;
    QList<QString> folderOrder;
    for (qsizetype index = 0; index < records.size(); ++index) {
        files[index].name = records[index].name();
        files[index].folderPath = records[index].folderPath();
        auto& members = membersByFolder[files[index].folderPath];
        if (members.isEmpty())
            folderOrder.append(files[index].folderPath);
        members.append(index);
    }

    // One folder at a time, so that one descriptor is open however many
    // folders the batch spans.
    for (const QString& folderPath : folderOrder) {
        if (superseded && superseded->load()) {
            observation.abandoned = true;
            return observation;
        }
        Folder& folder = observation.folders[folderPath];
        folder.pathBytes = folderPath.toUtf8().size() + 1;
        std::optional<FileSafety::OpenFolder> open;
        try {
            open = FileSafety::openFolder(folderPath);
        } catch (const RenameFailure& failure) {
            folder.failure = failure.message;
            continue;
        }
        folder.format = open->format;
        const QList<qsizetype>& members = membersByFolder[folderPath];
        ParallelRanges::run(members.size(), [&](qsizetype begin, qsizetype end) {
            for (qsizetype member = begin; member < end; ++member) {
                if (superseded && superseded->load(std::memory_order_relaxed))
                    return;
                File& file = files[members[member]];
                // A name that is no filename is never asked for.
                if (Filename::currentProblem(file.name))
                    continue;
                try {
                    file.now = FileSafety::lookup(*open, file.name);
                } catch (const RenameFailure& failure) {
                    file.failure = failure.message;
                }
            }
        });
        if (superseded && superseded->load()) {
            observation.abandoned = true;
            return observation;
        }
        folder.entries = listed(*open);
    }
    return observation;
}
