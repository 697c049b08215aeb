#pragma once

#include <QRegularExpression>
#include <QString>

#include <optional>

// A find text read as a regular expression, with groups that the
// replacement takes back: $1 to $9, ${10} and ${name} for a named group, $0
// for the whole match, $$ for a dollar sign, and \U or \L up to \E for upper
// or lower case of what lies between.
namespace FindPattern {

// The sentence for a name on which the pattern gave up.
inline constexpr const char* tooSlow = "This pattern takes too long on this name; simplify it.";

struct Compiled {
    // Matches with Unicode classes (\w takes "é"), and gives up after a
    // bounded amount of backtracking, so one pattern can never hold the
    // preview for long over thousands of names.
    QRegularExpression regex;
    // Why `regex` cannot be used; it then matches nothing.
    std::optional<QString> problem;
};

Compiled compiled(const QString& pattern);

// The group that `replacement` asks for but the pattern lacks, as one sentence.
std::optional<QString> referenceProblem(const QRegularExpression& regex,
                                        const QString& replacement);

struct Replaced {
    QString text;
    // A missing group, or tooSlow; with tooSlow the text is unchanged.
    std::optional<QString> problem;
};

// `text` with every match of `regex` replaced, scanning from the start.
Replaced replaced(const QString& text, const QRegularExpression& regex, const QString& replacement);

} // namespace FindPattern
