// Any pattern, replacement and name, as a user may type them: compiling and
// replacing must never crash, must give up on a name within the match limit
// rather than run on, and must leave the name whole when it gives up.

#include "core/naming/find_pattern.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Three texts in one input, split at the first two line breaks.
    const QStringList parts =
        QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size))
            .split(QLatin1Char('\n'));
    if (parts.size() < 3)
        return 0;
    const QString& pattern = parts[0];
    const QString& replacement = parts[1];
    const QString name = parts.mid(2).join(QLatin1Char('\n'));
    FindPattern::Compiled compiled = FindPattern::compiled(pattern);
    if (compiled.problem)
        return 0;
    (void)FindPattern::referenceProblem(compiled.regex, replacement);
    FindPattern::Replaced replaced = FindPattern::replaced(name, compiled.regex, replacement);
    if (replaced.problem == QString::fromUtf8(FindPattern::tooSlow) && replaced.text != name)
        std::abort();
    return 0;
}
