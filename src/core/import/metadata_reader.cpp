#include "core/import/metadata_reader.h"

#include "core/platform/posix_file_system.h"

#include <exiv2/exiv2.hpp>
#include <taglib/flacfile.h>
#include <taglib/id3v2framefactory.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/tbytevectorstream.h>
#include <taglib/tfilestream.h>
#include <taglib/vorbisfile.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/time.h>
}

#include <QFileInfo>

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <utility>

namespace {

const QString damaged =
    QStringLiteral("This file's metadata cannot be read; its header is damaged.");

// Exiv2 warns on standard error about every odd header, parses XMP with a
// toolkit that must be set up once before threads share it, and reads HEIC
// only when asked to. These are switches of the library, not state of ours;
// thread-safe static initialisation flips them exactly once, before the
// first read on any thread.
void prepareExiv2() {
    static const bool prepared = [] {
        Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
        Exiv2::XmpParser::initialize();
        Exiv2::enableBMFF(true);
        return true;
    }();
    (void)prepared;
}

// The date and time as a clock on the wall showed them, held without a zone
// (as UTC, which Qt never converts), so that formatting and ordering 5,000
// of them never consult the time-zone rules.
QDateTime wallClock(const QDateTime& local) {
    return QDateTime(local.date(), local.time(), Qt::UTC);
}

// EXIF writes "2026:05:04 09:30:00" in the camera's local time, without a
// zone; a camera whose clock was never set writes blanks or zeros, which is
// no date at all. Date and time are read apart, so that a time the local
// zone skips at a clock change still reads.
std::optional<QDateTime> exifDate(const std::string& text) {
    QString written = QString::fromStdString(text).trimmed();
    QDate date = QDate::fromString(written.left(10), QStringLiteral("yyyy:MM:dd"));
    QTime time = QTime::fromString(written.mid(11, 8), QStringLiteral("HH:mm:ss"));
    if (!date.isValid() || !time.isValid())
        return std::nullopt;
    return QDateTime(date, time, Qt::UTC);
}

// XMP writes ISO 8601, sometimes with a zone; the wall-clock time is kept, as
// for EXIF, so that a name says the time the photographer saw.
std::optional<QDateTime> xmpDate(const std::string& text) {
    QDateTime date = QDateTime::fromString(QString::fromStdString(text).trimmed(), Qt::ISODate);
    if (!date.isValid())
        return std::nullopt;
    return wallClock(date);
}

std::optional<QDateTime> takenDate(Exiv2::Image& image) {
    const Exiv2::ExifData& exif = image.exifData();
    for (const char* key : {"Exif.Photo.DateTimeOriginal", "Exif.Image.DateTimeOriginal"}) {
        auto found = exif.findKey(Exiv2::ExifKey(key));
        if (found == exif.end())
            continue;
        if (auto date = exifDate(found->toString()))
            return date;
    }
    const Exiv2::XmpData& xmp = image.xmpData();
    for (const char* key : {"Xmp.exif.DateTimeOriginal", "Xmp.photoshop.DateCreated"}) {
        auto found = xmp.findKey(Exiv2::XmpKey(key));
        if (found == xmp.end())
            continue;
        if (auto date = xmpDate(found->toString()))
            return date;
    }
    return std::nullopt;
}

QString exifText(const Exiv2::ExifData& exif, const char* key) {
    auto found = exif.findKey(Exiv2::ExifKey(key));
    return found == exif.end() ? QString() : QString::fromStdString(found->toString()).trimmed();
}

// Cameras write their maker again at the start of the model ("Canon" and
// "Canon EOS R5", "NIKON CORPORATION" and "NIKON D850"); a name needs it once
// at most, so the model is given without it.
QString cameraModel(const Exiv2::ExifData& exif) {
    const QString model = exifText(exif, "Exif.Image.Model");
    const QString maker = exifText(exif, "Exif.Image.Make").section(QLatin1Char(' '), 0, 0);
    if (!maker.isEmpty() && model.size() > maker.size() &&
        model.startsWith(maker + QLatin1Char(' '), Qt::CaseInsensitive))
        return model.mid(maker.size() + 1).trimmed();
    return model;
}

QString lensModel(Exiv2::Image& image) {
    QString lens = exifText(image.exifData(), "Exif.Photo.LensModel");
    const Exiv2::XmpData& xmp = image.xmpData();
    for (const char* key : {"Xmp.exifEX.LensModel", "Xmp.aux.Lens"}) {
        if (!lens.isEmpty())
            break;
        if (auto found = xmp.findKey(Exiv2::XmpKey(key)); found != xmp.end())
            lens = QString::fromStdString(found->toString()).trimmed();
    }
    return lens;
}

// Fills in the date taken and what else an image records, or the problem
// that kept it from being read. A file that Exiv2 cannot open as an image (a
// PDF, a text, a file too short to tell) records no date taken: no problem,
// only a reason to use the modified date. Once open, Exiv2 throws its own
// errors for damaged headers and may throw the standard library's (a length
// that asks for gigabytes) for hostile ones; either way the file has no
// readable metadata.
template <typename Open> void readImage(FileFacts& facts, Open open) {
    std::unique_ptr<Exiv2::Image> image;
    try {
        image = open();
    } catch (const std::exception&) {
        return;
    }
    try {
        image->readMetadata();
        facts.taken = takenDate(*image);
        facts.camera = cameraModel(image->exifData());
        facts.lens = lensModel(*image);
        facts.width = std::max(0, image->pixelWidth());
        facts.height = std::max(0, image->pixelHeight());
    } catch (const std::exception&) {
        facts.problem = damaged;
    }
}

// TagLib tells a file's kind by its name, and a descriptor's name has none:
// the kind comes from the extension the file was added with.
std::unique_ptr<TagLib::File> audioFile(const QString& suffix, TagLib::IOStream* stream) {
    const QString kind = suffix.toLower();
    auto* frames = TagLib::ID3v2::FrameFactory::instance();
    if (kind == u"mp3")
        return std::make_unique<TagLib::MPEG::File>(stream, frames, false);
    if (kind == u"m4a" || kind == u"m4b")
        return std::make_unique<TagLib::MP4::File>(stream, false);
    if (kind == u"flac")
        return std::make_unique<TagLib::FLAC::File>(stream, frames, false);
    if (kind == u"ogg" || kind == u"oga")
        return std::make_unique<TagLib::Ogg::Vorbis::File>(stream, false);
    return nullptr;
}

// A song's tags. A file TagLib cannot make sense of has none, as a file
// Exiv2 cannot open records no date taken.
void readAudio(FileFacts& facts, const QString& suffix, std::unique_ptr<TagLib::IOStream> stream) {
    std::unique_ptr<TagLib::File> file =
        stream->isOpen() ? audioFile(suffix, stream.get()) : nullptr;
    TagLib::Tag* tag = file && file->isValid() ? file->tag() : nullptr;
    if (!tag)
        return;
    auto text = [](const TagLib::String& value) {
        return QString::fromUtf8(value.toCString(true)).trimmed();
    };
    facts.artist = text(tag->artist());
    facts.album = text(tag->album());
    facts.title = text(tag->title());
    facts.track = tag->track();
    facts.year = tag->year();
}

// The library that reads a file, by its extension: each file is read by the
// one that knows its kind. A clip is an ISO container as a HEIC photo is, and
// Exiv2 would take it for a damaged one.
enum class Reader { exiv2, taglib, ffmpeg };

Reader readerFor(const QString& suffix) {
    static constexpr std::pair<const char*, Reader> kinds[] = {
        {"mp3", Reader::taglib},  {"m4a", Reader::taglib}, {"m4b", Reader::taglib},
        {"flac", Reader::taglib}, {"ogg", Reader::taglib}, {"oga", Reader::taglib},
        {"mp4", Reader::ffmpeg},  {"mov", Reader::ffmpeg}, {"m4v", Reader::ffmpeg},
        {"3gp", Reader::ffmpeg},  {"mts", Reader::ffmpeg}, {"m2ts", Reader::ffmpeg},
        {"avi", Reader::ffmpeg}};
    for (const auto& [kind, reader] : kinds)
        if (suffix.compare(QLatin1String(kind), Qt::CaseInsensitive) == 0)
            return reader;
    return Reader::exiv2;
}

// FFmpeg logs every odd header to standard error: a switch of the library,
// flipped once as Exiv2's are.
void prepareFFmpeg() {
    static const bool prepared = [] {
        av_log_set_level(AV_LOG_QUIET);
        return true;
    }();
    (void)prepared;
}

// A clip's container says when it was made in UTC, which is shown as the
// local clock read then, as a camera's would have. A clip whose date was
// never set says 1904 or 1970, which is no date at all.
std::optional<QDateTime> clipDate(const AVDictionary* metadata) {
    const AVDictionaryEntry* made = av_dict_get(metadata, "creation_time", nullptr, 0);
    if (!made)
        return std::nullopt;
    QDateTime when = QDateTime::fromString(QString::fromUtf8(made->value), Qt::ISODateWithMs);
    if (!when.isValid() || when.date().year() <= 1970)
        return std::nullopt;
    return wallClock(when.toLocalTime());
}

// Two binary-coded decimal digits, or nothing when either is not a digit.
std::optional<int> decimal(std::uint8_t byte) {
    if (byte >> 4 > 9 || (byte & 0x0f) > 9)
        return std::nullopt;
    return (byte >> 4) * 10 + (byte & 0x0f);
}

// AVCHD cameras (MTS, M2TS) record when a clip was shot not in the container
// but in the video: in a frame's H.264 user data, after this UUID and
// "MDPM", as tagged entries of four bytes. Tag 0x18 holds a zone byte, the
// year and the month, 0x19 the day, hour, minute and second, all in
// binary-coded decimal on the camera's clock, which is the wall clock a
// photo's date is.
std::optional<QDateTime> avchdDate(QByteArrayView frame) {
    static const QByteArray marker =
        QByteArray::fromHex("17ee8c60f84d11d98cd60800200c9a66") + "MDPM";
    const qsizetype at = frame.indexOf(marker);
    if (at < 0)
        return std::nullopt;
    // The encoder put a 3 after every two zeros that a byte below 4 follows,
    // so that no start code appears inside the frame: taken out again.
    QByteArray entries;
    int zeros = 0;
    for (qsizetype index = at + marker.size(); index < frame.size() && entries.size() < 1 + 5 * 255;
         ++index) {
        const char byte = frame[index];
        if (zeros >= 2 && byte == 3) {
            zeros = 0;
            continue;
        }
        entries.append(byte);
        zeros = byte == 0 ? zeros + 1 : 0;
    }
    using Entry = std::array<std::uint8_t, 4>;
    std::optional<Entry> yearAndMonth;
    std::optional<Entry> dayAndTime;
    const int count = entries.isEmpty() ? 0 : std::uint8_t(entries[0]);
    for (int entry = 0; entry < count && 1 + 5 * (entry + 1) <= entries.size(); ++entry) {
        const auto* bytes =
            reinterpret_cast<const std::uint8_t*>(entries.constData()) + 1 + 5 * entry;
        const Entry value{bytes[1], bytes[2], bytes[3], bytes[4]};
        if (bytes[0] == 0x18)
            yearAndMonth = value;
        else if (bytes[0] == 0x19)
            dayAndTime = value;
    }
    if (!yearAndMonth || !dayAndTime)
        return std::nullopt;
    // The zone byte that starts 0x18 is passed over: the clock is shown as set.
    const auto century = decimal((*yearAndMonth)[1]), year = decimal((*yearAndMonth)[2]),
               month = decimal((*yearAndMonth)[3]), day = decimal((*dayAndTime)[0]),
               hour = decimal((*dayAndTime)[1]), minute = decimal((*dayAndTime)[2]),
               second = decimal((*dayAndTime)[3]);
    if (!century || !year || !month || !day || !hour || !minute || !second)
        return std::nullopt;
    const QDate date(*century * 100 + *year, *month, *day);
    const QTime time(*hour, *minute, *second);
    if (!date.isValid() || !time.isValid())
        return std::nullopt;
    return QDateTime(date, time, Qt::UTC);
}

// What a transport stream (MTS, M2TS) keeps in its video rather than its
// container: an AVCHD camera's date, and the picture's size, which H.264's
// parser finds in the frames' parameter sets. Cameras write both into every
// key frame; reading a few frames, and never many, keeps a card of clips
// quick to read on slow flash.
void readFrames(FileFacts& facts, AVFormatContext* context) {
    AVPacket* packet = av_packet_alloc();
    AVCodecParserContext* parser = av_parser_init(AV_CODEC_ID_H264);
    AVCodecContext* codec = avcodec_alloc_context3(nullptr);
    if (codec)
        codec->codec_id = AV_CODEC_ID_H264;
    if (parser)
        parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    int frames = 0;
    for (int read = 0; read < 16 && frames < 4 && (!facts.taken || !facts.width) && packet &&
                       parser && codec && av_read_frame(context, packet) >= 0;
         ++read) {
        if (context->streams[packet->stream_index]->codecpar->codec_id == AV_CODEC_ID_H264) {
            ++frames;
            if (!facts.taken)
                facts.taken = avchdDate(QByteArrayView(packet->data, packet->size));
            std::uint8_t* parsed = nullptr;
            int parsedSize = 0;
            av_parser_parse2(parser, codec, &parsed, &parsedSize, packet->data, packet->size,
                             AV_NOPTS_VALUE, AV_NOPTS_VALUE, 0);
            if (!facts.width && parser->width > 0 && parser->height > 0) {
                facts.width = parser->width;
                facts.height = parser->height;
            }
        }
        av_packet_unref(packet);
    }
    avcodec_free_context(&codec);
    av_parser_close(parser);
    av_packet_free(&packet);
}

// Gives up on a clip whose headers take more than a second to read: a damaged
// one must not hold a reader thread, and every preview waiting for it.
int pastDeadline(void* deadline) {
    return av_gettime_relative() > *static_cast<std::int64_t*>(deadline);
}

// A clip's date and size, from the input `context` has been given (`url`
// names it, or is empty for custom input). A file FFmpeg cannot make sense of
// records nothing, as one Exiv2 cannot open records no date taken.
void readVideo(FileFacts& facts, AVFormatContext* context, const char* url) {
    prepareFFmpeg();
    std::int64_t deadline = av_gettime_relative() + 1'000'000;
    context->interrupt_callback = {pastDeadline, &deadline};
    // Only the containers clips come in, from this file alone: a playlist
    // named .mp4 would have FFmpeg open other files, or other computers.
    AVDictionary* options = nullptr;
    av_dict_set(&options, "format_whitelist", "mov,mpegts,avi", 0);
    av_dict_set(&options, "protocol_whitelist", "file", 0);
    // Frees the context when opening fails.
    const int opened = avformat_open_input(&context, url, nullptr, &options);
    av_dict_free(&options);
    if (opened < 0)
        return;
    facts.taken = clipDate(context->metadata);
    for (unsigned index = 0; index < context->nb_streams; ++index) {
        const AVCodecParameters* video = context->streams[index]->codecpar;
        if (video->codec_type != AVMEDIA_TYPE_VIDEO)
            continue;
        facts.width = std::max(0, video->width);
        facts.height = std::max(0, video->height);
        break;
    }
    if (std::strcmp(context->iformat->name, "mpegts") == 0)
        readFrames(facts, context);
    avformat_close_input(&context);
}

// Whole bytes in memory, as FFmpeg reads a file.
struct MemoryInput {
    const QByteArray& bytes;
    qint64 at = 0;

    static int read(void* opaque, std::uint8_t* buffer, int size) {
        auto* input = static_cast<MemoryInput*>(opaque);
        const qint64 count = std::min<qint64>(size, input->bytes.size() - input->at);
        if (count <= 0)
            return AVERROR_EOF;
        std::memcpy(buffer, input->bytes.constData() + input->at, size_t(count));
        input->at += count;
        return int(count);
    }

    static std::int64_t seek(void* opaque, std::int64_t offset, int whence) {
        auto* input = static_cast<MemoryInput*>(opaque);
        const qint64 size = input->bytes.size();
        if (whence & AVSEEK_SIZE)
            return size;
        whence &= ~AVSEEK_FORCE;
        const qint64 to = offset + (whence == SEEK_CUR ? input->at : whence == SEEK_END ? size : 0);
        if (to < 0 || to > size)
            return -1;
        input->at = to;
        return to;
    }
};

} // namespace

namespace MetadataReader {

FileFacts read(const QString& path) {
    prepareExiv2();
    FileFacts facts;
    // Opened without blocking and read only as a regular file: a FIFO put
    // under the name since the file was added would otherwise hold this
    // thread, and every preview waiting for dates, for ever. Exiv2 then reads
    // the very file that was checked, through its descriptor's name.
    auto opened = PosixFileSystem::openPathForReading(QFile::encodeName(path));
    auto status = opened ? PosixFileSystem::statDescriptor(opened.value->get())
                         : PosixFileSystem::Result<PosixFileSystem::Status>{};
    QFileInfo info(path);
    if (!status || !status.value->isRegular || !info.exists()) {
        facts.problem = QStringLiteral("This file is missing or no longer accessible.");
        return facts;
    }
    facts.modified = wallClock(info.lastModified());
    facts.size = std::int64_t(status.value->size);
    const std::string own = "/proc/self/fd/" + std::to_string(opened.value->get());
    const QString suffix = info.suffix();
    switch (readerFor(suffix)) {
    case Reader::taglib:
        readAudio(facts, suffix, std::make_unique<TagLib::FileStream>(own.c_str(), true));
        break;
    case Reader::ffmpeg:
        readVideo(facts, avformat_alloc_context(), own.c_str());
        break;
    case Reader::exiv2:
        readImage(facts, [&] { return Exiv2::ImageFactory::open(own); });
        break;
    }
    return facts;
}

FileFacts readBytes(const QByteArray& bytes, const QString& suffix) {
    prepareExiv2();
    FileFacts facts;
    facts.size = bytes.size();
    const auto* data = reinterpret_cast<const Exiv2::byte*>(bytes.constData());
    switch (readerFor(suffix)) {
    case Reader::taglib:
        readAudio(facts, suffix,
                  std::make_unique<TagLib::ByteVectorStream>(
                      TagLib::ByteVector(bytes.constData(), uint(bytes.size()))));
        break;
    case Reader::ffmpeg: {
        MemoryInput input{bytes};
        constexpr int chunk = 4096;
        AVIOContext* io =
            avio_alloc_context(static_cast<unsigned char*>(av_malloc(chunk)), chunk, 0, &input,
                               MemoryInput::read, nullptr, MemoryInput::seek);
        AVFormatContext* context = avformat_alloc_context();
        context->pb = io;
        context->flags |= AVFMT_FLAG_CUSTOM_IO;
        readVideo(facts, context, nullptr);
        av_freep(&io->buffer);
        avio_context_free(&io);
        break;
    }
    case Reader::exiv2:
        readImage(facts, [&] { return Exiv2::ImageFactory::open(data, long(bytes.size())); });
        break;
    }
    return facts;
}

} // namespace MetadataReader
