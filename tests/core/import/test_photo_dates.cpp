#include "core/import/file_import.h"
#include "core/import/metadata_reader.h"
#include "core/preview/rule_preview.h"

#include "temporary_folder.h"

#include <exiv2/exiv2.hpp>

#include <QFile>
#include <QTest>

namespace {

// Dates come back as the clock on the wall showed them, held as UTC.
const QDateTime may4(QDate(2026, 5, 4), QTime(9, 30), Qt::UTC);

// A small real JPEG, as a camera would leave it: a date taken when `taken`
// is not empty, and the modification time `modified`.
QString photo(TemporaryFolder& folder, const QString& name, const QString& taken,
              const QDateTime& modified, const QByteArray& padding = {}) {
    QString path = folder.at(name);
    {
        auto image = Exiv2::ImageFactory::create(Exiv2::ImageType::jpeg, path.toStdString());
        Exiv2::ExifData exif;
        if (!taken.isEmpty())
            exif["Exif.Photo.DateTimeOriginal"] = taken.toStdString();
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

class PhotoDatesTest : public QObject {
    Q_OBJECT
private slots:
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
        QTest::newRow("HEIC meta box inside itself") << QByteArray::fromHex("00000018") + "ftypheic" + QByteArray(4, '\0') + "mif1" + QByteArray::fromHex("7fffffff") + "meta" + QByteArray(4, '\0') + QByteArray::fromHex("00000010") + "meta";
        // clang-format on
    }

    void hostileHeaders() {
        QFETCH(QByteArray, bytes);
        // Whatever the header claims, the reader answers: no date, and never a
        // crash or an exception.
        FileFacts facts = MetadataReader::readBytes(bytes);
        QCOMPARE(facts.taken, std::nullopt);
        QCOMPARE(facts.size, bytes.size());
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

QTEST_GUILESS_MAIN(PhotoDatesTest)
#include "test_photo_dates.moc"
