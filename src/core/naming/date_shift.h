#pragma once

#include <QString>
#include <QStringView>

#include <cstdint>
#include <optional>

// How far a camera's clock was off, as a person writes it: "+01:00",
// "-00:30", "+1d 02:00" (a sign, days, then hours and minutes; a missing sign
// is a plus). Added to every date a rule shows, so that names tell the time
// the clock should have shown. Every date of the batch moves by the same
// amount, so ordering by date is the same with or without it.
namespace DateShift {

// The shift in seconds: zero for empty text, nothing for text that is no shift.
std::optional<std::int64_t> seconds(QStringView text);

// Why `text` is no shift, as one sentence.
QString problem(const QString& text);

} // namespace DateShift
