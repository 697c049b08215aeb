#include "core/preview_row.h"

#include "core/filename.h"

bool PreviewRow::changed() const {
    return Filename::canonical(intent.filename) != Filename::canonical(intent.source.name());
}
