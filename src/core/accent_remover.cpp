#include "core/accent_remover.h"

#include <unicode/translit.h>
#include <unicode/unistr.h>

#include <algorithm>

// Marks are removed only where they follow a Latin letter once decomposed;
// ICU's Latin-ASCII then spells the remaining Latin letters, and only those,
// in ASCII.
struct AccentRemover::Transliterator {
    std::unique_ptr<icu::Transliterator> icu;
};

namespace {

const char16_t rules[] =
    u"::NFD; ([:Latin:]) [:Mn:]+ > $1; ::NFC; ::[[:Latin:]-[:ASCII:]] Latin-ASCII;";

} // namespace

AccentRemover::AccentRemover() : transliterator(std::make_unique<Transliterator>()) {
    UErrorCode status = U_ZERO_ERROR;
    UParseError error;
    transliterator->icu.reset(icu::Transliterator::createFromRules(
        "Tessary-RemoveAccents", icu::UnicodeString(rules), UTRANS_FORWARD, error, status));
    // Without ICU's data the names keep their accents rather than fail.
    if (U_FAILURE(status))
        transliterator->icu.reset();
}

AccentRemover::~AccentRemover() = default;

QString AccentRemover::removed(const QString& text) const {
    // Most names are plain ASCII, which has nothing to remove, and the
    // transliteration costs about ten microseconds a name.
    bool ascii =
        std::all_of(text.begin(), text.end(), [](QChar unit) { return unit.unicode() < 0x80; });
    if (ascii || !transliterator->icu)
        return text;
    icu::UnicodeString converted(reinterpret_cast<const char16_t*>(text.utf16()),
                                 int32_t(text.size()));
    {
        QMutexLocker lock(&mutex);
        transliterator->icu->transliterate(converted);
    }
    return QString(reinterpret_cast<const QChar*>(converted.getBuffer()), converted.length());
}
