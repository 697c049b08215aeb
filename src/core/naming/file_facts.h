#pragma once

#include <QDateTime>
#include <QString>

#include <cstdint>
#include <optional>

// What a file's own metadata and the disk say about it, read once after the
// file is added, so that naming and ordering by date never wait on the disk.
struct FileFacts {
    // When the photo was taken, as the camera's clock showed it; absent when
    // the file records none or is not a kind of file that can. Both dates
    // are wall-clock times held as UTC, so nothing converts them.
    std::optional<QDateTime> taken;
    QDateTime modified;
    std::int64_t size = 0;
    // Why the file's metadata could not be read: its header is damaged or is
    // not what its kind of file promises. The modified date and size are
    // still known.
    std::optional<QString> problem;

    friend bool operator==(const FileFacts&, const FileFacts&) = default;
};
