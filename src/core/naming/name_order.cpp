#include "core/naming/name_order.h"

QString rawValue(NameOrder order) {
    switch (order) {
    case NameOrder::name:
        return QStringLiteral("name");
    case NameOrder::taken:
        return QStringLiteral("taken");
    case NameOrder::modified:
        return QStringLiteral("modified");
    case NameOrder::size:
        return QStringLiteral("size");
    case NameOrder::arranged:
        return QStringLiteral("as-given");
    }
    return {};
}

std::optional<NameOrder> nameOrderFromRaw(QStringView raw) {
    for (NameOrder order : allNameOrders) {
        if (raw == rawValue(order))
            return order;
    }
    return std::nullopt;
}
