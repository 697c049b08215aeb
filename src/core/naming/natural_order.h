#pragma once

#include <QCollator>
#include <QCollatorSortKey>
#include <QList>
#include <QString>
#include <QStringView>

#include <functional>

// The file manager's order of names: letter case ignored, digit runs by value
// (file2 before file10), in the user's locale. Not shareable between threads:
// make one per sort.
class NaturalOrder {
public:
    NaturalOrder();

    // Precomputed once per name, so sorting thousands of names compares bytes.
    QCollatorSortKey key(const QString& name) const { return collator.sortKey(name); }

    // Orders by key and then, for names the collation cannot tell apart, by code
    // points, so that two names that differ at all always have an order.
    static int compare(const QCollatorSortKey& leftKey, QStringView left,
                       const QCollatorSortKey& rightKey, QStringView right);

    // The positions of `names` in natural order, stable for equal names;
    // `tieBreak` orders positions whose names are equal, where it is given.
    static QList<qsizetype>
    positions(const QList<QString>& names,
              const std::function<bool(qsizetype, qsizetype)>& tieBreak = {});

private:
    QCollator collator;
};

// Plain order of Unicode code points (UTF-16 order differs above U+D7FF).
int compareCodePoints(QStringView left, QStringView right);
