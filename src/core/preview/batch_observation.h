#pragma once

#include "core/batch/file_record.h"
#include "core/batch/file_safety.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

#include <atomic>
#include <optional>
#include <utility>

// What the disk says about a batch before any new name is known: each file
// looked up again in its folder, and each folder listed. Taking it is most of
// a preview's work and needs no proposed name, so a preview can have it
// taken while the user is still typing the names it will judge.
struct BatchObservation {
    struct File {
        QString name;
        QString folderPath;
        // The identities the file has now, or why it could not be looked up.
        // Neither when its name or folder already rules it out.
        std::optional<FileSafety::Identities> now;
        std::optional<QString> failure;
    };
    struct Folder {
        // Why the folder could not be opened; then none of its files was
        // looked up.
        std::optional<QString> failure;
        // Every entry's name and collision key, or nothing when the folder
        // could not be listed.
        std::optional<QList<std::pair<QString, QString>>> entries;
        // The folder's path in UTF-8 with its closing slash.
        qsizetype pathBytes = 0;
        // Whose rules for names the folder's volume keeps.
        VolumeFormat format = VolumeFormat::other;

        // The collision keys of the entries not named in `batchNames` (the
        // batch's own files here): the names other files hold. Nothing when
        // the folder could not be listed.
        std::optional<QSet<QString>> keysHeldBesides(const QSet<QString>& batchNames) const;
    };

    // One per record, in the records' order.
    QList<File> files;
    QHash<QString, Folder> folders;
    // Whether it was left unfinished because a newer one was asked for.
    bool abandoned = false;

    // Opens each folder once, one at a time, looks up its files and lists it.
    // Never fails: every failure is kept for the rows it concerns. Stops early,
    // marked abandoned, once `superseded` turns true.
    static BatchObservation take(const QList<FileRecord>& records,
                                 const std::atomic<bool>* superseded = nullptr);
};
