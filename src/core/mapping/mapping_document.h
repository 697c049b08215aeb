#pragma once

#include <QList>
#include <QString>

#include <optional>

// One accepted row of a spreadsheet: the old filename and the new one,
// exactly as written, and the line on which the record starts.
struct MappingEntry {
    qsizetype row = 0;
    QString oldName;
    QString newName;

    friend bool operator==(const MappingEntry&, const MappingEntry&) = default;
};

// One problem with a spreadsheet, or with a file the spreadsheet does not name.
struct MappingDiagnostic {
    // The line of the record concerned; empty for the text as a whole, or for
    // a selected file that no row names.
    std::optional<qsizetype> row;
    // The original filename concerned; the parser never sets it.
    std::optional<QString> name;
    QString message;

    // Row (0 when absent), name (empty when absent) and message, joined by "|".
    QString id() const;

    friend bool operator==(const MappingDiagnostic&, const MappingDiagnostic&) = default;
};

// A parsed spreadsheet: entries and no diagnostics, or one diagnostic and no
// entries, never both.
struct MappingDocument {
    QList<MappingEntry> entries;
    QList<MappingDiagnostic> diagnostics;

    friend bool operator==(const MappingDocument&, const MappingDocument&) = default;
};
