#include "core/rename_preview.h"

#include "core/file_safety.h"
#include "core/filename.h"
#include "core/natural_order.h"
#include "core/parallel_ranges.h"
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

// What every row needs more than once, worked out once: the names a file is
// known by and the key its proposal collides under.
struct RowNames {
    QString name;
    QString folderPath;
    QString proposedKey;
};

struct Tally {
    std::unordered_map<DestinationKey, int, DestinationKeyHash> destinationCount;
    std::unordered_map<FileIdentity, int, FileIdentityHash> identityCount;
};

Tally tally(const QList<RenameIntent>& intents, const QList<RowNames>& names) {
    Tally counts;
    counts.destinationCount.reserve(std::size_t(intents.size()));
    counts.identityCount.reserve(std::size_t(intents.size()));
    for (qsizetype index = 0; index < intents.size(); ++index) {
        const FileRecord& source = intents[index].source;
        ++counts.destinationCount[{source.parentIdentity, names[index].proposedKey}];
        ++counts.identityCount[source.identity];
    }
    return counts;
}

// The collision keys of a folder's entries that are not themselves in the
// batch, or nothing when the folder cannot be listed. `members` holds the
// names of the batch's files in this folder.
std::optional<QSet<QString>> takenNames(const FileSafety::OpenFolder& folder,
                                        const QSet<QString>& members) {
    auto listing = PosixFileSystem::listFolder(folder.fd.get());
    if (!listing)
        return std::nullopt;
    const std::vector<QByteArray>& entries = *listing.value;
    QList<std::optional<QString>> entryKeys(qsizetype(entries.size()));
    ParallelRanges::run(
        entryKeys.size(), [&, keys = entryKeys.data()](qsizetype begin, qsizetype end) {
            for (qsizetype index = begin; index < end; ++index) {
                const QByteArray& bytes = entries[std::size_t(index)];
                // A name that is not UTF-8 still takes its lossy spelling, which is
                // the cautious side: it can only block a proposal, never let one
                // through.
                QString name = FilePath::decodedName(bytes).value_or(QString::fromUtf8(bytes));
                if (!members.contains(name))
                    keys[index] = Filename::collisionKey(name);
            }
        });
    QSet<QString> keys;
    keys.reserve(entryKeys.size());
    for (const std::optional<QString>& key : entryKeys) {
        if (key)
            keys.insert(*key);
    }
    return keys;
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

// The folder of a group of rows, opened once for all of them.
struct Folder {
    std::optional<FileSafety::OpenFolder> open;
    QString failure;
    qsizetype pathBytes = 0;
};

// Checks 1 to 5 of a row: everything but the folder listing.
std::optional<QString> problemBeforeListing(const RenameIntent& intent, const RowNames& names,
                                            const Tally& counts, const Folder& folder,
                                            bool checkWindows) {
    const FileRecord& source = intent.source;
    if (counts.identityCount.at(source.identity) >= 2)
        return QStringLiteral("The same file was included more than once.");
    if (auto problem = Filename::problem(intent.filename))
        return problem;

    // The file must still be the very file, in the very folder, that was added.
    if (auto problem = Filename::problem(names.name))
        return problem;
    if (!folder.open)
        return folder.failure;
    try {
        auto now = FileSafety::lookup(*folder.open, names.name);
        if (!FileIdentity::sameFile(source.identity, now.file) ||
            !FileIdentity::sameFile(source.parentIdentity, now.folder))
            return QStringLiteral("This file changed or moved. Remove it and add it again.");
        bool changes = Filename::canonical(intent.filename) != Filename::canonical(names.name);
        if (changes && now.renameRefusal)
            return now.renameRefusal;
        if (changes && tooLongToJournal(folder.pathBytes, intent.filename))
            return QStringLiteral("The complete path would be too long to journal safely. Shorten "
                                  "the folder path or filename.");
    } catch (const RenameFailure& failure) {
        return failure.message;
    }

    if (checkWindows) {
        if (auto problem = WindowsFilename::problem(intent.filename))
            return problem;
    }
    if (counts.destinationCount.at({source.parentIdentity, names.proposedKey}) >= 2)
        return QStringLiteral(
            "Two files would have the same name (ignoring case and Unicode form).");
    return std::nullopt;
}

} // namespace

QList<PreviewRow> rows(const QList<RenameIntent>& intents, bool checkWindows) {
    // Between two keystrokes the whole batch is judged again, so the work
    // that needs no order is spread over the processors.
    QList<RowNames> names(intents.size());
    ParallelRanges::run(intents.size(), [&, rows = names.data()](qsizetype begin, qsizetype end) {
        for (qsizetype index = begin; index < end; ++index) {
            const FileRecord& source = intents[index].source;
            rows[index] = {source.name(), source.folderPath(),
                           Filename::collisionKey(intents[index].filename)};
        }
    });
    const Tally counts = tally(intents, names);

    // Rows are judged folder by folder so that each folder is opened once, for
    // every lookup and its one listing, and only one descriptor is open at a
    // time however many folders the batch spans.
    QHash<QString, QList<qsizetype>> rowsByFolder;
    QList<QString> folderOrder;
    for (qsizetype index = 0; index < intents.size(); ++index) {
        auto& members = rowsByFolder[names[index].folderPath];
        if (members.isEmpty())
            folderOrder.append(names[index].folderPath);
        members.append(index);
    }

    QList<PreviewRow> result;
    result.reserve(intents.size());
    for (const RenameIntent& intent : intents)
        result.append(PreviewRow{intent, std::nullopt});

    for (const QString& folderPath : folderOrder) {
        Folder folder{std::nullopt, {}, folderPath.toUtf8().size() + 1};
        try {
            folder.open = FileSafety::openFolder(folderPath);
        } catch (const RenameFailure& failure) {
            folder.failure = failure.message;
        }

        const QList<qsizetype>& members = rowsByFolder[folderPath];
        ParallelRanges::run(members.size(),
                            [&, rows = result.data()](qsizetype begin, qsizetype end) {
                                for (qsizetype member = begin; member < end; ++member) {
                                    qsizetype index = members[member];
                                    rows[index].problem = problemBeforeListing(
                                        intents[index], names[index], counts, folder, checkWindows);
                                }
                            });
        QList<qsizetype> reachListing;
        QSet<QString> memberNames;
        memberNames.reserve(members.size());
        for (qsizetype index : members) {
            memberNames.insert(names[index].name);
            if (!result[index].problem)
                reachListing.append(index);
        }
        if (reachListing.isEmpty())
            continue;

        auto taken = takenNames(*folder.open, memberNames);
        for (qsizetype index : reachListing) {
            if (!taken)
                result[index].problem =
                    QStringLiteral("Cannot read this folder. Check its permissions.");
            else if (taken->contains(names[index].proposedKey))
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
