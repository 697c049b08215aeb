#pragma once

#include "core/base/rename_progress.h"
#include "core/batch/file_record.h"
#include "core/import/import_result.h"

#include <QList>
#include <QUrl>

// Turns selected or dropped items into the records of a batch.
namespace FileImport {

// Folders contribute their immediate visible entries; files are taken as they
// are. Links, hidden items and bundles are refused, duplicates of files already
// known are dropped silently, and no more than `maximum` (clamped to 0 to 5,000)
// records end up in the batch. Never fails as a whole and never writes.
// `progress` hears of the items found in the selection as each is examined.
ImportResult collect(const QList<QUrl>& items, const QList<FileRecord>& existing, qsizetype maximum,
                     const RenameProgress::Observer& progress = {});

// `files` in the order of the `items` that brought them in, a file given
// itself or one directly inside a folder given; the files of one item keep
// their order among themselves, and files no item brought come last.
QList<FileRecord> inGivenOrder(const QList<FileRecord>& files, const QList<QUrl>& items);

} // namespace FileImport
