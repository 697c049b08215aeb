#include "core/naming/natural_order.h"

#include <QLocale>

#include <algorithm>
#include <numeric>

namespace {

// Under the C and POSIX locales Qt sorts without ICU and ignores numeric mode,
// which would put file10 before file2; those locales say nothing about the
// user's language anyway, so fall back to plain English.
QLocale collationLocale() {
    QLocale system = QLocale::system();
    if (system.language() == QLocale::C)
        return QLocale(QLocale::English, QLocale::UnitedStates);
    return system;
}

// Moves surrogates above the rest of the Basic Multilingual Plane, so that
// comparing UTF-16 units gives the order of the code points they encode.
char16_t codePointOrder(char16_t unit) {
    if (unit >= 0xE000)
        return char16_t(unit - 0x800);
    if (unit >= 0xD800)
        return char16_t(unit + 0x2000);
    return unit;
}

} // namespace

NaturalOrder::NaturalOrder() : collator(collationLocale()) {
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
}

int NaturalOrder::compare(const QCollatorSortKey& leftKey, QStringView left,
                          const QCollatorSortKey& rightKey, QStringView right) {
    if (int order = leftKey.compare(rightKey))
        return order;
    return compareCodePoints(left, right);
}

QList<qsizetype>
NaturalOrder::positions(const QList<QString>& names,
                        const std::function<bool(qsizetype, qsizetype)>& tieBreak) {
    NaturalOrder order;
    QList<QCollatorSortKey> keys;
    keys.reserve(names.size());
    for (const QString& name : names)
        keys.append(order.key(name));
    QList<qsizetype> result(names.size());
    std::iota(result.begin(), result.end(), 0);
    std::stable_sort(result.begin(), result.end(), [&](qsizetype a, qsizetype b) {
        if (int byName = compare(keys[a], names[a], keys[b], names[b]))
            return byName < 0;
        return tieBreak && tieBreak(a, b);
    });
    return result;
}

int compareCodePoints(QStringView left, QStringView right) {
    qsizetype length = std::min(left.size(), right.size());
    for (qsizetype index = 0; index < length; ++index) {
        char16_t a = left[index].unicode();
        char16_t b = right[index].unicode();
        if (a != b)
            return codePointOrder(a) < codePointOrder(b) ? -1 : 1;
    }
    if (left.size() == right.size())
        return 0;
    return left.size() < right.size() ? -1 : 1;
}
