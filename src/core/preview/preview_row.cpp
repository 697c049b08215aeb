#include "core/preview/preview_row.h"

#include "core/naming/filename.h"

bool PreviewRow::changed() const {
    return Filename::canonical(intent.filename) != Filename::canonical(intent.source.name());
}
