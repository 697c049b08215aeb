#pragma once

#include <QString>
#include <QStringView>

#include <array>
#include <optional>

// The order in which the rules number a batch and the preview lists it. The
// raw values are also the JSON form and the words of the command line.
enum class NameOrder { name, taken, modified, size };

inline constexpr std::array<NameOrder, 4> allNameOrders = {NameOrder::name, NameOrder::taken,
                                                           NameOrder::modified, NameOrder::size};

QString rawValue(NameOrder order);
std::optional<NameOrder> nameOrderFromRaw(QStringView raw);
