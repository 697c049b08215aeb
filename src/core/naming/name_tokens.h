#pragma once

#include "core/naming/file_facts.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <optional>

// The tokens a naming-rule text may hold: {taken}, {modified}, {folder},
// {name}; what an image records of itself, {camera}, {lens}, {width} and
// {height}; and a song's tags, {artist}, {album}, {title}, {track} and
// {year}. The two dates take an optional format after a colon in Qt's
// date-format letters ({taken:yyyy-MM-dd}), and each moves by the rule's date
// shift; {track:00} gives the track at least two digits. Text in braces that is no token
// stays as it is, as it always did, so rules written before tokens existed
// keep their results.
namespace NameTokens {

// Dates already written out in a format. Qt takes microseconds to write a
// date, and a card of photos from one day would have its day written
// thousands of times on every keystroke. Remembers the last date only, which
// is enough for a batch in date order; one per thread.
class DateTexts {
public:
    QString text(const QDateTime& when, const QString& format);

private:
    QString format;
    // The day when the format shows no time, else the moment; and its text.
    std::optional<std::int64_t> key;
    bool dayOnly = false;
    QString written;
};

// What the tokens of one file stand for.
struct Values {
    // The current filename without its extension.
    QString stem;
    // The name of the folder that holds the file.
    QString folder;
    // Null while the file's facts are unknown (a name made without a file).
    const FileFacts* facts = nullptr;
    // Where dates are written, when the caller keeps them; else each date
    // is written afresh.
    DateTexts* dateTexts = nullptr;
    // Seconds added to every date shown (DateShift).
    std::int64_t dateShift = 0;
    // Why the rule's date shift cannot be read; every date shown is then
    // this problem rather than a date that might be wrong.
    std::optional<QString> dateShiftProblem = {};
};

struct Expansion {
    QString text;
    // A token that cannot stand for anything: a bad date format, or a date
    // of a file whose facts are unknown or unreadable. The row is blocked.
    std::optional<QString> problem;
    // Set when {taken} stood for the modified date because the file records
    // no date taken; the preview tells the user.
    bool usedModifiedDate = false;
    // One sentence for each token left out because the file records no value
    // for it ("This file records no lens; {lens} was left out.").
    QStringList leftOut;
};

// What a text in braces stands for; none when it is no token.
enum class Token {
    none,
    taken,
    modified,
    folder,
    name,
    camera,
    lens,
    width,
    height,
    artist,
    album,
    title,
    track,
    year
};

// A rule text read once: every file of every preview expands the same few
// texts, and reading them costs more than filling them in.
class Text {
public:
    explicit Text(const QString& text = QString());

    // The text with every token replaced by its value for one file. What
    // went wrong or was left out is added to `found`, each sentence once.
    // When `dateText` is given, each date passes through it on its way in.
    QString expanded(const Values& values, Expansion& found,
                     const std::function<QString(const QString&)>& dateText = {}) const;

private:
    struct Piece {
        // The plain text before the token, as written.
        QString before;
        Token kind = Token::none;
        // The token as written, "{taken:yyyy}"; and its format, or a date's default.
        QString written;
        QString format;
        // Why the token stands for nothing whatever the file: a format it
        // cannot take.
        std::optional<QString> problem;
        // The row's sentence when the file records no value for the token.
        QString missing;
    };
    QList<Piece> pieces;
    // The plain text after the last token.
    QString rest;
    qsizetype plainSize = 0;
};

// The texts in braces within `text` that are not tokens, as written ("{draft}"),
// each once, in order: kept as text, and worth a word to whoever typed them.
QStringList unknown(const QString& text);

// Whether `text` holds a token whose value needs the file's facts.
bool usesFacts(const QString& text);

} // namespace NameTokens
