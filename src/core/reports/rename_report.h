#pragma once

#include "core/preview/preview_row.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QUuid>

#include <optional>

// The data behind both reports the user can save: a draft of the current
// preview, or the receipt of the last completed batch. Filenames only, never
// folder paths.
struct RenameReport {
    struct Entry {
        QString original;
        QString proposed;
        // Shown verbatim: "Proposed change", "Proposed change, named by hand",
        // "Unchanged", "Needs attention" or "Renamed".
        QString state;

        friend bool operator==(const Entry&, const Entry&) = default;
    };

    QList<Entry> entries;
    qsizetype changedCount = 0;
    qsizetype unchangedCount = 0;
    qsizetype blockedCount = 0;
    bool completed = false;
    std::optional<QUuid> batchID;
    qsizetype mappingIssues = 0;
    bool checkWindows = false;

    friend bool operator==(const RenameReport&, const RenameReport&) = default;

    // What the preview would do. Never fails and never reads the disk.
    static RenameReport draft(const QList<PreviewRow>& rows, qsizetype mappingIssues,
                              bool checkWindows);

    // The standalone HTML document: an inline style sheet, a content security
    // policy that allows nothing else, filenames escaped, no folder paths.
    // Stamped with the current moment, or with `exported`.
    QString html() const;
    QString html(const QDateTime& exported) const;
};
