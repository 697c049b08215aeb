#pragma once

#include "core/base/batch_limit.h"
#include "core/journal/journal_entry.h"
#include "core/journal/journal_purpose.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUuid>

#include <cstdint>

// The complete description of one batch, written durably before the first
// file is touched. It is what recovery works from after a crash and what undo
// and the receipt are made from after a completed batch.
// A volume whose files record no birth time, under the device number it had
// when the batch was journaled, with the name that recognises it once it is
// mounted again under another.
struct JournaledVolume {
    std::int32_t device = 0;
    QString name;

    friend bool operator==(const JournaledVolume&, const JournaledVolume&) = default;
};

struct RenameJournal {
    std::int64_t version = 1;
    QUuid id;
    bool completed = false;
    JournalPurpose purpose = JournalPurpose::rename;
    // One per file whose name changes, in batch order; 1 to 5,000 of them.
    QList<JournalEntry> entries;
    // Written only when there are any, so other journals keep their form.
    QList<JournaledVolume> volumes;

    friend bool operator==(const RenameJournal&, const RenameJournal&) = default;

    static constexpr qsizetype maximumEntries = batchLimit;
    static constexpr qsizetype maximumPathBytes = 1023;
    static constexpr qsizetype maximumDocumentBytes = 134'217'728;

    // ".tessary-" + batch id in upper case + "-" + position: hidden, and unique
    // to its batch, so it never meets a user's file or another batch's.
    static QString stagingName(const QUuid& batch, qsizetype position);

    // Compact JSON with every "/" written as "\/".
    QByteArray encoded() const;

    // Decodes a document and checks every invariant a journal must satisfy
    // before anything acts on it. Throws RenameFailure with the reader's
    // sentence for a damaged, unsupported or unsafe journal.
    static RenameJournal decoded(const QByteArray& document);
};

void to_json(nlohmann::ordered_json& json, const RenameJournal& journal);
void from_json(const nlohmann::ordered_json& json, RenameJournal& journal);
