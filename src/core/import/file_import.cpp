#include "core/import/file_import.h"

#include "core/base/batch_limit.h"
#include "core/base/rename_failure.h"
#include "core/batch/file_safety.h"
#include "core/naming/filename.h"
#include "core/naming/natural_order.h"
#include "core/platform/posix_file_system.h"
#include "core/preview/rename_preview.h"

#include <QHash>

#include <algorithm>
#include <numeric>
#include <unordered_map>
#include <unordered_set>
#include <variant>

namespace FileImport {
namespace {

constexpr qsizetype skippedLineCap = 50;

struct Candidate {
    QString path;
    QString name;
    // Linux names are bytes; one that is not UTF-8 cannot be named safely again
    // through its decoded text, so it is refused rather than renamed lossily.
    bool validName = true;
};

QString line(const QString& name, const QString& reason) {
    return Filename::shown(name) + QStringLiteral(": ") + reason;
}

// Holds each folder opened during one import, so that five thousand files of
// one folder cost one walk from "/" instead of five thousand.
class FolderCache {
public:
    const std::variant<FileSafety::OpenFolder, QString>& folder(const QString& path) {
        auto found = folders.find(path);
        if (found != folders.end())
            return found->second;
        // Bounded, because each entry holds a descriptor.
        if (folders.size() >= 64)
            folders.clear();
        std::variant<FileSafety::OpenFolder, QString> outcome;
        try {
            outcome = FileSafety::openFolder(path);
        } catch (const RenameFailure& failure) {
            outcome = failure.message;
        }
        return folders.emplace(path, std::move(outcome)).first->second;
    }

private:
    std::unordered_map<QString, std::variant<FileSafety::OpenFolder, QString>> folders;
};

FileSafety::Identities record(FolderCache& cache, const Candidate& candidate) {
    if (!candidate.validName)
        throw RenameFailure(QStringLiteral("Filenames must be valid UTF-8."));
    if (auto problem = Filename::currentProblem(candidate.name))
        throw RenameFailure(*problem);
    const auto& folder = cache.folder(FilePath::parent(candidate.path));
    if (const auto* failure = std::get_if<QString>(&folder))
        throw RenameFailure(*failure);
    return FileSafety::lookup(std::get<FileSafety::OpenFolder>(folder), candidate.name);
}

void gatherFolder(const QString& path, QList<Candidate>& candidates, QStringList& skipped) {
    QString name = FilePath::lastComponent(path);
    UniqueFd folder;
    try {
        folder = FileSafety::directoryFD(path);
    } catch (const RenameFailure& failure) {
        skipped.append(line(name, failure.message));
        return;
    }
    // Listed through the descriptor just opened safely, so a folder swapped for
    // a link after the check cannot redirect the listing.
    auto listing = PosixFileSystem::listFolder(folder.get());
    if (!listing) {
        skipped.append(line(name, PosixFileSystem::errorText(listing.error) + QLatin1Char('.')));
        return;
    }
    for (const QByteArray& bytes : *listing.value) {
        if (bytes.startsWith('.'))
            continue;
        auto decoded = FilePath::decodedName(bytes);
        QString entry = decoded.value_or(QString::fromUtf8(bytes));
        candidates.append({FilePath::joined(path, entry), entry, decoded.has_value()});
    }
}

void gather(const QUrl& item, QList<Candidate>& candidates, QStringList& skipped) {
    if (!item.isLocalFile()) {
        skipped.append(
            line(item.fileName(), QStringLiteral("Only local file URLs are supported.")));
        return;
    }
    QString path = FilePath::standardized(item.toLocalFile());
    QString name = FilePath::lastComponent(path);
    auto status = PosixFileSystem::statPath(path.toUtf8());
    if (!status) {
        skipped.append(line(name, PosixFileSystem::errorText(status.error) + QLatin1Char('.')));
        return;
    }
    bool hidden = name.startsWith(QLatin1Char('.'));
    bool package = status.value->isDirectory && FileSafety::hasPackageExtension(name);
    if (status.value->isSymbolicLink || hidden || package) {
        skipped.append(line(name, QStringLiteral("Hidden files, links, and bundles are skipped.")));
        return;
    }
    if (status.value->isDirectory)
        gatherFolder(path, candidates, skipped);
    else
        candidates.append({path, name, true});
}

// Stable, by name only: equal names keep the order in which they were found.
void sortByName(QList<Candidate>& candidates) {
    QList<QString> names;
    names.reserve(candidates.size());
    for (const Candidate& candidate : candidates)
        names.append(candidate.name);
    QList<Candidate> ordered;
    ordered.reserve(candidates.size());
    for (qsizetype position : NaturalOrder::positions(names))
        ordered.append(std::move(candidates[position]));
    candidates = std::move(ordered);
}

} // namespace

ImportResult collect(const QList<QUrl>& items, const QList<FileRecord>& existing, qsizetype maximum,
                     const RenameProgress::Observer& progress) {
    auto report = [&](qsizetype done, qsizetype total) {
        if (progress)
            progress({RenameProgress::Phase::adding, done, total});
    };
    const qsizetype limit = std::clamp<qsizetype>(maximum, 0, batchLimit);
    ImportResult result;
    result.files = existing;
    std::unordered_set<FileIdentity, FileIdentityHash> known;
    for (const FileRecord& record : existing)
        known.insert(record.identity);

    QList<Candidate> candidates;
    for (const QUrl& item : items)
        gather(item, candidates, result.skipped);
    sortByName(candidates);

    FolderCache folders;
    for (qsizetype examined = 0; examined < candidates.size(); ++examined) {
        report(examined, candidates.size());
        const Candidate& candidate = candidates[examined];
        try {
            if (FileSafety::isInsidePackage(candidate.path))
                throw RenameFailure(QStringLiteral(
                    "Files inside application or document bundles are not supported."));
            auto identities = record(folders, candidate);
            if (!known.insert(identities.file).second)
                continue;
            if (result.files.size() >= limit) {
                result.reachedLimit = true;
                break;
            }
            result.files.append({candidate.path, identities.file, identities.folder});
        } catch (const RenameFailure& failure) {
            if (result.skipped.size() < skippedLineCap)
                result.skipped.append(line(candidate.name, failure.message));
        }
    }

    // Candidates left out at the limit are dealt with as well: they stay out.
    report(candidates.size(), candidates.size());
    result.files = RenamePreview::sorted(result.files);
    return result;
}

QList<FileRecord> inGivenOrder(const QList<FileRecord>& files, const QList<QUrl>& items) {
    QHash<QString, qsizetype> given;
    for (qsizetype index = items.size() - 1; index >= 0; --index)
        given.insert(FilePath::standardized(items[index].toLocalFile()), index);
    auto place = [&](const FileRecord& file) {
        return given.value(file.path, given.value(file.folderPath(), items.size()));
    };
    QList<FileRecord> ordered = files;
    std::stable_sort(ordered.begin(), ordered.end(),
                     [&](const FileRecord& a, const FileRecord& b) { return place(a) < place(b); });
    return ordered;
}

} // namespace FileImport
