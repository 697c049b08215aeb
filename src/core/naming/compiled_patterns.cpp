#include "core/naming/compiled_patterns.h"

#include "core/naming/accent_remover.h"

#include <QMutex>

struct CompiledPatterns::State {
    QMutex mutex;
    std::optional<QString> pattern;
    FindPattern::Compiled find;
    std::unique_ptr<AccentRemover> accents;
};

CompiledPatterns::CompiledPatterns() : state(std::make_shared<State>()) {}

FindPattern::Compiled CompiledPatterns::find(const QString& pattern) const {
    QMutexLocker lock(&state->mutex);
    // A copy of the rules that was edited compiles its own pattern in place
    // of the one it shared.
    if (state->pattern != pattern) {
        state->find = FindPattern::compiled(pattern);
        state->pattern = pattern;
    }
    // QRegularExpression compiles lazily and shares what it compiled among
    // its copies, under a lock of its own.
    return state->find;
}

QString CompiledPatterns::withoutAccents(const QString& text) const {
    const AccentRemover* remover = nullptr;
    {
        QMutexLocker lock(&state->mutex);
        if (!state->accents)
            state->accents = std::make_unique<AccentRemover>();
        remover = state->accents.get();
    }
    return remover->removed(text);
}
