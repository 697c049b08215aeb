#include "ui/preview_table_model.h"

#include "core/naming/filename.h"
#include "ui/file_glyph.h"
#include "ui/sheen.h"
#include "ui/symbols.h"

#include <QMimeData>

#include <algorithm>
#include <numeric>

PreviewTableModel::PreviewTableModel(const AppModel& model, QObject* parent)
    : QAbstractTableModel(parent), model(model) {
    connect(&model, &AppModel::rowsChanged, this, [this] {
        beginResetModel();
        endResetModel();
    });
}

int PreviewTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(model.rows().size());
}

int PreviewTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columnCount_;
}

QString PreviewTableModel::pathAt(int row) const {
    return model.rows().value(row).id();
}

QList<int> PreviewTableModel::longestRows(Column column, int count) const {
    QList<qsizetype> lengths;
    lengths.reserve(model.rows().size());
    for (const PreviewRow& row : model.rows())
        lengths.append(column == original ? row.intent.source.name().size()
                                          : row.intent.filename.size());
    QList<int> order(lengths.size());
    std::iota(order.begin(), order.end(), 0);
    auto end = order.begin() + std::min<qsizetype>(count, order.size());
    std::partial_sort(order.begin(), end, order.end(),
                      [&](int a, int b) { return lengths[a] > lengths[b]; });
    order.erase(end, order.end());
    return order;
}

void PreviewTableModel::setNamesStacked(bool stacked) {
    if (stacked == namesStacked)
        return;
    namesStacked = stacked;
    emit headerDataChanged(Qt::Horizontal, 0, columnCount_ - 1);
}

namespace {

// The rows a drag carries, as the ids the selection names them by.
const QString rowsType = QStringLiteral("application/x-tessary-rows");

} // namespace

// Rows are dropped between rows, never onto one: a drop onto the row below
// would put a row back where it was.
Qt::ItemFlags PreviewTableModel::flags(const QModelIndex& index) const {
    if (!index.isValid())
        return Qt::ItemIsDropEnabled;
    Qt::ItemFlags flags = QAbstractTableModel::flags(index) | Qt::ItemIsDragEnabled;
    if (index.column() == proposed && model.canNameByHand())
        flags |= Qt::ItemIsEditable;
    return flags;
}

bool PreviewTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::EditRole || index.column() != proposed || !named ||
        index.row() >= model.rows().size())
        return false;
    // Leaving the editor without a change names nothing by hand.
    if (value.toString() != model.rows()[index.row()].intent.filename)
        named(pathAt(index.row()), value.toString());
    return true;
}

Qt::DropActions PreviewTableModel::supportedDropActions() const {
    return Qt::MoveAction;
}

QStringList PreviewTableModel::mimeTypes() const {
    return {rowsType};
}

QMimeData* PreviewTableModel::mimeData(const QModelIndexList& indexes) const {
    // Whichever columns are on screen: the original name's may be hidden.
    QStringList ids;
    QSet<int> rows;
    for (const QModelIndex& index : indexes) {
        if (!rows.contains(index.row())) {
            rows.insert(index.row());
            ids.append(pathAt(index.row()));
        }
    }
    auto* data = new QMimeData;
    data->setData(rowsType, ids.join(QLatin1Char('\n')).toUtf8());
    return data;
}

bool PreviewTableModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int,
                                     const QModelIndex& parent) {
    if (action != Qt::MoveAction || !data->hasFormat(rowsType) || !moved)
        return false;
    // Below the last row, or anywhere past the rows: after them all.
    const int before = row >= 0 ? row : parent.isValid() ? parent.row() : rowCount();
    moved(QString::fromUtf8(data->data(rowsType)).split(QLatin1Char('\n')), before);
    return true;
}

QString PreviewTableModel::statusText(const PreviewRow& row) {
    if (row.problem)
        return *row.problem;
    QString status =
        row.changed() ? QStringLiteral("Ready to rename") : QStringLiteral("Unchanged");
    // The mark before it already says ready, so a note has the line to itself.
    return row.note && row.changed() ? *row.note
           : row.note                ? status + QStringLiteral(" · ") + *row.note
                                     : status;
}

QVariant PreviewTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= model.rows().size())
        return {};
    const PreviewRow& row = model.rows()[index.row()];
    const QString name = row.intent.source.name();
    switch (index.column()) {
    case original:
        if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
            return Filename::shown(name);
        if (role == Qt::DecorationRole)
            return FileGlyph::icon(
                name.contains(QLatin1Char('.')) ? name.section(QLatin1Char('.'), -1) : QString());
        break;
    case proposed:
        if (role == Qt::DisplayRole)
            return Filename::shown(row.intent.filename);
        if (role == Qt::EditRole)
            return row.intent.filename;
        if (role == Qt::ToolTipRole)
            return (namesStacked ? Filename::shown(name) + QStringLiteral("\n→ ") : QString()) +
                   Filename::shown(row.intent.filename) + QStringLiteral("\n") + statusText(row);
        if (role == statusRole)
            return statusText(row);
        if (role == problemRole)
            return row.problem.has_value();
        if (role == statusIconRole)
            return Symbols::icon(row.problem     ? QStringLiteral("exclamationmark.circle.fill")
                                 : row.changed() ? QStringLiteral("checkmark.circle.fill")
                                                 : QStringLiteral("minus.circle"));
        break;
    default:
        break;
    }
    return {};
}

QVariant PreviewTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case original:
        return QStringLiteral("Original name");
    case proposed:
        return namesStacked ? QStringLiteral("Original and new name") : QStringLiteral("New name");
    default:
        return QString();
    }
}
