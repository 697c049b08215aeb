#pragma once

#include <QString>
#include <QStringView>

#include <optional>

// The general judgement of a filename, used on every name that is about to
// touch the disk: current names when files are added, proposed names in the
// preview, both columns of a spreadsheet and every name read from a journal.
namespace Filename {

// Empty when `name` may be used as a filename, otherwise the sentence of the
// first failing check. Never touches the disk.
std::optional<QString> problem(const QString& name);

// The same judgement of a name a file already has, as when it is added or
// read back from a journal. Linux lets a name hold colons and control
// characters ("Screenshot 2024-05-04 at 10:30:00.png", a tab from a bad
// download); such a file may still be added and given a name that passes
// `problem`, and undo may give it its old name back.
std::optional<QString> currentProblem(const QString& name);

// `name` as it is shown, in the window, on a terminal or in a report: every
// control character written out (\t, \n, \x1b), so that no name can move a
// terminal's cursor, rewrite its screen or hide a line.
QString shown(const QString& name);

// The form in which two names are the same name on a file system that ignores
// letter case and Unicode normalization: composed, case-folded, composed again.
// Folding is full ("ß" is "ss"), as case-insensitive Linux folders compare
// names, and locale-independent, so keys from the batch and from folder
// listings always agree.
QString collisionKey(const QString& name);

// Whether every code unit is ASCII: such text is its own composed form and
// folds by lowering A to Z, so the Unicode tables can be skipped.
bool isAscii(QStringView text);

// Composed form, for deciding whether a name changes at all.
QString canonical(const QString& name);

// The position of the period that starts the extension, or the length of
// `name` when it has none. A name whose only period is its first or last
// character has no extension: "Report." and ".profile" stay whole.
qsizetype extensionPeriod(const QString& name);

} // namespace Filename
