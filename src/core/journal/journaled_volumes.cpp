#include "core/journal/journaled_volumes.h"

#include "core/platform/volume_mount.h"

#include <map>
#include <set>

namespace JournaledVolumes {

QList<JournaledVolume> of(const QList<JournalEntry>& entries) {
    std::set<std::int32_t> devices;
    for (const JournalEntry& entry : entries) {
        for (const FileIdentity* identity : {&entry.identity, &entry.parentIdentity}) {
            if (identity->needsVolumeName())
                devices.insert(identity->device);
        }
    }
    if (devices.empty())
        return {};
    // A volume mounted at several places (bind mounts) is named after the
    // first of its names in text order, whichever order the table lists them.
    std::map<std::int32_t, QString> names;
    for (const VolumeMount& mount : VolumeMount::currentWithUuids()) {
        QString name = mount.recognisableName();
        if (name.isEmpty() || !devices.contains(mount.device))
            continue;
        auto [place, added] = names.emplace(mount.device, name);
        if (!added && name < place->second)
            place->second = name;
    }
    QList<JournaledVolume> volumes;
    for (const auto& [device, name] : names)
        volumes.append({device, name});
    return volumes;
}

void follow(RenameJournal& journal) {
    if (journal.volumes.isEmpty())
        return;
    const QList<VolumeMount> mounts = VolumeMount::currentWithUuids();
    std::map<std::int32_t, std::int32_t> moved;
    for (JournaledVolume& volume : journal.volumes) {
        std::set<std::int32_t> now;
        for (const VolumeMount& mount : mounts) {
            if (mount.knownNames().contains(volume.name))
                now.insert(mount.device);
        }
        if (now.contains(volume.device))
            continue;
        std::int32_t device = now.size() == 1 ? *now.begin() : unrecognisedDevice;
        moved[volume.device] = device;
        volume.device = device;
    }
    for (JournalEntry& entry : journal.entries) {
        for (FileIdentity* identity : {&entry.identity, &entry.parentIdentity}) {
            auto found = moved.find(identity->device);
            if (found != moved.end() && identity->needsVolumeName())
                identity->device = found->second;
        }
    }
}

} // namespace JournaledVolumes
