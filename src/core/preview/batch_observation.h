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
        // What the judging of every proposal asks of the name the file has:
        // whether it is a filename at all, and its canonical spelling.
        std::optional<QString> nameProblem;
        QString canonicalName;
        // Whether another record of the batch is the same file.
        bool repeated = false;
        // The identities the file has now, or why it could not be looked up.
        // Neither when its name or folder already rules it out.
        std::optional<FileSafety::Identities> now;
        std::optional<QString> failure;
    };
    struct Folder {
        // Why the folder could not be opened; then none of its files was
        // looked up.
        std::optional<QString> failure;
        // The collision keys of the entries that are not the batch's own
        // files: the names other files hold. Nothing when the folder could
        // not be listed.
        std::optional<QSet<QString>> keysHeldByOthers;
        // The folder's path in UTF-8 with its closing slash.
        qsizetype pathBytes = 0;
        // Whose rules for names the folder's volume keeps.
        VolumeFormat format = VolumeFormat::other;
    };

    // One per record, in the records' order.
    QList<File> files;
    QHash<QString, Folder> folders;
    // Whether it was left unfinished because a newer one was asked for.
    bool abandoned = false;

    // Opens each folder once, one at a time, looks up its files and lists it.
    // What depends on the files alone, and not on the names proposed for
    // them, is worked out here, while the user may still be typing.
    // Never fails: every failure is kept for the rows it concerns. Stops early,
    // marked abandoned, once `superseded` turns true.
    static BatchObservation take(const QList<FileRecord>& records,
                                 const std::atomic<bool>* superseded = nullptr);
};
