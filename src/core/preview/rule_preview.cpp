#include "core/preview/rule_preview.h"

#include "core/base/parallel_ranges.h"
#include "core/naming/filename.h"
#include "core/naming/rule_namer.h"
#include "core/preview/duplicate_suffix.h"
#include "core/preview/rename_preview.h"

#include <QHash>

#include <algorithm>
#include <numeric>

namespace {

const FileFacts* factsAt(const QList<std::optional<FileFacts>>& facts, qsizetype index) {
    return index < facts.size() && facts[index] ? &*facts[index] : nullptr;
}

// The key a file is ordered by; absent when it is not known, which sorts
// the file after every known one.
std::optional<std::int64_t> orderKey(NameOrder order, const FileFacts* facts) {
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
    case NameOrder::arranged:
        break;
    }
    return std::nullopt;
}

// Which file each position of the order takes its name from, and the number
// of that name in the sequence. Without companions every file names itself
// and numbers count files. With them, the files of one folder that share a
// name apart from the extension (a shot's RAW, JPEG and sidecar) take the
// name of the first of them in the order, and numbers count names.
struct Leaders {
    QList<qsizetype> leader;
    QList<qsizetype> number;
};

Leaders leaders(const QList<FileRecord>& files, const QList<qsizetype>& positions,
                bool companions) {
    Leaders result{QList<qsizetype>(positions.size()), QList<qsizetype>(positions.size())};
    QHash<QString, qsizetype> first;
    qsizetype names = 0;
    for (qsizetype index = 0; index < positions.size(); ++index) {
        qsizetype leader = index;
        if (companions) {
            const FileRecord& file = files[positions[index]];
            const QString name = file.name();
            const QString key =
                file.folderPath() + QLatin1Char('/') + name.left(Filename::extensionPeriod(name));
            if (auto found = first.constFind(key); found != first.cend())
                leader = *found;
            else
                first.insert(key, index);
        }
        result.leader[index] = leader;
        result.number[index] = leader == index ? names++ : result.number[leader];
    }
    return result;
}

// The leader's new name with `name`'s own extension in place of its own.
QString companionName(const QString& leaderName, const QString& leaderProposal,
                      const QString& name) {
    const qsizetype period = Filename::extensionPeriod(leaderName);
    const QString stem = leaderProposal.chopped(leaderName.size() - period);
    return stem + name.mid(Filename::extensionPeriod(name));
}

// A name typed for one file keeps its extension, as every rule does.
NameTokens::Expansion handProposal(const QString& name, const QString& typed) {
    NameTokens::Expansion proposal;
    proposal.text = typed;
    if (QStringView(typed).sliced(Filename::extensionPeriod(typed)) !=
        QStringView(name).sliced(Filename::extensionPeriod(name)))
        proposal.problem = QStringLiteral("Keep the original extension exactly, including "
                                          "letter case.");
    return proposal;
}

} // namespace

namespace RulePreview {

QList<qsizetype> order(const QList<FileRecord>& files, const QList<std::optional<FileFacts>>& facts,
                       const RenameRules& rules) {
    QList<qsizetype> positions(files.size());
    std::iota(positions.begin(), positions.end(), 0);
    if (rules.order == NameOrder::name || rules.order == NameOrder::arranged) {
        // The batch comes in natural order, or as arranged, and no two of
        // its files have the same path, so there are no ties to keep in place.
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
                       const BatchObservation& observed, const HandNames& byHand) {
    if (observed.abandoned || observed.files.size() != files.size())
        return rows(files, facts, rules, checkWindows, BatchObservation::take(files), byHand);
    const QList<qsizetype> positions = order(files, facts, rules);
    const Leaders named = leaders(files, positions, rules.companions);
    QList<RenameIntent> intents(positions.size());
    QList<NameTokens::Expansion> proposals(positions.size());
    const RuleNamer namer(rules);
    ParallelRanges::run(positions.size(), [&, made = proposals.data(), intended = intents.data()](
                                              qsizetype begin, qsizetype end) {
        QString folderPath;
        QString folder;
        NameTokens::DateTexts dateTexts;
        for (qsizetype index = begin; index < end; ++index) {
            // Named after their leader, below, once every leader has a name.
            if (named.leader[index] != index)
                continue;
            const FileRecord& file = files[positions[index]];
            if (const auto hand = byHand.constFind(file.id()); hand != byHand.cend()) {
                made[index] = handProposal(file.name(), *hand);
                intended[index] = {file, *hand};
                continue;
            }
            const QString name = file.name();
            // Neighbours mostly share a folder; its name is worked out once.
            if (QStringView path = QStringView(file.path).chopped(name.size());
                path != folderPath) {
                folder = FilePath::lastComponent(file.folderPath());
                folderPath = path.toString();
            }
            made[index] = namer.proposal(name, named.number[index], folder,
                                         factsAt(facts, positions[index]), &dateTexts);
            intended[index] = {file, made[index].text};
        }
    });
    for (qsizetype index = 0; index < positions.size(); ++index) {
        const qsizetype leader = named.leader[index];
        if (leader == index)
            continue;
        const FileRecord& file = files[positions[index]];
        const auto hand = byHand.constFind(file.id());
        if (hand != byHand.cend()) {
            proposals[index] = handProposal(file.name(), *hand);
        } else {
            proposals[index] = proposals[leader];
            proposals[index].text =
                companionName(files[positions[leader]].name(), proposals[leader].text, file.name());
        }
        intents[index] = {file, proposals[index].text};
    }
    if (rules.numberDuplicates)
        intents = DuplicateSuffix::numbered(intents, rules.duplicateFormat, observed, positions);
    QList<PreviewRow> rows =
        RenamePreview::rows(std::move(intents), checkWindows, observed, positions);
    for (qsizetype index = 0; index < rows.size(); ++index) {
        // A token that stands for nothing made a name nobody asked for; that
        // comes before anything the preview found wrong with the name.
        if (proposals[index].problem)
            rows[index].problem = proposals[index].problem;
        QStringList notes = proposals[index].leftOut;
        if (proposals[index].usedModifiedDate)
            notes.prepend(QStringLiteral("No date taken in this file; {taken} is its "
                                         "modified date."));
        rows[index].namedByHand = byHand.contains(rows[index].id());
        if (rows[index].namedByHand)
            notes = QStringList{QString::fromUtf8(namedByHandNote)};
        if (!notes.isEmpty())
            rows[index].note = notes.join(QLatin1Char(' '));
    }
    return rows;
}

} // namespace RulePreview
