#include "core/preview/batch_observation.h"

#include "core/base/parallel_ranges.h"
#include "core/base/rename_failure.h"
#include "core/naming/filename.h"
#include "core/platform/posix_file_system.h"

#include <unordered_map>

namespace {

// The collision keys of the folder's entries that are not named in
// `batchNames`, the batch's own files there.
std::optional<QSet<QString>> keysHeldBesides(const FileSafety::OpenFolder& folder,
                                             const QSet<QString>& batchNames) {
    auto listing = PosixFileSystem::listFolder(folder.fd.get());
    if (!listing)
        return std::nullopt;
    QList<QString> others;
    for (const QByteArray& bytes : *listing.value) {
        // A name that is not UTF-8 still takes its lossy spelling, which is
        // the cautious side: it can only block a proposal, never let one
        // through.
        QString name = FilePath::decodedName(bytes).value_or(QString::fromUtf8(bytes));
        if (!batchNames.contains(name))
            others.append(name);
    }
    QList<QString> keys(others.size());
    ParallelRanges::run(keys.size(), [&, keyed = keys.data()](qsizetype begin, qsizetype end) {
        for (qsizetype index = begin; index < end; ++index)
            keyed[index] = Filename::collisionKey(others[index]);
    });
    return QSet<QString>(keys.begin(), keys.end());
}

} // namespace

BatchObservation BatchObservation::take(const QList<FileRecord>& records,
                                        const std::atomic<bool>* superseded) {
    BatchObservation observation;
    observation.files.resize(records.size());
    File* files = observation.files.data();
    QHash<QString, QList<qsizetype>> membersByFolder;
    QList<QString> folderOrder;
    std::unordered_map<FileIdentity, qsizetype, FileIdentityHash> firstOf;
    firstOf.reserve(std::size_t(records.size()));
    for (qsizetype index = 0; index < records.size(); ++index) {
        files[index].name = records[index].name();
        files[index].folderPath = records[index].folderPath();
        auto& members = membersByFolder[files[index].folderPath];
        if (members.isEmpty())
            folderOrder.append(files[index].folderPath);
        members.append(index);
        if (auto [first, added] = firstOf.try_emplace(records[index].identity, index); !added)
            files[index].repeated = files[first->second].repeated = true;
    }
    ParallelRanges::run(records.size(), [&](qsizetype begin, qsizetype end) {
        for (qsizetype index = begin; index < end; ++index) {
            files[index].nameProblem = Filename::currentProblem(files[index].name);
            files[index].canonicalName = Filename::canonical(files[index].name);
        }
    });

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
                if (file.nameProblem)
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
        QSet<QString> batchNames;
        batchNames.reserve(members.size());
        for (qsizetype index : members)
            batchNames.insert(files[index].name);
        folder.keysHeldByOthers = keysHeldBesides(*open, batchNames);
    }
    return observation;
}
