#pragma once

#include "core/rename_rules.h"

#include <QCommandLineParser>

// The naming-rule options shared by every command that previews a batch.
namespace RuleOptions {

void add(QCommandLineParser& parser);

// The rules the options describe: a built-in recipe or a rules file as the
// starting point, then every explicit option on top. Throws UsageError.
RenameRules rules(const QCommandLineParser& parser);

} // namespace RuleOptions
