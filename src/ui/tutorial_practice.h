#pragma once

#include "app/rename_mode.h"

#include <QString>
#include <QStringList>

#include <optional>

// The quick tutorial's practice: three sample names that exist only on screen,
// renamed by the same naming code as a real batch so the practice shows
// exactly what the app would propose.
struct TutorialPractice {
    RenameMode method = RenameMode::rules;
    // Used as typed, untrimmed, in the rules method only.
    QString projectName = QStringLiteral("Studio North");
    // Present between the sample rename and the sample undo.
    std::optional<QStringList> renamedNames;

    // "Brand deck v7.pdf", "IMG_8492.jpg", "Logo Final FINAL.png", in this order.
    static QStringList sampleNames();
    // The two-column text shown and parsed in the spreadsheet method; its rows
    // are deliberately not in the order of the samples.
    static QString spreadsheetSample();

    // One new name per sample, in the order of the samples: the first built-in
    // recipe with `projectName` as its base name, or the spreadsheet sample's
    // first row for each sample.
    QStringList proposedNames() const;
    // Why the practice cannot be renamed, or empty when it can.
    std::optional<QString> problem() const;

    friend bool operator==(const TutorialPractice&, const TutorialPractice&) = default;
};
