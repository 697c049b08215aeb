#include "core/preview/rule_preview.h"

#include "core/base/parallel_ranges.h"
#include "core/preview/duplicate_suffix.h"
#include "core/preview/rename_preview.h"

#include <algorithm>
#include <numeric>

namespace {

std::optional<FileFacts> factsAt(const QList<std::optional<FileFacts>>& facts, qsizetype index) {
    return index < facts.size() ? facts[index] : std::nullopt;
}

// The key a file is ordered by; absent when it is not known, which sorts
// the file after every known one.
std::optional<std::int64_t> orderKey(NameOrder order, const std::optional<FileFacts>& facts) {
    if (!facts)
        return std::nullopt;
    switch (order) {
    case NameOrder::taken:
        if (facts->taken)
            return facts->taken->toMSecsSinceEpoch();
        [[fallthrough]];
    case NameOrder::modified:
        if (!facts->modified.isValid())
            return std::nullopt;
        return facts->modified.toMSecsSinceEpoch();
    case NameOrder::size:
        return facts->size;
    case NameOrder::name:
        break;
    }
    return std::nullopt;
}

} // namespace

namespace RulePreview {

QList<qsizetype> order(const QList<FileRecord>& files, const QList<std::optional<FileFacts>>& facts,
                       const RenameRules& rules) {
    QList<qsizetype> positions(files.size());
    std::iota(positions.begin(), positions.end(), 0);
    if (rules.order == NameOrder::name) {
        // The batch is already in natural order, and no two of its files
        // have the same path, so there are no ties to keep in place.
        if (rules.descending)
            std::reverse(positions.begin(), positions.end());
        return positions;
    }
    QList<std::optional<std::int64_t>> keys;
    keys.reserve(files.size());
    for (qsizetype index = 0; index < files.size(); ++index)
        keys.append(orderKey(rules.order, factsAt(facts, index)));
    std::stable_sort(positions.begin(), positions.end(), [&](qsizetype a, qsizetype b) {
        if (!keys[a] || !keys[b])
            return keys[a].has_value() && !keys[b].has_value();
        return rules.descending ? *keys[a] > *keys[b] : *keys[a] < *keys[b];
    });
    return positions;
}

QList<PreviewRow> rows(const QList<FileRecord>& files, const QList<std::optional<FileFacts>>& facts,
                       const RenameRules& rules, bool checkWindows) {
    return rows(files, facts, rules, checkWindows, BatchObservation::take(files));
}

QList<PreviewRow> rows(const QList<FileRecord>& files, const QList<std::optional<FileFacts>>& facts,
                       const RenameRules& rules, bool checkWindows,
                       const BatchObservation& observed) {
    if (observed.abandoned || observed.files.size() != files.size())
        return rows(files, facts, rules, checkWindows);
    const QList<qsizetype> positions = order(files, facts, rules);
    QList<RenameIntent> intents(positions.size());
    QList<NameTokens::Expansion> proposals(positions.size());
    ParallelRanges::run(positions.size(), [&, made = proposals.data(),
                                           named = intents.data()](qsizetype begin, qsizetype end) {
        QString folderPath;
        QString folder;
        NameTokens::DateTexts dateTexts;
        for (qsizetype index = begin; index < end; ++index) {
            const FileRecord& file = files[positions[index]];
            // Neighbours mostly share a folder; its name is worked out once.
            if (QString path = file.folderPath(); path != folderPath) {
                folder = FilePath::lastComponent(path);
                folderPath = path;
            }
            made[index] = rules.proposal(file.name(), index, folder,
                                         factsAt(facts, positions[index]), &dateTexts);
            named[index] = {file, made[index].text};
        }
    });
    if (rules.numberDuplicates)
        intents = DuplicateSuffix::numbered(intents, rules.duplicateFormat, observed, positions);
    QList<PreviewRow> rows = RenamePreview::rows(intents, checkWindows, observed, positions);
    for (qsizetype index = 0; index < rows.size(); ++index) {
        // A token that stands for nothing made a name nobody asked for; that
        // comes before anything the preview found wrong with the name.
        if (proposals[index].problem)
            rows[index].problem = proposals[index].problem;
        if (proposals[index].usedModifiedDate)
            rows[index].note = QStringLiteral("No date taken in this file; {taken} is its "
                                              "modified date.");
    }
    return rows;
}

} // namespace RulePreview
