#include "clip_writer.h"

#include <QByteArray>
#include <QFile>

#include <cstring>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
}

namespace {

// One black frame of H.264 at the clip's size, with its parameter sets, as
// libx264 encodes it through libavcodec; empty when it cannot.
QByteArray encodedFrame(int width, int height) {
    QByteArray bytes;
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_H264);
    AVCodecContext* context = codec ? avcodec_alloc_context3(codec) : nullptr;
    AVFrame* picture = av_frame_alloc();
    AVPacket* packet = av_packet_alloc();
    if (context && picture && packet) {
        context->width = width;
        context->height = height;
        context->pix_fmt = AV_PIX_FMT_YUV420P;
        context->time_base = {1, 25};
        av_opt_set(context->priv_data, "preset", "ultrafast", 0);
        picture->format = context->pix_fmt;
        picture->width = width;
        picture->height = height;
        if (avcodec_open2(context, codec, nullptr) >= 0 && av_frame_get_buffer(picture, 0) >= 0) {
            for (int plane = 0; plane < 3; ++plane)
                memset(picture->data[plane], plane ? 128 : 16,
                       size_t(picture->linesize[plane] * (plane ? height / 2 : height)));
            if (avcodec_send_frame(context, picture) >= 0 &&
                avcodec_send_frame(context, nullptr) >= 0 &&
                avcodec_receive_packet(context, packet) >= 0)
                bytes = QByteArray(reinterpret_cast<const char*>(packet->data), packet->size);
        }
    }
    av_packet_free(&packet);
    av_frame_free(&picture);
    avcodec_free_context(&context);
    return bytes;
}

// Two decimal digits in the four bits each of binary-coded decimal.
char bcd(int value) {
    return char((value / 10) << 4 | value % 10);
}

// A user-data message with AVCHD's date, as a camera puts it before each
// frame; with the emulation-prevention byte an encoder puts after two zeros
// that a byte below 4 follows.
QByteArray avchdDate(const QDateTime& shot) {
    const QDate date = shot.date();
    const QTime time = shot.time();
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
    return QByteArray::fromHex("0000000106") + char(5) + char(payload.size()) + escaped +
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
        const bool transport = std::strcmp(clip.container, "mpegts") == 0;
        // MPEG-TS carries H.264 as it comes; the others Motion JPEG, which
        // needs no parameter sets written, and whose size FFmpeg reads from
        // the container (of MPEG-4 video it leaves that to a decoder).
        stream->codecpar->codec_id = transport ? AV_CODEC_ID_H264 : AV_CODEC_ID_MJPEG;
        stream->codecpar->width = clip.width;
        stream->codecpar->height = clip.height;
        stream->time_base = {1, 25};
        if (clip.made)
            av_dict_set(&context->metadata, "creation_time",
                        clip.made->toUTC().toString(Qt::ISODateWithMs).toUtf8().constData(), 0);
        // An access unit delimiter first, as the transport stream muxer wants.
        const QByteArray bytes = transport
                                     ? QByteArray::fromHex("0000000109f0") +
                                           (clip.shot ? avchdDate(*clip.shot) : QByteArray()) +
                                           encodedFrame(clip.width, clip.height)
                                     : QByteArray("a frame nothing needs to show");
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
