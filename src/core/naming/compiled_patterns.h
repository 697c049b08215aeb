#pragma once

#include "core/naming/find_pattern.h"

#include <QString>

#include <memory>

// What the naming rules compile before they apply: the regular expressions
// of the finds and the accent remover. Compiling costs hundreds of times more
// than applying, and the preview applies the same rules to thousands of
// names, on several threads, so every copy of one rules value shares one of
// these and compiles on first use. It holds nothing the rules do not say, so
// it never makes two rules values differ.
class CompiledPatterns {
public:
    CompiledPatterns();

    // The pattern of find and replace step `step` (0 for the first): each
    // step keeps its own, so that several never compile in turn.
    FindPattern::Compiled find(const QString& pattern, qsizetype step = 0) const;
    QString withoutAccents(const QString& text) const;

    friend bool operator==(const CompiledPatterns&, const CompiledPatterns&) { return true; }

private:
    struct State;
    std::shared_ptr<State> state;
};
