#include "core/naming/name_tokens.h"

#include <QList>
#include <QStringView>
#include <QVarLengthArray>

#include <algorithm>

namespace {

using NameTokens::Token;

// One run of text in braces with no brace inside: "{taken:yyyy}" has the key
// "taken" and the format "yyyy"; "{draft}" has the key "draft" and no format.
struct Braced {
    qsizetype begin = 0;
    QStringView written;
    QStringView key;
    std::optional<QStringView> format;
};

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
    if (key == QLatin1String("camera"))
        return Token::camera;
    if (key == QLatin1String("lens"))
        return Token::lens;
    if (key == QLatin1String("width"))
        return Token::width;
    if (key == QLatin1String("height"))
        return Token::height;
    if (key == QLatin1String("artist"))
        return Token::artist;
    if (key == QLatin1String("album"))
        return Token::album;
    if (key == QLatin1String("title"))
        return Token::title;
    if (key == QLatin1String("track"))
        return Token::track;
    if (key == QLatin1String("year"))
        return Token::year;
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

// {track:00}: as many digits at least as there are zeros.
bool isWidth(QStringView format) {
    return !format.isEmpty() &&
           std::all_of(format.begin(), format.end(), [](QChar c) { return c == u'0'; });
}

bool isDate(Token kind) {
    return kind == Token::taken || kind == Token::modified;
}

// Why a token cannot take the format written after its colon, whatever the file.
std::optional<QString> formatProblem(Token kind, const Braced& run) {
    if (isDate(kind)) {
        if (run.format && !showsDate(*run.format))
            return QStringLiteral("The format in ") + run.written.toString() +
                   QStringLiteral(" shows no part of a date; use letters such as yyyy-MM-dd.");
        return std::nullopt;
    }
    if (run.format && kind == Token::track && !isWidth(*run.format))
        return QStringLiteral("{track} takes zeros after its colon, one for each digit, as in "
                              "{track:00}.");
    if (run.format && kind != Token::track)
        return QLatin1Char('{') + run.key.toString() +
               QStringLiteral("} takes no format; remove what follows its colon.");
    return std::nullopt;
}

// What a file records for `kind`, and the words for it when it records none.
struct Recorded {
    QString text;
    QString what;
};

Recorded recorded(Token kind, const FileFacts& facts, qsizetype digits) {
    auto number = [digits](std::int64_t value) {
        return value > 0 ? QString::number(value).rightJustified(digits, QLatin1Char('0'))
                         : QString();
    };
    switch (kind) {
    case Token::camera:
        return {facts.camera, QStringLiteral("camera model")};
    case Token::lens:
        return {facts.lens, QStringLiteral("lens")};
    case Token::width:
        return {number(facts.width), QStringLiteral("size in pixels")};
    case Token::height:
        return {number(facts.height), QStringLiteral("size in pixels")};
    case Token::artist:
        return {facts.artist, QStringLiteral("artist")};
    case Token::album:
        return {facts.album, QStringLiteral("album")};
    case Token::title:
        return {facts.title, QStringLiteral("title")};
    case Token::track:
        return {number(facts.track), QStringLiteral("track number")};
    default:
        return {number(facts.year), QStringLiteral("year")};
    }
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

Text::Text(const QString& text) {
    qsizetype copied = 0;
    for (const Braced& run : bracedRuns(text)) {
        Token kind = token(run.key);
        if (kind == Token::none)
            continue;
        Piece piece{text.mid(copied, run.begin - copied),
                    kind,
                    run.written.toString(),
                    run.format ? run.format->toString() : QString(),
                    formatProblem(kind, run),
                    QString()};
        if (isDate(kind) && !run.format)
            piece.format = QStringLiteral("yyyy-MM-dd");
        if (!isDate(kind) && kind != Token::folder && kind != Token::name)
            piece.missing = QStringLiteral("This file records no %1; %2 was left out.")
                                .arg(recorded(kind, FileFacts(), 0).what, piece.written);
        plainSize += piece.before.size();
        pieces.append(piece);
        copied = run.begin + run.written.size();
    }
    rest = text.mid(copied);
    plainSize += rest.size();
}

QString Text::expanded(const Values& values, Expansion& found,
                       const std::function<QString(const QString&)>& dateText) const {
    QString text;
    // Room for the values too, so that the text grows in one allocation.
    text.reserve(plainSize + 24 * pieces.size());
    const FileFacts* facts = values.facts;
    auto blocked = [&](const Piece& piece, const std::optional<QString>& problem) {
        if (!found.problem)
            found.problem = problem;
        text += piece.written;
    };
    for (const Piece& piece : pieces) {
        text += piece.before;
        if (piece.problem) {
            blocked(piece, piece.problem);
        } else if (piece.kind == Token::folder || piece.kind == Token::name) {
            text += piece.kind == Token::folder ? values.folder : values.stem;
        } else if (isDate(piece.kind)) {
            if (values.dateShiftProblem) {
                blocked(piece, values.dateShiftProblem);
                continue;
            }
            if (piece.kind == Token::taken && facts && facts->problem) {
                blocked(piece, facts->problem);
                continue;
            }
            const bool taken = piece.kind == Token::taken && facts && facts->taken;
            // A file that is gone has no modified date either; its facts say why.
            if (!taken && (!facts || !facts->modified.isValid())) {
                blocked(piece,
                        facts && facts->problem
                            ? facts->problem
                            : QStringLiteral("The dates of this file have not been read yet."));
                continue;
            }
            QDateTime when = taken ? *facts->taken : facts->modified;
            if (values.dateShift)
                when = when.addSecs(values.dateShift);
            QString date = values.dateTexts ? values.dateTexts->text(when, piece.format)
                                            : when.toString(piece.format);
            text += dateText ? dateText(date) : date;
            found.usedModifiedDate =
                found.usedModifiedDate || (piece.kind == Token::taken && !taken);
        } else if (!facts || facts->problem) {
            blocked(piece,
                    facts ? facts->problem
                          : QStringLiteral("The metadata of this file has not been read yet."));
        } else if (QString value = recorded(piece.kind, *facts, piece.format.size()).text;
                   !value.isEmpty()) {
            // What a file records of itself; a value it lacks is left out of
            // the name, and the row says so, rather than guessed.
            text += value;
        } else if (!found.leftOut.contains(piece.missing)) {
            found.leftOut.append(piece.missing);
        }
    }
    text += rest;
    return text;
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

bool usesFacts(const QString& text) {
    for (const Braced& run : bracedRuns(text)) {
        Token kind = token(run.key);
        if (kind != Token::none && kind != Token::folder && kind != Token::name)
            return true;
    }
    return false;
}

} // namespace NameTokens
