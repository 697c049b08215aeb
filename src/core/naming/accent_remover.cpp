#include "core/naming/accent_remover.h"

#include "core/naming/filename.h"

#include <unicode/translit.h>
#include <unicode/unistr.h>

#include <QList>

#include <algorithm>
#include <string>

struct AccentRemover::Transliterator {
    std::unique_ptr<icu::Transliterator> icu;
};

namespace {

// ICU's Latin-ASCII, on Latin letters outside ASCII only: "Æ" to "AE", "ß" to
// "ss", "Ł" to "L". It costs about ten microseconds a name, so the marks,
// the common case, come off before it without it.
const char16_t rules[] = u"::[[:Latin:]-[:ASCII:]] Latin-ASCII;";

// The text decomposed without the nonspacing marks that follow a Latin
// letter, composed again. Marks on the letters of other scripts stay.
QString withoutLatinMarks(const QString& text) {
    std::u32string kept;
    bool afterLatin = false;
    for (uint character : text.normalized(QString::NormalizationForm_D).toUcs4()) {
        bool mark = QChar::category(character) == QChar::Mark_NonSpacing;
        if (mark && afterLatin)
            continue;
        if (!mark)
            afterLatin = QChar::script(character) == QChar::Script_Latin;
        kept.push_back(char32_t(character));
    }
    return QString::fromUcs4(kept.data(), qsizetype(kept.size()))
        .normalized(QString::NormalizationForm_C);
}

bool holdsLatinBeyondAscii(const QString& text) {
    const QList<uint> characters = text.toUcs4();
    return std::any_of(characters.begin(), characters.end(), [](uint character) {
        return character >= 0x80 && QChar::script(character) == QChar::Script_Latin;
    });
}

} // namespace

AccentRemover::AccentRemover() : transliterator(std::make_unique<Transliterator>()) {
    UErrorCode status = U_ZERO_ERROR;
    UParseError error;
    transliterator->icu.reset(icu::Transliterator::createFromRules(
        "Tessary-LatinASCII", icu::UnicodeString(rules), UTRANS_FORWARD, error, status));
    // Without ICU's data such letters keep their spelling rather than fail.
    if (U_FAILURE(status))
        transliterator->icu.reset();
}

AccentRemover::~AccentRemover() = default;

QString AccentRemover::removed(const QString& text) const {
    if (Filename::isAscii(text))
        return text;
    QString result = withoutLatinMarks(text);
    if (!transliterator->icu || !holdsLatinBeyondAscii(result))
        return result;
    icu::UnicodeString converted(reinterpret_cast<const char16_t*>(result.utf16()),
                                 int32_t(result.size()));
    {
        QMutexLocker lock(&mutex);
        transliterator->icu->transliterate(converted);
    }
    return QString(reinterpret_cast<const QChar*>(converted.getBuffer()), converted.length());
}
