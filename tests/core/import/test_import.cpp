#include "core/import/file_import.h"
#include "core/import/metadata_reader.h"
#include "core/preview/rename_preview.h"
#include "core/preview/rule_preview.h"

#include "clip_writer.h"
#include "temporary_folder.h"

#include <exiv2/exiv2.hpp>
#include <taglib/fileref.h>

#include <QFile>
#include <QScopeGuard>
#include <QTest>

#include <algorithm>
#include <map>
#include <numeric>
#include <tuple>

#include <fcntl.h>
#include <unistd.h>

namespace {

const QString skippedItem = QStringLiteral(": Hidden files, links, and bundles are skipped.");
const QString notPlain = QStringLiteral(" is not a regular file, or is a symbolic/hard link.");

// Records of files somewhere else, with identities no real file here has.
QList<FileRecord> elsewhere(int count) {
    QList<FileRecord> records;
    for (int index = 0; index < count; ++index)
        records.append({QStringLiteral("/elsewhere/f%1").arg(index),
                        FileIdentity{-1, std::uint64_t(index), 0, 0}, FileIdentity{-1, 0, 0, 0}});
    return records;
}

// The files of the result that lie in `tree`, relative to it, in result order.
QStringList added(const TemporaryFolder& tree, const ImportResult& result) {
    QStringList paths;
    for (const FileRecord& record : result.files)
        if (record.path.startsWith(tree.path() + '/'))
            paths.append(record.path.mid(tree.path().size() + 1));
    return paths;
}

// What a selection in a folder of `entries` adds to a batch of `existing` others.
struct Collected {
    QStringList entries{}, selected{}, files{}, skipped{};
    int existing = 0;
    qsizetype maximum = 5000;
    bool reachedLimit = false;
};

// Dates come back as the clock on the wall showed them, held as UTC.
const QDateTime may4(QDate(2026, 5, 4), QTime(9, 30), Qt::UTC);

// A small real JPEG, as a camera would leave it: a date taken when `taken`
// is not empty, those of the other EXIF `tags` that are not, and the
// modification time `modified`.
QString photo(TemporaryFolder& folder, const QString& name, const QString& taken,
              const QDateTime& modified, const QByteArray& padding = {},
              std::map<std::string, std::string> tags = {}) {
    QString path = folder.at(name);
    {
        auto image = Exiv2::ImageFactory::create(Exiv2::ImageType::jpeg, path.toStdString());
        Exiv2::ExifData exif;
        tags["Exif.Photo.DateTimeOriginal"] = taken.toStdString();
        for (const auto& [key, value] : tags)
            if (!value.empty())
                exif[key] = value;
        exif["Exif.Image.ImageDescription"] = padding.toStdString();
        image->setExifData(exif);
        image->writeMetadata();
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite) ||
        !file.setFileTime(modified, QFileDevice::FileModificationTime))
        qFatal("Cannot set the modification time of %s", qPrintable(path));
    return path;
}

} // namespace

Q_DECLARE_METATYPE(Collected)

class ImportTest : public QObject {
    Q_OBJECT
private slots:
    // With no selection, the whole folder is chosen and its progress followed.
    void collect_data() {
        QTest::addColumn<Collected>("expected");
        // clang-format off
        QTest::newRow("one level of a folder") << Collected{{"dir/a.txt", "dir/.notes", "dir/Sub/deep.txt", "l:dir/ln>a.txt"}, {"dir"}, {"dir/a.txt"}, {"ln: ln" + notPlain, "Sub: Sub" + notPlain}};
        QTest::newRow("selected link, hidden file and bundle") << Collected{{"real/a.txt", "l:link>real", ".hidden", "X.app/a.txt"}, {"link", ".hidden", "X.app"}, {}, {"link" + skippedItem, ".hidden" + skippedItem, "X.app" + skippedItem}};
        QTest::newRow("file and its folder") << Collected{{"dir/a.txt", "dir/b.txt"}, {"dir/a.txt", "dir"}, {"dir/a.txt", "dir/b.txt"}, {}};
        QTest::newRow("standardized") << Collected{{"dir/a.txt"}, {"dir/../dir/./a.txt"}, {"dir/a.txt"}, {}};
        QTest::newRow("file inside a bundle") << Collected{{"B.app/Contents/Report.pdf"}, {"B.app/Contents/Report.pdf"}, {}, {"Report.pdf: Files inside application or document bundles are not supported."}};
        QTest::newRow("hard-linked file") << Collected{{"h.txt", "h:h2.txt>h.txt"}, {"h.txt"}, {}, {"h.txt: h.txt" + notPlain}};
        // Refusals appear in the order the files are examined, whatever the listing order.
        QTest::newRow("examined in natural order") << Collected{{"d:dir/file 10", "d:dir/file 2", "d:dir/file 1"}, {"dir"}, {}, {"file 1: file 1" + notPlain, "file 2: file 2" + notPlain, "file 10: file 10" + notPlain}};
        // Names Linux allows but no new name may have are added, so that they can
        // be renamed to something a card or a Windows share accepts.
        QTest::newRow("names no new name may have") << Collected{{"dir/\uFEFFnote.txt", "dir/10:30:00.png", "dir/tab\there.txt"}, {"dir"}, {"dir/10:30:00.png", "dir/\uFEFFnote.txt", "dir/tab\there.txt"}, {}};
        QTest::newRow("room for all") << Collected{{"b", "a"}, {}, {"a", "b"}, {}};
        QTest::newRow("room for one: natural order decides") << Collected{{"b", "a"}, {}, {"a"}, {}, 4999, 5000, true};
        QTest::newRow("maximum above 5,000") << Collected{{"b", "a"}, {}, {"a"}, {}, 4999, 1'000'000, true};
        QTest::newRow("negative maximum") << Collected{{"a"}, {}, {}, {}, 0, -3, true};
        QTest::newRow("full, only refused items") << Collected{{"d:Sub", "l:ln>Sub"}, {}, {}, {"ln: ln" + notPlain, "Sub: Sub" + notPlain}, 5000, 5000, false};
        // clang-format on
    }

    void collect() {
        QFETCH(Collected, expected);
        auto [entries, selected, files, skipped, existing, maximum, reachedLimit] = expected;
        TemporaryFolder tree;
        tree.make(entries);
        QList<QUrl> urls;
        for (const QString& path : selected.isEmpty() ? QStringList{""} : selected)
            urls.append(tree.url(path));
        QList<qsizetype> done;
        QString last;
        ImportResult result = FileImport::collect(urls, elsewhere(existing), maximum,
                                                  [&](const RenameProgress& progress) {
                                                      done.append(progress.done);
                                                      last = progress.text();
                                                  });
        QCOMPARE(added(tree, result), files);
        QCOMPARE(result.files.size(), existing + files.size());
        QCOMPARE(result.skipped, skipped);
        QCOMPARE(result.reachedLimit, reachedLimit);
        if (!selected.isEmpty())
            return;
        // Every item found is counted, also those the limit leaves out.
        QList<qsizetype> counted(entries.size() + 1);
        std::iota(counted.begin(), counted.end(), 0);
        QCOMPARE(done, counted);
        QCOMPARE(last, entries.size() == 1 ? QStringLiteral("Adding 1 of 1 file…")
                                           : QStringLiteral("Adding 2 of 2 files…"));
    }

    // What a photo records of itself is read with its dates; the maker is
    // said once. Exiv2's own blank JPEG is one pixel square.
    void cameraLensAndSize() {
        TemporaryFolder folder;
        const struct {
            const char *make, *model, *lens, *camera;
        } shots[] = {{"NIKON CORPORATION", "NIKON D850", "24-70mm f/2.8", "D850"},
                     {"Canon", "Canon EOS R5", "", "EOS R5"},
                     {"FUJIFILM", "X-T4", "", "X-T4"},
                     {"", "", "", ""}};
        for (const auto& shot : shots) {
            const FileFacts facts =
                MetadataReader::read(photo(folder, QString(shot.model) + " shot.jpg", "", may4, {},
                                           {{"Exif.Image.Make", shot.make},
                                            {"Exif.Image.Model", shot.model},
                                            {"Exif.Photo.LensModel", shot.lens}}));
            QCOMPARE(std::tuple(facts.camera, facts.lens, facts.width, facts.height),
                     std::tuple(QString(shot.camera), QString(shot.lens), std::int64_t(1),
                                std::int64_t(1)));
        }
    }

    // A song's tags, written by TagLib into files made here: an MP3 of four
    // silent frames, and an M4A that is only its container.
    void songTags() {
        TemporaryFolder folder;
        const QByteArray frame = QByteArray::fromHex("fffb9064") + QByteArray(413, '\0');
        folder.file("song.mp3", frame.repeated(4));
        folder.file("song.m4a", QByteArray::fromHex("00000018") + "ftypM4A " + QByteArray(4, '\0') +
                                    "M4A isom" + QByteArray::fromHex("00000008") + "moov");
        for (const char* name : {"song.mp3", "song.m4a"}) {
            {
                TagLib::FileRef file(QFile::encodeName(folder.at(name)).constData());
                QVERIFY2(!file.isNull(), name);
                file.tag()->setArtist(TagLib::String("Björk", TagLib::String::UTF8));
                file.tag()->setAlbum("Homogenic");
                file.tag()->setTitle(TagLib::String("Jóga", TagLib::String::UTF8));
                file.tag()->setTrack(3);
                file.tag()->setYear(1997);
                QVERIFY2(file.save(), name);
            }
            const FileFacts facts = MetadataReader::read(folder.at(name));
            QCOMPARE(std::tuple(facts.artist, facts.album, facts.title, facts.track, facts.year),
                     std::tuple(QString("Björk"), QString("Homogenic"), QString("Jóga"),
                                std::int64_t(3), std::int64_t(1997)));
        }
        // The same tags, read by the name's own kind only.
        QVERIFY(QFile::rename(folder.at("song.mp3"), folder.at("song.txt")));
        QCOMPARE(MetadataReader::read(folder.at("song.txt")).artist, QString());
    }

    // A clip's date is when it was made, shown in local time (the test runs
    // in Lisbon, an hour ahead of UTC in May), or for AVCHD when it was shot,
    // on the camera's clock; its size is that of its video, which a transport
    // stream keeps only in the video itself.
    void clipDatesAndSize() {
        TemporaryFolder folder;
        const QDateTime inLisbon(QDate(2026, 5, 4), QTime(10, 30), Qt::UTC);
        // Two zeros and a 3: the encoder escapes the 3, and the reader must not
        // take the escape for the second.
        const QDateTime shot(QDate(2026, 5, 4), QTime(0, 0, 3), Qt::UTC);
        // clang-format off
        const struct { const char* name; ClipWriter::Clip clip; std::optional<QDateTime> taken; std::int64_t width, height; } clips[] = {
            {"clip.mp4", {.made = may4}, inLisbon, 1920, 1080},
            {"clip.MOV", {.container = "mov", .made = may4, .width = 1280, .height = 720}, inLisbon, 1280, 720},
            {"unset clock.mp4", {}, std::nullopt, 1920, 1080},
            {"card.MTS", {.container = "mpegts", .shot = shot}, shot, 1920, 1080},
            {"card.m2ts", {.container = "mpegts", .width = 1280, .height = 720}, std::nullopt, 1280, 720},
            {"not a clip.txt", {.made = may4}, std::nullopt, 0, 0},
        };
        // clang-format on
        for (const auto& [name, clip, taken, width, height] : clips) {
            QVERIFY(ClipWriter::write(folder.at(name), clip));
            const FileFacts facts = MetadataReader::read(folder.at(name));
            QCOMPARE(facts.taken, taken);
            QCOMPARE(facts.width, width);
            QCOMPARE(facts.height, height);
        }
    }

    // Known files come back in natural order, and are dropped from a new
    // selection before the limit is consulted, even when the batch is full.
    void emptyAndRepeated() {
        QList<FileRecord> existing = elsewhere(3);
        std::reverse(existing.begin(), existing.end());
        QCOMPARE(FileImport::collect({}, existing, 5000).files, RenamePreview::sorted(existing));
        QVERIFY(RenamePreview::sorted(existing) != existing);
        TemporaryFolder tree;
        tree.make({"dir/a.txt", "dir/b.txt"});
        QList<FileRecord> first = FileImport::collect({tree.url("dir")}, {}, 5000).files;
        QCOMPARE(first.size(), 2);
        ImportResult again =
            FileImport::collect({tree.url("dir"), tree.url("dir/a.txt")}, first, 2);
        QCOMPARE(again.files, first);
        QVERIFY(again.skipped.isEmpty() && !again.reachedLimit);
    }

    void skippedLinesCapped() {
        TemporaryFolder tree;
        QList<QUrl> links;
        for (int index = 0; index < 60; ++index) {
            tree.folder(QStringLiteral("dir/sub%1").arg(index));
            links.append(QUrl::fromLocalFile(
                tree.symlink(QStringLiteral("link%1").arg(index), QStringLiteral("dir"))));
        }
        QCOMPARE(FileImport::collect({tree.url("dir")}, {}, 5000).skipped.size(), 50);
        // Selected items are refused before any file is examined, so they are never
        // capped, and they fill the cap for the folder's refusals that follow.
        QCOMPARE(FileImport::collect(links + QList<QUrl>{tree.url("dir")}, {}, 5000).skipped.size(),
                 60);
    }

    void nameNotUtf8() {
        TemporaryFolder tree;
        tree.file("dir/ok.txt");
        QByteArray path = QFile::encodeName(tree.at("dir")) + "/bad\xff.txt";
        QCOMPARE(::close(::open(path.constData(), O_CREAT | O_WRONLY, 0600)), 0);
        // The temporary folder removes entries by their decoded names, which miss this one.
        auto removeBadName = qScopeGuard([&] { ::unlink(path.constData()); });
        ImportResult result = FileImport::collect({tree.url("dir")}, {}, 5000);
        QCOMPARE(added(tree, result), QStringList{"dir/ok.txt"});
        QCOMPARE(result.skipped.size(), 1);
        QVERIFY2(result.skipped.front().endsWith(": Filenames must be valid UTF-8."),
                 qPrintable(result.skipped.front()));
    }

    void readsDates() {
        TemporaryFolder folder;
        QDateTime june(QDate(2026, 6, 1), QTime(18, 5));
        FileFacts dated = MetadataReader::read(photo(folder, "a.jpg", "2026:05:04 09:30:00", june));
        QCOMPARE(dated.taken, may4);
        QCOMPARE(dated.modified, QDateTime(june.date(), june.time(), Qt::UTC));
        QCOMPARE(dated.size, QFileInfo(folder.at("a.jpg")).size());
        QCOMPARE(dated.problem, std::nullopt);

        // No date, a clock that was never set, a kind of file without metadata:
        // nothing taken, nothing wrong.
        for (const QString& path :
             {photo(folder, "b.jpg", "", june), photo(folder, "c.jpg", "0000:00:00 00:00:00", june),
              folder.file("notes.txt")}) {
            FileFacts facts = MetadataReader::read(path);
            QCOMPARE(facts.taken, std::nullopt);
            QCOMPARE(facts.problem, std::nullopt);
            QVERIFY(facts.modified.isValid());
        }

        // A card pulled out mid-copy: the header is cut inside the EXIF block.
        photo(folder, "d.jpg", "2026:05:04 09:30:00", june);
        FileFacts cut = MetadataReader::read(folder.file("cut.jpg", folder.read("d.jpg").left(40)));
        QCOMPARE(cut.taken, std::nullopt);
        QCOMPARE(cut.problem, "This file's metadata cannot be read; its header is damaged.");
        // A FIFO put under a photo's name is not waited on.
        folder.fifo("pipe.jpg");
        for (const char* name : {"gone.jpg", "pipe.jpg"})
            QCOMPARE(MetadataReader::read(folder.at(name)).problem,
                     "This file is missing or no longer accessible.");
    }

    void hostileHeaders_data() {
        QTest::addColumn<QByteArray>("bytes");
        QByteArray soi = QByteArray::fromHex("ffd8");
        // clang-format off
        QTest::newRow("JPEG start only") << soi;
        QTest::newRow("APP1 longer than the file") << soi + QByteArray::fromHex("ffe1ffff") + "Exif";
        QTest::newRow("EXIF with a TIFF offset past the end") << soi + QByteArray::fromHex("ffe10010") + QByteArray("Exif\0\0", 6) + QByteArray::fromHex("49492a00ffffff7f");
        QTest::newRow("TIFF with a directory past the end") << QByteArray::fromHex("49492a00ffffff7f");
        QTest::newRow("TIFF directory of 65535 entries") << QByteArray::fromHex("4d4d002a00000008ffff") + QByteArray(64, '\xff');
        QTest::newRow("HEIC box claiming four gigabytes") << QByteArray::fromHex("ffffffff") + "ftypheic" + QByteArray(8, '\0');
        QTest::newRow("ID3 tag longer than the file") << QByteArray("ID3\x04\0\0\x7f\x7f\x7f\x7f", 10) + "TIT2";
        QTest::newRow("FLAC block past the end") << QByteArray("fLaC\x04\xff\xff\xff", 8) + "vorbis";
        QTest::newRow("Ogg page of 255 segments") << QByteArray("OggS\0\x02", 6) + QByteArray(20, '\0') + QByteArray("\xff", 1) + QByteArray(255, '\xff');
        QTest::newRow("HEIC meta box inside itself") << QByteArray::fromHex("00000018") + "ftypheic" + QByteArray(4, '\0') + "mif1" + QByteArray::fromHex("7fffffff") + "meta" + QByteArray(4, '\0') + QByteArray::fromHex("00000010") + "meta";
        // clang-format on
    }

    void hostileHeaders() {
        QFETCH(QByteArray, bytes);
        // Whatever the header claims, the reader answers: no date, and never a
        // crash or an exception.
        // Each header is read as every kind of file, whatever it claims to be.
        for (const char* suffix : {"jpg", "mp3", "m4a", "flac", "ogg", "mp4", "mts", "avi"}) {
            FileFacts facts = MetadataReader::readBytes(bytes, suffix);
            QCOMPARE(facts.taken, std::nullopt);
            QCOMPARE(facts.size, bytes.size());
        }
    }

    // The tag names the order, and says when it is descending.
    void ordersAndNumbers_data() {
        QTest::addColumn<QString>("expected");
        // a and b were taken at the same minute, so name breaks their tie; c records
        // no date taken, so it counts by its modified date, the day before, and says so.
        // clang-format off
        QTest::newRow("name") << QString("a>05-04 F-001.jpg b>05-04 F-002.jpg c>05-03 F-003.jpg* d9>05-05 F-004.jpg d10>05-06 F-005.jpg");
        QTest::newRow("name descending") << QString("d10>05-06 F-001.jpg d9>05-05 F-002.jpg c>05-03 F-003.jpg* b>05-04 F-004.jpg a>05-04 F-005.jpg");
        QTest::newRow("taken") << QString("c>05-03 F-001.jpg* a>05-04 F-002.jpg b>05-04 F-003.jpg d9>05-05 F-004.jpg d10>05-06 F-005.jpg");
        QTest::newRow("taken descending") << QString("d10>05-06 F-001.jpg d9>05-05 F-002.jpg a>05-04 F-003.jpg b>05-04 F-004.jpg c>05-03 F-005.jpg*");
        QTest::newRow("modified") << QString("d10>05-06 F-001.jpg d9>05-05 F-002.jpg b>05-04 F-003.jpg a>05-04 F-004.jpg c>05-03 F-005.jpg*");
        QTest::newRow("size") << QString("a>05-04 F-001.jpg b>05-04 F-002.jpg c>05-03 F-003.jpg* d9>05-05 F-004.jpg d10>05-06 F-005.jpg");
        // clang-format on
    }

    void ordersAndNumbers() {
        QFETCH(QString, expected);
        const QString order = QTest::currentDataTag();
        TemporaryFolder folder;
        const QDateTime base(QDate(2026, 5, 1), QTime(12, 0));
        // Natural order puts d9 before d10; modified times run from d10 to a and
        // then c, sizes grow with the description's length.
        photo(folder, "d10.jpg", "2026:05:06 08:00:00", base, QByteArray(400, 'x'));
        photo(folder, "b.jpg", "2026:05:04 09:30:00", base.addSecs(3 * 3600), QByteArray(100, 'x'));
        photo(folder, "a.jpg", "2026:05:04 09:30:00", base.addSecs(4 * 3600));
        photo(folder, "c.jpg", "", QDateTime(QDate(2026, 5, 3), QTime(7, 0)), QByteArray(200, 'x'));
        photo(folder, "d9.jpg", "2026:05:05 08:00:00", base.addSecs(3600), QByteArray(300, 'x'));
        QList<FileRecord> files =
            FileImport::collect({QUrl::fromLocalFile(folder.path())}, {}, 5000).files;
        QList<std::optional<FileFacts>> facts;
        for (const FileRecord& file : files)
            facts.append(MetadataReader::read(file.path));

        RenameRules rules;
        rules.baseName = QStringLiteral("{taken:MM-dd}");
        rules.suffix = QStringLiteral(" {folder}");
        rules.sequence = true;
        rules.order = *nameOrderFromRaw(order.section(' ', 0, 0));
        rules.descending = order.endsWith(" descending");
        // Each file as its name, then its new name with the folder as "F", and "*" for a note.
        QStringList sorted;
        for (const PreviewRow& row : RulePreview::rows(files, facts, rules, false))
            sorted.append(
                row.intent.source.name().chopped(4) + ">" +
                QString(row.intent.filename).replace(QFileInfo(folder.path()).fileName(), "F") +
                (row.note ? "*" : "") + row.problem.value_or(QString()));
        QCOMPARE(sorted.join(' '), expected);
    }
};

QTEST_GUILESS_MAIN(ImportTest)
#include "test_import.moc"
