#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

// Clips as cameras write them, made by FFmpeg's own muxers: the container,
// the moment it records as the clip's creation (UTC), and one video frame of
// the given size, which in MP4, MOV and AVI is a few bytes nothing needs to
// play. In MPEG-TS ("mpegts", as MTS and M2TS) the frame is real H.264,
// encoded by libx264, whose parameter sets alone say its size, and `shot`
// goes in before it as an AVCHD camera writes it, on the camera's clock.
namespace ClipWriter {

struct Clip {
    // "mp4", "mov", "avi" or "mpegts".
    const char* container = "mp4";
    std::optional<QDateTime> made = std::nullopt;
    int width = 1920;
    int height = 1080;
    std::optional<QDateTime> shot = std::nullopt;
};

// Whether the clip could be written at `path`.
bool write(const QString& path, const Clip& clip);

} // namespace ClipWriter
