#pragma once

#include <QString>
#include <QStringView>

#include <array>
#include <optional>

// The order in which the rules number a batch and the preview lists it. The
// raw values are also the JSON form and the words of the command line.
// `arranged` keeps the order the batch's files come in: as the person
// arranged them in the window, or as the command line was given them.
enum class NameOrder { name, taken, modified, size, arranged };

inline constexpr std::array<NameOrder, 5> allNameOrders = {
    NameOrder::name, NameOrder::taken, NameOrder::modified, NameOrder::size, NameOrder::arranged};

QString rawValue(NameOrder order);
std::optional<NameOrder> nameOrderFromRaw(QStringView raw);
