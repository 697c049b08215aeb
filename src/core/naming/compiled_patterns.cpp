#include "core/naming/compiled_patterns.h"

#include "core/naming/accent_remover.h"

#include <QMutex>

#include <vector>

struct CompiledPatterns::State {
    QMutex mutex;
    struct Slot {
        QString pattern;
        FindPattern::Compiled find;
    };
    std::vector<std::optional<Slot>> steps;
    std::unique_ptr<AccentRemover> accents;
};

CompiledPatterns::CompiledPatterns() : state(std::make_shared<State>()) {}

FindPattern::Compiled CompiledPatterns::find(const QString& pattern, qsizetype step) const {
    QMutexLocker lock(&state->mutex);
    if (std::size_t(step) >= state->steps.size())
        state->steps.resize(std::size_t(step) + 1);
    std::optional<State::Slot>& slot = state->steps[std::size_t(step)];
    // A copy of the rules that was edited compiles its own pattern in place
    // of the one it shared.
    if (!slot || slot->pattern != pattern)
        slot = State::Slot{pattern, FindPattern::compiled(pattern)};
    // QRegularExpression compiles lazily and shares what it compiled among
    // its copies, under a lock of its own.
    return slot->find;
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
