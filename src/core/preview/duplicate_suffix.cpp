#include "core/preview/duplicate_suffix.h"

#include "core/naming/filename.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <unordered_map>

namespace {

// Positions of the intents that share a proposed name, by collision key, in
// one folder.
using Groups = QHash<QString, QList<qsizetype>>;

QString withNumber(const QString& name, DuplicateFormat format, qsizetype number) {
    qsizetype period = Filename::extensionPeriod(name);
    return name.left(period) + numbered(format, number) + name.mid(period);
}

} // namespace

namespace DuplicateSuffix {

QList<RenameIntent> numbered(QList<RenameIntent> intents, DuplicateFormat format,
                             const BatchObservation& observed, const QList<qsizetype>& observedAt) {
    std::unordered_map<FileIdentity, Groups, FileIdentityHash> folders;
    for (qsizetype index = 0; index < intents.size(); ++index) {
        const RenameIntent& intent = intents[index];
        folders[intent.source.parentIdentity][Filename::collisionKey(intent.filename)].append(
            index);
    }
    for (const auto& [parent, groups] : folders) {
        const QSet<QString>* onDisk = nullptr;
        bool listed = false;
        for (auto group = groups.begin(); group != groups.end(); ++group) {
            QList<qsizetype> members = group.value();
            // A name no file may have stays refused rather than numbered
            // into one that passes, as " (2)" would for an empty name.
            if (members.size() < 2 || Filename::problem(intents[members.front()].filename))
                continue;
            if (!listed) {
                const auto folder = observed.folders.constFind(
                    observed.files[observedAt[members.front()]].folderPath);
                if (folder != observed.folders.cend() && folder->keysHeldByOthers)
                    onDisk = &*folder->keysHeldByOthers;
                listed = true;
            }
            if (!onDisk || onDisk->contains(group.key()))
                continue;
            // A file that already has the name keeps it.
            auto keeps = std::find_if(members.begin(), members.end(), [&](qsizetype index) {
                return Filename::collisionKey(intents[index].source.name()) == group.key();
            });
            if (keeps != members.end())
                std::rotate(members.begin(), keeps, keeps + 1);
            for (qsizetype number = 2; number <= members.size(); ++number) {
                RenameIntent& intent = intents[members[number - 1]];
                intent.filename = withNumber(intent.filename, format, number);
            }
        }
    }
    return intents;
}

} // namespace DuplicateSuffix
