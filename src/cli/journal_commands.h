#pragma once

#include <QStringList>

// The commands that work from the journal folder alone.
namespace JournalCommands {

// `tessary-cli undo [--journal DIR]`
int undo(const QStringList& arguments);
// `tessary-cli recover [--restore-found [--yes]] [--journal DIR]`
int recover(const QStringList& arguments);
// `tessary-cli status [--json] [--journal DIR]`
int status(const QStringList& arguments);

} // namespace JournalCommands
