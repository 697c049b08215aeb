#include "core/journal/journal_purpose.h"

QString rawValue(JournalPurpose purpose) {
    return purpose == JournalPurpose::rename ? QStringLiteral("rename") : QStringLiteral("undo");
}

std::optional<JournalPurpose> journalPurposeFromRaw(QStringView raw) {
    if (raw == u"rename")
        return JournalPurpose::rename;
    if (raw == u"undo")
        return JournalPurpose::undo;
    return std::nullopt;
}
