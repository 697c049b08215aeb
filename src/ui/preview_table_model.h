#pragma once

#include "app/app_model.h"

#include <QAbstractTableModel>

#include <functional>

// The preview rows as a table: the original name with its glyph, the new
// name, and the row's status. Reads the app model; what the person changes
// in the table reaches it through `moved` and `named`.
class PreviewTableModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { original, proposed, columnCount_ };
    // The row's status line, shown under the new name.
    static constexpr int statusRole = Qt::UserRole + 1;
    static constexpr int statusIconRole = Qt::UserRole + 2;
    static constexpr int problemRole = Qt::UserRole + 3;

    explicit PreviewTableModel(const AppModel& model, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    // The file path of a row, which is how the selection names it.
    QString pathAt(int row) const;

    // The rows holding the `count` names of `column` with the most
    // characters: the widest names are among them, so a view sizes a column
    // to the batch without measuring 5,000 names at every edit.
    QList<int> longestRows(Column column, int count) const;

    // Both names in one column, the new one under the original, when the two
    // columns cannot hold them side by side.
    void setNamesStacked(bool stacked);

    // The status text of a row: its problem, "Unchanged" or "Ready to rename".
    static QString statusText(const PreviewRow& row);

    // Rows dragged within the table: their ids, and the row they were
    // dropped before (the row count for after the last).
    std::function<void(const QStringList& ids, int before)> moved;
    // A new name typed for the file of row `id`.
    std::function<void(const QString& id, const QString& name)> named;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    Qt::DropActions supportedDropActions() const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

private:
    const AppModel& model;
    bool namesStacked = false;
};
