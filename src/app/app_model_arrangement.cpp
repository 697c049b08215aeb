// Rows arranged by hand: the order a person gives the batch by dragging rows
// or moving them with the keyboard, kept apart from the batch itself, which
// stays in natural order.

#include "app/app_model.h"

#include <QHash>
#include <QSet>

#include <algorithm>

namespace {

QStringList rowIds(const QList<PreviewRow>& rows) {
    QStringList ids;
    ids.reserve(rows.size());
    for (const PreviewRow& row : rows)
        ids.append(row.id());
    return ids;
}

} // namespace

// The batch in the order its preview starts from: natural, or as the person
// arranged it, with a file added since after the others, in natural order.
QList<FileRecord> AppModel::previewFiles() const {
    if (mode_ != RenameMode::rules || rules_.order != NameOrder::arranged || arrangement.isEmpty())
        return files_;
    QHash<QString, qsizetype> place;
    place.reserve(arrangement.size());
    for (qsizetype index = 0; index < arrangement.size(); ++index)
        place.insert(arrangement[index], index);
    QList<FileRecord> ordered = files_;
    std::stable_sort(ordered.begin(), ordered.end(), [&](const FileRecord& a, const FileRecord& b) {
        return place.value(a.id(), arrangement.size()) < place.value(b.id(), arrangement.size());
    });
    return ordered;
}

// The ids of the batch in the order the preview shows, or is about to show
// for the last arrangement: where a move starts from, also one made before
// the rows of the last have come.
QStringList AppModel::shownOrder() const {
    const bool arranged = mode_ == RenameMode::rules && rules_.order == NameOrder::arranged;
    if (rows_.size() == files_.size() && !(arranged && previewing_))
        return rowIds(rows_);
    QStringList order;
    order.reserve(files_.size());
    for (const FileRecord& file : previewFiles())
        order.append(file.id());
    if (arranged && rules_.descending)
        std::reverse(order.begin(), order.end());
    return order;
}

void AppModel::arrange(const QStringList& order) {
    arrangement = order;
    RenameRules rules = rules_;
    rules.order = NameOrder::arranged;
    // The order now on screen is the arrangement itself.
    rules.descending = false;
    if (rules == rules_)
        refreshPreview();
    else
        setRules(rules);
}

void AppModel::moveSelection(int offset) {
    if (batchControlsDisabled() || mode_ != RenameMode::rules || selection_.isEmpty())
        return;
    QStringList order = shownOrder();
    // Each selected row trades places with the unselected one beside it, so
    // that a block moves as one and a row at the edge stays.
    const qsizetype last = order.size() - 1;
    for (qsizetype step = 0; step < last; ++step) {
        const qsizetype index = offset < 0 ? step + 1 : last - step - 1;
        const qsizetype neighbour = offset < 0 ? index - 1 : index + 1;
        if (selection_.contains(order[index]) && !selection_.contains(order[neighbour]))
            order.swapItemsAt(index, neighbour);
    }
    arrange(order);
}

void AppModel::moveRows(const QStringList& ids, qsizetype before) {
    if (batchControlsDisabled() || mode_ != RenameMode::rules || ids.isEmpty())
        return;
    // `before` counts the rows on screen, even while newer ones are coming.
    const QStringList shown = rows_.size() == files_.size() ? rowIds(rows_) : shownOrder();
    const QSet<QString> moving(ids.begin(), ids.end());
    QStringList order;
    QStringList moved;
    qsizetype at = -1;
    for (qsizetype index = 0; index < shown.size(); ++index) {
        if (index == before)
            at = order.size();
        (moving.contains(shown[index]) ? moved : order).append(shown[index]);
    }
    // A row that is no longer in the batch is not moved.
    if (moved.isEmpty())
        return;
    const qsizetype to = at < 0 ? order.size() : at;
    for (qsizetype index = 0; index < moved.size(); ++index)
        order.insert(to + index, moved[index]);
    arrange(order);
}
