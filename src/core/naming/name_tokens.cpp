#include "core/naming/name_tokens.h"

#include <QList>
#include <QStringView>
#include <QVarLengthArray>

namespace {

// One run of text in braces with no brace inside: "{taken:yyyy}" has the key
// "taken" and the format "yyyy"; "{draft}" has the key "draft" and no format.
struct Braced {
    qsizetype begin = 0;
    QStringView written;
    QStringView key;
    std::optional<QStringView> format;
};

enum class Token { none, taken, modified, folder, name };

// A "{" that another "{" follows before any "}" is plain text, so "{{name}"
// is a brace and a token.
// Rules hold a few tokens at most, and every file of every preview parses
// them, so the runs stay on the stack.
using BracedRuns = QVarLengthArray<Braced, 4>;

BracedRuns bracedRuns(QStringView text) {
    BracedRuns runs;
    qsizetype open = -1;
    for (qsizetype index = 0; index < text.size(); ++index) {
        if (text[index] == QLatin1Char('{')) {
            open = index;
            continue;
        }
        if (text[index] != QLatin1Char('}') || open < 0)
            continue;
        QStringView inside = text.mid(open + 1, index - open - 1);
        Braced run{open, text.mid(open, index - open + 1), inside, std::nullopt};
        if (qsizetype colon = inside.indexOf(QLatin1Char(':')); colon >= 0) {
            run.key = inside.left(colon);
            run.format = inside.mid(colon + 1);
        }
        runs.append(run);
        open = -1;
    }
    return runs;
}

Token token(QStringView key) {
    if (key == QLatin1String("taken"))
        return Token::taken;
    if (key == QLatin1String("modified"))
        return Token::modified;
    if (key == QLatin1String("folder"))
        return Token::folder;
    if (key == QLatin1String("name"))
        return Token::name;
    return Token::none;
}

// Whether the format holds one of `letters` outside single quotes, where
// Qt reads text as literal.
bool holdsLetter(QStringView format, QStringView letters) {
    bool quoted = false;
    for (QChar character : format) {
        if (character == QLatin1Char('\''))
            quoted = !quoted;
        else if (!quoted && letters.contains(character))
            return true;
    }
    return false;
}

// Qt prints letters it does not know as they are, so a format without one
// letter it does know would put the same text in every name: a mistake, not
// a choice.
bool showsDate(QStringView format) {
    return holdsLetter(format, u"dMyhHmszaAt");
}

// Whether the format shows any part of the time of day (or its zone), so
// that two moments of one day may read differently.
bool showsTime(QStringView format) {
    return holdsLetter(format, u"hHmszaAt");
}

QString formatted(const QDateTime& when, const QString& format, NameTokens::DateTexts* dateTexts) {
    return dateTexts ? dateTexts->text(when, format) : when.toString(format);
}

struct Value {
    QString text;
    std::optional<QString> problem;
    bool usedModifiedDate = false;
};

Value dateValue(Token kind, const Braced& run, const NameTokens::Values& values) {
    const QString written = run.written.toString();
    QString format = run.format ? run.format->toString() : QStringLiteral("yyyy-MM-dd");
    if (!showsDate(format))
        return {written,
                QStringLiteral("The format in ") + written +
                    QStringLiteral(" shows no part of a date; use letters such as yyyy-MM-dd."),
                false};
    const std::optional<FileFacts>& facts = values.facts;
    if (kind == Token::taken && facts && facts->problem)
        return {written, facts->problem, false};
    if (kind == Token::taken && facts && facts->taken)
        return {formatted(*facts->taken, format, values.dateTexts), std::nullopt, false};
    // A file that is gone has no modified date either; its facts say why.
    if (!facts || !facts->modified.isValid())
        return {written,
                facts && facts->problem
                    ? facts->problem
                    : QStringLiteral("The dates of this file have not been read yet."),
                false};
    return {formatted(facts->modified, format, values.dateTexts), std::nullopt,
            kind == Token::taken};
}

Value tokenValue(Token kind, const Braced& run, const NameTokens::Values& values) {
    if (kind == Token::taken || kind == Token::modified)
        return dateValue(kind, run, values);
    if (run.format)
        return {run.written.toString(),
                QLatin1Char('{') + run.key.toString() +
                    QStringLiteral("} takes no format; remove what follows its colon."),
                false};
    return {kind == Token::folder ? values.folder : values.stem, std::nullopt, false};
}

} // namespace

namespace NameTokens {

QString DateTexts::text(const QDateTime& when, const QString& dateFormat) {
    if (dateFormat != format) {
        format = dateFormat;
        dayOnly = !showsTime(format);
        key.reset();
    }
    std::int64_t now = dayOnly ? when.date().toJulianDay() : when.toMSecsSinceEpoch();
    if (key != now) {
        written = when.toString(format);
        key = now;
    }
    return written;
}

Expansion expanded(const QString& text, const Values& values,
                   const std::function<QString(const QString&)>& dateText) {
    Expansion expansion;
    qsizetype copied = 0;
    for (const Braced& run : bracedRuns(text)) {
        Token kind = token(run.key);
        if (kind == Token::none)
            continue;
        expansion.text += QStringView(text).mid(copied, run.begin - copied);
        Value value = tokenValue(kind, run, values);
        bool date = (kind == Token::taken || kind == Token::modified) && !value.problem;
        expansion.text += date && dateText ? dateText(value.text) : value.text;
        if (!expansion.problem)
            expansion.problem = value.problem;
        expansion.usedModifiedDate = expansion.usedModifiedDate || value.usedModifiedDate;
        copied = run.begin + run.written.size();
    }
    expansion.text += QStringView(text).mid(copied);
    return expansion;
}

QStringList unknown(const QString& text) {
    QStringList found;
    for (const Braced& run : bracedRuns(text)) {
        if (token(run.key) != Token::none)
            continue;
        QString written = run.written.toString();
        if (!found.contains(written))
            found.append(written);
    }
    return found;
}

bool usesDates(const QString& text) {
    for (const Braced& run : bracedRuns(text)) {
        Token kind = token(run.key);
        if (kind == Token::taken || kind == Token::modified)
            return true;
    }
    return false;
}

} // namespace NameTokens
