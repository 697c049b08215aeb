#include "core/preview/rename_preview.h"
#include "core/preview/rule_preview.h"

#include "mounted_volume.h"
#include "temporary_folder.h"

#include <nlohmann/json.hpp>

#include <QFile>
#include <QTest>

#include <cstdio>
#include <unistd.h>

namespace {

const QString duplicate = QStringLiteral("The same file was included more than once.");
const QString changedOnDisk =
    QStringLiteral("This file changed or moved. Remove it and add it again.");
const QString collision =
    QStringLiteral("Two files would have the same name (ignoring case and Unicode form).");
const QString taken = QStringLiteral("A file or folder with this name already exists.");
const QString device = QStringLiteral(
    "Windows reserves this device name, even with an extension. Choose a different name.");

bool moveEntry(const TemporaryFolder& tree, const QString& from, const QString& to) {
    return ::rename(tree.at(from).toUtf8().constData(), tree.at(to).toUtf8().constData()) == 0;
}

// What happens on disk to the first file of the batch after it was added.
bool applyChange(TemporaryFolder& tree, const QString& change, const QString& file) {
    QString folder = file.section(QLatin1Char('/'), 0, -2);
    QString top = file.section(QLatin1Char('/'), 0, 0);
    if (change == QLatin1String("delete"))
        return QFile::remove(tree.at(file));
    // Written beside it first, so the new file cannot reuse the old inode.
    if (change == QLatin1String("replace"))
        return !tree.file(file + ".new").isEmpty() && moveEntry(tree, file + ".new", file);
    // The very same file, now in another folder at the same path.
    if (change == QLatin1String("refolder"))
        return !tree.folder("fresh").isEmpty() &&
               moveEntry(tree, file, "fresh/" + file.section(QLatin1Char('/'), -1)) &&
               moveEntry(tree, folder, "old") && moveEntry(tree, "fresh", folder);
    // A folder above the file becomes a link to where it went.
    if (change == QLatin1String("relink"))
        return moveEntry(tree, top, top + ".real") && !tree.symlink(top, top + ".real").isEmpty();
    return change.isEmpty();
}

// Rules given as the stored JSON keys that differ from the defaults.
RenameRules rules(const QString& changes) {
    nlohmann::ordered_json json = RenameRules();
    json.merge_patch(nlohmann::ordered_json::parse(changes.toStdString()));
    return json.get<RenameRules>();
}

// Intents from "file>proposed name", for files in `root`.
QList<RenameIntent> intents(const QString& root, const QStringList& renames) {
    QList<RenameIntent> result;
    for (const QString& rename : renames)
        result.append(
            {FileRecord::make(QUrl::fromLocalFile(root + '/' + rename.section('>', 0, 0))),
             rename.section('>', 1)});
    return result;
}

// Each row's problem, or an empty string; with `names`, after the proposed name and a "|".
QStringList problems(const QList<PreviewRow>& rows, bool names = false) {
    QStringList lines;
    for (const PreviewRow& row : rows)
        lines.append(names ? row.intent.filename + (row.problem ? "|" + *row.problem : QString())
                           : row.problem.value_or(QString()));
    return lines;
}

// Files "file>proposed name" in batch order, beside `entries` outside it (as
// TemporaryFolder::make takes them), and each row's problem; with `changes`, the rules that
// name the files instead, and each row as problems(rows, true) shows it.
struct Batch {
    QStringList entries{}, renames{}, expected{};
    QString changes{}, change{}; // what happens on disk to the first file after it was added
    bool windows = false;
};

} // namespace

Q_DECLARE_METATYPE(Batch)

class RenamePreviewTest : public QObject {
    Q_OBJECT
private slots:
    void rows_data();
    void rows() {
        QFETCH(Batch, batched);
        auto [entries, renames, expected, changes, change, windows] = batched;
        TemporaryFolder tree;
        tree.make(entries);
        QList<FileRecord> files;
        for (const QString& rename : renames)
            files.append(
                FileRecord::make(QUrl::fromLocalFile(tree.file(rename.section('>', 0, 0)))));
        if (!changes.isEmpty()) {
            QCOMPARE(problems(RulePreview::rows(files, {}, rules(changes), false), true), expected);
            return;
        }
        const QList<RenameIntent> batch = intents(tree.path(), renames);
        QVERIFY(applyChange(tree, change, renames.front().section('>', 0, 0)));
        auto rows = RenamePreview::rows(batch, windows);
        QCOMPARE(problems(rows), expected);
        for (qsizetype index = 0; index < rows.size(); ++index)
            QCOMPARE(rows[index].intent, batch[index]);
    }

    void namesTheVolumeCannotHold_data() {
        QTest::addColumn<QString>("type");
        for (auto [type, volume] :
             {std::pair{"vfat", "FAT32"}, {"exfat", "exFAT"}, {"ntfs", "NTFS"}})
            QTest::newRow(volume) << QString(type);
    }

    // Whatever the Windows check says, a card, a stick or an NTFS disk refuses
    // these names, and the preview says so before anything is journaled. The
    // files are still recognised after the kernel dropped their inodes, which
    // gives them new inode numbers on FAT32 and exFAT.
    void namesTheVolumeCannotHold() {
        QFETCH(QString, type);
        const QString volume = QTest::currentDataTag();
        QString whyNot;
        auto mounted = MountedVolume::loop(type, whyNot);
        if (!mounted)
            QSKIP(qPrintable(whyNot));
        // clang-format off
        const QString characters = "This file's " + volume + " volume cannot hold < > : \" \\ | ? * or control characters in a name.";
        const QString ending = type != "ntfs" ? "This file's " + volume + " volume cannot hold a name that ends in a period or space." : QString();
        const QStringList renames = {"IMG_0001.JPG>img_0001.JPG", "a.txt><draft>.txt", "b.txt>why?.txt", "c.txt>back\\slash.txt", "e.txt>ends.", "f.txt>ends ", "g.txt>fine.txt"};
        // clang-format on
        for (const QString& rename : renames) {
            QFile file(mounted->path() + "/" + rename.section('>', 0, 0));
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(file.fileName().toUtf8()) > 0);
        }
        const QList<RenameIntent> batch = intents(mounted->path(), renames);
        ::sync();
        if (QFile caches("/proc/sys/vm/drop_caches"); caches.open(QIODevice::WriteOnly))
            caches.write("3");
        QCOMPARE(problems(RenamePreview::rows(batch, false)),
                 (QStringList{"", characters, characters, characters, ending, ending, ""}));
        QCOMPARE(problems(RenamePreview::rows(batch, true)).first(), QString());
    }

    // Natural order: digit runs by value, letter case ignored, then the path; names that
    // differ only in case still get a fixed order. Each list is given reversed.
    void sorted() {
        for (const QStringList& expected :
             {QStringList{"/f/file1.txt", "/f/file2.txt", "/f/file10.txt"},
              {"/f/file 2.txt", "/f/file 10.txt"},
              {"/f/a.txt", "/f/B.txt", "/f/C.txt"},
              {"/a/notes.txt", "/m/notes.txt", "/z/notes.txt"},
              {"/b/X.txt", "/a/x.txt"}}) {
            QList<FileRecord> records;
            for (auto path = expected.rbegin(); path != expected.rend(); ++path)
                records.append({*path, {}, {}});
            QStringList order;
            for (const FileRecord& record : RenamePreview::sorted(records))
                order.append(record.path);
            QCOMPARE(order, expected);
        }
    }
};

void RenamePreviewTest::rows_data() {
    QTest::addColumn<Batch>("batched");
    const QStringList none;
    const QStringList pair{"", ""};
    const QStringList two{"a.jpg", "b.jpg"};
    const char* studio = R"({"baseName":"x","numberDuplicates":true})";
    const QString collides = "x.jpg|" + collision;
    // A pattern that backtracks without end gives up on each name in bounded
    // work; bench_preview prints how long a whole batch takes.
    QStringList slow, slowRows;
    for (int index = 0; index < 5000; ++index) {
        slow.append(QString(40, 'a') + "!" + QString::number(index) + ".txt");
        slowRows.append(slow.back() + "|" + FindPattern::tooSlow);
    }
    // clang-format off
    QTest::newRow("unchanged") << Batch{none, {"a.txt>a.txt"}, {""}};
    QTest::newRow("same file twice, even with an invalid name") << Batch{none, {"a.txt>b.txt", "a.txt>"}, {duplicate, duplicate}};
    QTest::newRow("empty name before deleted file") << Batch{none, {"a.txt>"}, {"The filename is empty."}, "", "delete"};
    QTest::newRow("slash in name") << Batch{none, {"a.txt>b/c.txt"}, {"Remove slashes, colons, or control characters."}};
    QTest::newRow("deleted") << Batch{none, {"a.txt>b.txt"}, {"a.txt is missing or no longer accessible."}, "", "delete"};
    QTest::newRow("replaced by a file of the same name") << Batch{none, {"a.txt>b.txt"}, {changedOnDisk}, "", "replace"};
    QTest::newRow("moved to another folder at the same path") << Batch{none, {"d/a.txt>b.txt"}, {changedOnDisk}, "", "refolder"};
    QTest::newRow("folder above became a link") << Batch{none, {"d/sub/a.txt>b.txt", "d/sub/c.txt>d.txt"}, QStringList(2, "Cannot safely open sub. Symbolic links and unavailable folders are not supported."), "", "relink"};
    QTest::newRow("swap") << Batch{none, {"a.txt>b.txt", "b.txt>a.txt"}, pair};
    QTest::newRow("taken by a file outside the batch") << Batch{{"b.txt"}, {"a.txt>b.txt"}, {taken}};
    QTest::newRow("taken ignoring case and form") << Batch{{"CAFE\u0301.TXT"}, {"a.txt>caf\u00e9.txt"}, {taken}};
    QTest::newRow("taken by a folder") << Batch{{"d:b.txt"}, {"a.txt>b.txt"}, {taken}};
    QTest::newRow("taken by a link") << Batch{{"l:b.txt>nowhere"}, {"a.txt>b.txt"}, {taken}};
    QTest::newRow("unchanged name taken by another case") << Batch{{"A.txt"}, {"a.txt>a.txt"}, {taken}};
    QTest::newRow("case only") << Batch{none, {"a.txt>A.txt"}, {""}};
    QTest::newRow("normalization form only") << Batch{none, {"caf\u00e9.txt>cafe\u0301.txt"}, {""}};
    QTest::newRow("collision in one folder") << Batch{none, {"x.txt>Report.txt", "y.txt>report.txt"}, {collision, collision}};
    QTest::newRow("collision with an unchanged name") << Batch{none, {"Report.txt>Report.txt", "x.txt>REPORT.txt"}, {collision, collision}};
    QTest::newRow("same names in two folders") << Batch{none, {"one/x.txt>Report.txt", "two/y.txt>report.txt"}, pair};
    QTest::newRow("windows check before collision") << Batch{none, {"x.txt>CON.txt", "y.txt>con.txt"}, {device, device}, "", "", true};
    QTest::newRow("windows check off") << Batch{none, {"x.txt>CON.txt"}, {""}};
    QTest::newRow("off by default") << Batch{none, {"a.jpg", "b.jpg", "c.jpg"}, {collides, collides, collides}, R"({"baseName":"x"})"};
    QTest::newRow("all but the first, in batch order") << Batch{none, {"a.jpg", "b.jpg", "c.jpg"}, {"x.jpg", "x (2).jpg", "x (3).jpg"}, studio};
    QTest::newRow("chosen format, before the extension only") << Batch{none, {"a.tar.gz", "b.tar.gz"}, {"x.gz", "x-2.gz"}, R"({"baseName":"x","numberDuplicates":true,"duplicateFormat":"hyphen"})"};
    QTest::newRow("same name ignoring case") << Batch{none, {"a1.JPG", "A2.jpg"}, {"a.JPG", "A (2).jpg"}, R"({"regex":true,"find":"\\d","numberDuplicates":true})"};
    QTest::newRow("the file that has the name keeps it") << Batch{none, {"photo copy.jpg", "photo.jpg"}, {"photo (2).jpg", "photo.jpg"}, R"({"find":" copy","numberDuplicates":true})"};
    QTest::newRow("other folders are other names") << Batch{none, {"one/a.jpg", "two/b.jpg"}, {"x.jpg", "x.jpg"}, studio};
    QTest::newRow("a name taken on disk stays a problem") << Batch{{"X.jpg"}, two, {collides, collides}, studio};
    QTest::newRow("a numbered name taken on disk stays a problem") << Batch{{"x (2).jpg"}, two, {"x.jpg", "x (2).jpg|" + taken}, studio};
    QTest::newRow("a name no file may have is not numbered") << Batch{none, {"ab", "ac"}, {"|The filename is empty.", "|The filename is empty."}, R"({"regex":true,"find":"a.","numberDuplicates":true})"};
    QTest::newRow("a numbered name another file gets stays a problem") << Batch{none, {"a.jpg", "b.jpg", "x (2).jpg"}, {"x.jpg", "x (2).jpg|" + collision, "x (2).jpg|" + collision}, R"({"regex":true,"find":"^[ab]$","replacement":"x","numberDuplicates":true})"};
    const char* shots = R"({"baseName":"trip","separator":"hyphen","sequence":true,"companions":true})";
    QTest::newRow("companions share a name and a number, in their folder") << Batch{none, {"one/DSC_0042.JPG", "one/DSC_0042.NEF", "one/DSC_0042.xmp", "one/DSC_0043.JPG", "two/DSC_0042.JPG"}, {"trip-001.JPG", "trip-001.NEF", "trip-001.xmp", "trip-002.JPG", "trip-003.JPG"}, shots};
    QTest::newRow("a companion's name taken on disk") << Batch{{"trip-001.xmp"}, {"DSC_1.JPG", "DSC_1.xmp"}, {"trip-001.JPG", "trip-001.xmp|" + taken}, shots};
    QTest::newRow("slow pattern over a batch") << Batch{none, slow, slowRows, R"({"regex":true,"find":"(a+)+[bc]"})"};
    // clang-format on
}

QTEST_GUILESS_MAIN(RenamePreviewTest)
#include "test_rename_preview.moc"
