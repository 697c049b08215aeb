#pragma once

#include "core/batch/rename_intent.h"
#include "core/naming/duplicate_format.h"
#include "core/preview/batch_observation.h"

#include <QList>

// The opt-in way out when several files of a batch would get the same name.
namespace DuplicateSuffix {

// `intents` with the proposals that another file of the batch would also get
// in the same folder (the same name ignoring case and Unicode form) numbered
// 2, 3, and so on before the extension, in the order given. The first keeps
// its name; so does a file whose proposal is its own current name, which then
// counts as the first. A name that a file outside the batch already holds is
// left alone, as is a folder that cannot be read and a name no file may
// have: nothing is ever worked around a name on disk or a refused name, so
// the preview refuses them. A numbered name may still collide, and the
// preview judges it like any other. The folders are as `observed` found them;
// the intent at position i is about the observed file at `observedAt[i]`.
QList<RenameIntent> numbered(QList<RenameIntent> intents, DuplicateFormat format,
                             const BatchObservation& observed, const QList<qsizetype>& observedAt);

} // namespace DuplicateSuffix
