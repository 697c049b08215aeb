#pragma once

#include <QDateTime>
#include <QString>

#include <cstdint>
#include <optional>

// What a file's own metadata and the disk say about it, read once after the
// file is added, so that naming and ordering never wait on the disk.
struct FileFacts {
    // When the photo was taken, as the camera's clock showed it, or the clip
    // made, in local time; absent when the file records none or is not a
    // kind of file that can. Both dates
    // are wall-clock times held as UTC, so nothing converts them.
    std::optional<QDateTime> taken;
    QDateTime modified;
    std::int64_t size = 0;
    // What an image says of itself: the camera's model, without its maker
    // repeated ("EOS R5", not "Canon EOS R5"), the lens, and its size (or a
    // clip's) in pixels. Empty or zero when the file records none.
    QString camera;
    QString lens;
    std::int64_t width = 0;
    std::int64_t height = 0;
    // A song's tags; empty or zero when the file has none.
    QString artist;
    QString album;
    QString title;
    std::int64_t track = 0;
    std::int64_t year = 0;
    // Why the file's metadata could not be read: its header is damaged or is
    // not what its kind of file promises. The modified date and size are
    // still known.
    std::optional<QString> problem;

    friend bool operator==(const FileFacts&, const FileFacts&) = default;
};
