#pragma once

#include "core/journal/journal_entry.h"

#include <QList>
#include <QString>

// What restoring the files of an interrupted batch that can still be found
// did: how many are back under their original names, which could not be found
// (with every name the journal recorded for them), and the journal record kept
// in the journal folder in place of the active journal.
struct SetAsideBatch {
    // A file that came back beside its original name, which another program
    // had taken: `name` is the last component it has now.
    struct Renamed {
        JournalEntry entry;
        QString name;
    };

    qsizetype restored = 0;
    QList<JournalEntry> missing;
    QList<Renamed> renamed;
    // What the person should know besides, in sentences: a card can keep a
    // file under a second name, or lose one, when pulled mid-move.
    QStringList notes;
    // Full path of the dated record; empty when every file is back under its
    // original name and the batch was simply recovered.
    QString record;
};
