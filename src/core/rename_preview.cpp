#include "core/rename_preview.h"

#include "core/file_safety.h"
#include "core/filename.h"
#include "core/natural_order.h"
#include "core/posix_file_system.h"
#include "core/rename_failure.h"
#include "core/rename_journal.h"
#include "core/windows_filename.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <numeric>
#include <unordered_map>
#include <unordered_set>

namespace RenamePreview {
namespace {

// Where a proposed name would land. Keyed by the folder's identity rather than
// its path, so two paths to one folder count as one folder.
struct DestinationKey {
    FileIdentity parent;
    QString name;

    friend bool operator==(const DestinationKey&, const DestinationKey&) = default;
};

struct DestinationKeyHash {
    std::size_t operator()(const DestinationKey& key) const noexcept {
        return FileIdentityHash{}(key.parent) ^ (qHash(key.name) * 0x9e3779b97f4a7c15ULL);
    }
};

struct Tally {
    std::unordered_map<DestinationKey, int, DestinationKeyHash> destinationCount;
    std::unordered_map<FileIdentity, int, FileIdentityHash> identityCount;
    QSet<QString> sourcePaths;
};

Tally tally(const QList<RenameIntent>& intents, const QList<QString>& proposedKeys) {
    Tally counts;
    counts.sourcePaths.reserve(intents.size());
    for (qsizetype index = 0; index < intents.size(); ++index) {
        const FileRecord& source = intents[index].source;
        counts.sourcePaths.insert(source.path);
        ++counts.destinationCount[{source.parentIdentity, proposedKeys[index]}];
        ++counts.identityCount[source.identity];
    }
    return counts;
}

// The collision keys of a folder's entries that are not themselves in the
// batch, or nothing when the folder cannot be listed.
std::optional<QSet<QString>> takenNames(const FileSafety::OpenFolder& folder,
                                        const QString& folderPath, const QSet<QString>& sources) {
    auto listing = PosixFileSystem::listFolder(folder.fd.get());
    if (!listing)
        return std::nullopt;
    QSet<QString> keys;
    keys.reserve(qsizetype(listing.value->size()));
    for (const QByteArray& bytes : *listing.value) {
        // A name that is not UTF-8 still takes its lossy spelling, which is the
        // cautious side: it can only block a proposal, never let one through.
        QString name = FilePath::decodedName(bytes).value_or(QString::fromUtf8(bytes));
        if (sources.contains(FilePath::joined(folderPath, name)))
            continue;
        keys.insert(Filename::collisionKey(name));
    }
    return keys;
}

// The engine journals the new path and a staging path beside it; the longest
// staging name is that of a batch's last possible file.
bool tooLongToJournal(const QString& folderPath, const QString& filename) {
    static const qsizetype longestStaging =
        RenameJournal::stagingName(QUuid(), batchLimit - 1).size();
    qsizetype folderBytes = folderPath.toUtf8().size() + 1;
    return folderBytes + std::max(filename.toUtf8().size(), longestStaging) >
           RenameJournal::maximumPathBytes;
}

// Checks 1 to 5 of a row: everything but the folder listing.
std::optional<QString> problemBeforeListing(const RenameIntent& intent, const QString& proposedKey,
                                            const Tally& counts,
                                            const std::optional<FileSafety::OpenFolder>& folder,
                                            const QString& folderFailure, bool checkWindows) {
    const FileRecord& source = intent.source;
    if (counts.identityCount.at(source.identity) >= 2)
        return QStringLiteral("The same file was included more than once.");
    if (auto problem = Filename::problem(intent.filename))
        return problem;

    // The file must still be the very file, in the very folder, that was added.
    if (auto problem = Filename::problem(source.name()))
        return problem;
    if (!folder)
        return folderFailure;
    try {
        auto now = FileSafety::lookup(*folder, source.name());
        if (!FileIdentity::sameFile(source.identity, now.file) ||
            !FileIdentity::sameFile(source.parentIdentity, now.folder))
            return QStringLiteral("This file changed or moved. Remove it and add it again.");
        bool changes = Filename::canonical(intent.filename) != Filename::canonical(source.name());
        if (changes && now.renameRefusal)
            return now.renameRefusal;
        if (changes && tooLongToJournal(source.folderPath(), intent.filename))
            return QStringLiteral("The complete path would be too long to journal safely. Shorten "
                                  "the folder path or filename.");
    } catch (const RenameFailure& failure) {
        return failure.message;
    }

    if (checkWindows) {
        if (auto problem = WindowsFilename::problem(intent.filename))
            return problem;
    }
    if (counts.destinationCount.at({source.parentIdentity, proposedKey}) >= 2)
        return QStringLiteral(
            "Two files would have the same name (ignoring case and Unicode form).");
    return std::nullopt;
}

} // namespace

QList<PreviewRow> rows(const QList<RenameIntent>& intents, bool checkWindows) {
    QList<QString> proposedKeys;
    proposedKeys.reserve(intents.size());
    for (const RenameIntent& intent : intents)
        proposedKeys.append(Filename::collisionKey(intent.filename));
    const Tally counts = tally(intents, proposedKeys);

    // Rows are judged folder by folder so that each folder is opened once, for
    // every lookup and its one listing, and only one descriptor is open at a
    // time however many folders the batch spans.
    QHash<QString, QList<qsizetype>> rowsByFolder;
    QList<QString> folderOrder;
    for (qsizetype index = 0; index < intents.size(); ++index) {
        QString folderPath = intents[index].source.folderPath();
        auto& members = rowsByFolder[folderPath];
        if (members.isEmpty())
            folderOrder.append(folderPath);
        members.append(index);
    }

    QList<PreviewRow> result;
    result.reserve(intents.size());
    for (const RenameIntent& intent : intents)
        result.append(PreviewRow{intent, std::nullopt});

    for (const QString& folderPath : folderOrder) {
        std::optional<FileSafety::OpenFolder> folder;
        QString folderFailure;
        try {
            folder = FileSafety::openFolder(folderPath);
        } catch (const RenameFailure& failure) {
            folderFailure = failure.message;
        }

        QList<qsizetype> reachListing;
        for (qsizetype index : rowsByFolder[folderPath]) {
            result[index].problem = problemBeforeListing(
                intents[index], proposedKeys[index], counts, folder, folderFailure, checkWindows);
            if (!result[index].problem)
                reachListing.append(index);
        }
        if (reachListing.isEmpty())
            continue;

        auto taken = takenNames(*folder, folderPath, counts.sourcePaths);
        for (qsizetype index : reachListing) {
            if (!taken)
                result[index].problem =
                    QStringLiteral("Cannot read this folder. Check its permissions.");
            else if (taken->contains(proposedKeys[index]))
                result[index].problem =
                    QStringLiteral("A file or folder with this name already exists.");
        }
    }
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
