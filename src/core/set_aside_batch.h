#pragma once

#include "core/journal_entry.h"

#include <QList>
#include <QString>

// What restoring the files of an interrupted batch that can still be found
// did: how many are back under their original names, which could not be found
// (with every name the journal recorded for them), and the journal record kept
// in the journal folder in place of the active journal.
struct SetAsideBatch {
    qsizetype restored = 0;
    QList<JournalEntry> missing;
    // Full path of the dated record; empty when nothing was missing and the
    // batch was simply recovered.
    QString record;
};
