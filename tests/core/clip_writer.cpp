#include "clip_writer.h"

#include <QByteArray>
#include <QFile>

#include <cstring>

extern "C" {
#include <libavformat/avformat.h>
}

namespace {

// Two decimal digits in the four bits each of binary-coded decimal.
char bcd(int value) {
    return char((value / 10) << 4 | value % 10);
}

// An access unit delimiter, and a user-data message with AVCHD's date when
// there is one; with the emulation-prevention byte an encoder puts after two
// zeros that a byte below 4 follows.
QByteArray frame(const std::optional<QDateTime>& shot) {
    QByteArray bytes = QByteArray::fromHex("0000000109f0");
    if (!shot)
        return bytes + QByteArray::fromHex("0000000165888400");
    const QDate date = shot->date();
    const QTime time = shot->time();
    QByteArray payload = QByteArray::fromHex("17ee8c60f84d11d98cd60800200c9a66") + "MDPM";
    payload += char(2);
    payload += QByteArray("\x18\x80", 2) + bcd(date.year() / 100) + bcd(date.year() % 100) +
               bcd(date.month());
    payload += QByteArray("\x19", 1) + bcd(date.day()) + bcd(time.hour()) + bcd(time.minute()) +
               bcd(time.second());
    QByteArray escaped;
    for (char byte : payload) {
        if (escaped.endsWith(QByteArray(2, '\0')) && uchar(byte) < 4)
            escaped += char(3);
        escaped += byte;
    }
    // SEI, user data unregistered, its size, and the closing bit.
    return bytes + QByteArray::fromHex("0000000106") + char(5) + char(payload.size()) + escaped +
           char(0x80);
}

} // namespace

namespace ClipWriter {

bool write(const QString& path, const Clip& clip) {
    AVFormatContext* context = nullptr;
    const QByteArray name = QFile::encodeName(path);
    if (avformat_alloc_output_context2(&context, nullptr, clip.container, name.constData()) < 0)
        return false;
    bool written = false;
    AVStream* stream = avformat_new_stream(context, nullptr);
    if (stream && avio_open(&context->pb, name.constData(), AVIO_FLAG_WRITE) >= 0) {
        stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
        // MPEG-TS carries H.264 as it comes; the others Motion JPEG, which
        // needs no parameter sets written, and whose size FFmpeg reads from
        // the container (of MPEG-4 video it leaves that to a decoder).
        stream->codecpar->codec_id =
            std::strcmp(clip.container, "mpegts") == 0 ? AV_CODEC_ID_H264 : AV_CODEC_ID_MJPEG;
        stream->codecpar->width = clip.width;
        stream->codecpar->height = clip.height;
        stream->time_base = {1, 25};
        if (clip.made)
            av_dict_set(&context->metadata, "creation_time",
                        clip.made->toUTC().toString(Qt::ISODateWithMs).toUtf8().constData(), 0);
        const QByteArray bytes = frame(clip.shot);
        AVPacket* packet = av_packet_alloc();
        if (packet && avformat_write_header(context, nullptr) >= 0 &&
            av_new_packet(packet, int(bytes.size())) >= 0) {
            memcpy(packet->data, bytes.constData(), size_t(bytes.size()));
            packet->flags |= AV_PKT_FLAG_KEY;
            packet->pts = packet->dts = 0;
            packet->duration = 1;
            written = av_write_frame(context, packet) >= 0 && av_write_trailer(context) >= 0;
        }
        av_packet_free(&packet);
        avio_closep(&context->pb);
    }
    avformat_free_context(context);
    return written;
}

} // namespace ClipWriter
