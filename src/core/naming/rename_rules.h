#pragma once

#include "core/naming/compiled_patterns.h"
#include "core/naming/duplicate_format.h"
#include "core/naming/file_facts.h"
#include "core/naming/name_case.h"
#include "core/naming/name_order.h"
#include "core/naming/name_separator.h"
#include "core/naming/name_tokens.h"

#include <nlohmann/json_fwd.hpp>

#include <QString>

#include <QList>

#include <cstdint>
#include <optional>

// One find and replace after the first, with the same reading of its texts.
struct Replacement {
    QString find;
    QString replacement;

    friend bool operator==(const Replacement&, const Replacement&) = default;
};

// One complete set of naming rules, applied in a fixed order: stem, find and
// replace, characters removed and inserted by position, prefix and suffix,
// letter case, separators, sequence number, and the file's own extension put
// back unchanged.
struct RenameRules {
    QString baseName;
    QString find;
    QString replacement;
    // Applied one after the other, after `find`, each to what the one before
    // left; a step whose find is empty does nothing.
    QList<Replacement> moreReplacements;
    // Characters (as a reader counts them, accents with their letter) taken
    // off either end of the stem after find and replace, then `insertion` put
    // in after the first `insertAt` characters, or before the last -`insertAt`
    // when negative. Counts past the stem's length take it whole.
    std::int64_t removeStart = 0;
    std::int64_t removeEnd = 0;
    QString insertion;
    std::int64_t insertAt = 0;
    QString prefix;
    QString suffix;
    NameCase nameCase = NameCase::unchanged;
    NameSeparator separator = NameSeparator::unchanged;
    bool sequence = false;
    // Not range-checked when stored or decoded; limited each time a name is made.
    std::int64_t sequenceStart = 1;
    std::int64_t sequencePadding = 3;
    // The order that numbers the batch and lists the preview; equal keys keep
    // the natural filename order.
    NameOrder order = NameOrder::name;
    bool descending = false;
    // How far the camera's clock was off (DateShift), as typed: "+01:00".
    QString shiftDates;
    // `find` is a regular expression (FindPattern) rather than literal text.
    bool regex = false;
    // Accents come off after find and replace, from the prefix, stem and
    // suffix (AccentRemover).
    bool removeAccents = false;
    // Files of the batch that would get the same name are numbered
    // (DuplicateSuffix) rather than refused.
    bool numberDuplicates = false;
    DuplicateFormat duplicateFormat = DuplicateFormat::parentheses;
    // Files of one folder that share a name apart from the extension (a
    // shot's RAW, JPEG and sidecar) get one new name, and one number, from
    // the first of them in the order (RulePreview).
    bool companions = false;

    // The proposed name for a file currently called `name` at zero-based
    // position `index` of the batch, in the folder called `folder`, with the
    // facts read from it. The base name, prefix, suffix and replacement may
    // hold tokens (NameTokens). Never fails and never reads the disk: the
    // preview judges whatever comes out, and a token that stands for nothing
    // is the expansion's problem.
    // `dateTexts`, when given, keeps the dates written for earlier files.
    NameTokens::Expansion proposal(const QString& name, std::int64_t index, const QString& folder,
                                   const std::optional<FileFacts>& facts,
                                   NameTokens::DateTexts* dateTexts = nullptr) const;
    // The proposed name alone, for a name without a file: {folder} stands for
    // nothing and date tokens stay as written.
    QString filename(const QString& name, std::int64_t index) const;
    // Every find and replace step in the order they apply: `find` and
    // `replacement` first, then `moreReplacements`.
    QList<Replacement> replacements() const;
    // Whether making names in this order or with these texts needs each
    // file's facts.
    bool usesFacts() const;

    // Shared by copies and never part of a comparison.
    CompiledPatterns compiled;

    friend bool operator==(const RenameRules&, const RenameRules&) = default;
};

// All twenty-three keys are written. The ten that rules always had are
// required when decoding: a missing key, a wrong type or an unknown case
// throws RenameFailure. "order", "descending", "regex", "removeAccents",
// "numberDuplicates", "duplicateFormat", "shiftDates", "companions",
// "moreReplacements" (a list of {"find","replacement"}), "removeStart",
// "removeEnd", "insertion" and "insertAt" came later and take their defaults
// when absent, so rules and recipes saved before them still load.
void to_json(nlohmann::ordered_json& json, const RenameRules& rules);
void from_json(const nlohmann::ordered_json& json, RenameRules& rules);
