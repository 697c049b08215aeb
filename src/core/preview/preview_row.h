#pragma once

#include "core/batch/rename_intent.h"

#include <QString>

#include <optional>

// One line of the preview: a planned rename and, when it may not go ahead, the
// sentence that says why.
struct PreviewRow {
    RenameIntent intent;
    std::optional<QString> problem;
    // Something worth knowing about the proposed name that does not block it,
    // such as a date that came from elsewhere than the user asked.
    std::optional<QString> note = std::nullopt;
    // The new name was typed for this one file rather than made by the rules.
    bool namedByHand = false;

    QString id() const { return intent.source.id(); }

    // Whether the name really changes. A proposal that differs only in Unicode
    // normalization form is the same name; one that differs in letter case is
    // a change.
    bool changed() const;

    friend bool operator==(const PreviewRow&, const PreviewRow&) = default;
};
