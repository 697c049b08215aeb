#pragma once

#include "core/naming/name_tokens.h"
#include "core/naming/rename_rules.h"

#include <cstdint>
#include <optional>

// Naming rules made ready to name a whole batch: their token texts are read
// and their date shift parsed once, not once for every file. Holds a
// reference to the rules, which must outlive it.
class RuleNamer {
public:
    explicit RuleNamer(const RenameRules& rules);

    // What RenameRules::proposal promises, for a file whose facts are
    // `facts` (null while unknown).
    NameTokens::Expansion proposal(const QString& name, std::int64_t index, const QString& folder,
                                   const FileFacts* facts,
                                   NameTokens::DateTexts* dateTexts = nullptr) const;

private:
    const RenameRules& rules;
    NameTokens::Text baseName;
    // Each find and replace step's find and its replacement's text, the
    // first step first; steps that find nothing are left out.
    struct Step {
        // Its place among all the steps, which keeps its compiled pattern.
        qsizetype index;
        QString find;
        NameTokens::Text replacement;
    };
    QList<Step> steps;
    NameTokens::Text prefix;
    NameTokens::Text suffix;
    std::int64_t shift = 0;
    std::optional<QString> shiftProblem;
    // Whether a rule text holds a private-use character, so that dates
    // cannot stand in as one (see proposal).
    bool textsHoldStandIn = false;
    bool editsByPosition = false;
};
