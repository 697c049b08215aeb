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
    QString name = file.section(QLatin1Char('/'), -1);
    if (change == QLatin1String("delete"))
        return QFile::remove(tree.at(file));
    // Written beside it first, so the new file cannot reuse the old inode.
    if (change == QLatin1String("replace")) {
        tree.file(file + ".new");
        return moveEntry(tree, file + ".new", file);
    }
    // The very same file, now in another folder at the same path.
    if (change == QLatin1String("refolder")) {
        tree.folder("fresh");
        return moveEntry(tree, file, "fresh/" + name) && moveEntry(tree, folder, "old") &&
               moveEntry(tree, "fresh", folder);
    }
    // A folder above the file becomes a link to where it went.
    if (change == QLatin1String("relink")) {
        QString top = file.section(QLatin1Char('/'), 0, 0);
        if (!moveEntry(tree, top, top + ".real"))
            return false;
        tree.symlink(top, top + ".real");
        return true;
    }
    return change.isEmpty();
}

FileRecord fakeRecord(const QString& path) {
    return FileRecord{path, {}, {}};
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

// Each row's problem, or an empty string.
QStringList problems(const QList<PreviewRow>& rows) {
    QStringList lines;
    for (const PreviewRow& row : rows)
        lines.append(row.problem.value_or(QString()));
    return lines;
}

// Each row as its proposed name, and its problem after a "|".
QStringList described(const QList<PreviewRow>& rows) {
    QStringList lines;
    for (const PreviewRow& row : rows)
        lines.append(row.intent.filename + (row.problem ? "|" + *row.problem : QString()));
    return lines;
}

} // namespace

class RenamePreviewTest : public QObject {
    Q_OBJECT
private slots:
    void rows_data();
    void rows();
    void changed();
    void sorted_data();
    void sorted();
    void numberedDuplicates_data();
    void numberedDuplicates();
    void slowPatternOverBatch();
    void namesTheVolumeCannotHold_data();
    void namesTheVolumeCannotHold();
};

void RenamePreviewTest::rows_data() {
    QTest::addColumn<QStringList>("entries"); // outside the batch: "d:" folder, "l:" link
    QTest::addColumn<QStringList>("renames"); // "file>proposed name"
    QTest::addColumn<QString>("change");
    QTest::addColumn<bool>("windows");
    QTest::addColumn<QStringList>("expected");
    auto row = [](const char* tag, const QStringList& entries, const QStringList& renames,
                  const QStringList& expected, const char* change = "", bool windows = false) {
        QTest::newRow(tag) << entries << renames << QString(change) << windows << expected;
    };
    const QStringList none;
    const QStringList pair{"", ""};
    // clang-format off
    row("unchanged", none, {"a.txt>a.txt"}, {""});
    row("same file twice, even with an invalid name", none, {"a.txt>b.txt", "a.txt>"}, {duplicate, duplicate});
    row("empty name before deleted file", none, {"a.txt>"}, {"The filename is empty."}, "delete");
    row("slash in name", none, {"a.txt>b/c.txt"}, {"Remove slashes, colons, or control characters."});
    row("deleted", none, {"a.txt>b.txt"}, {"a.txt is missing or no longer accessible."}, "delete");
    row("replaced by a file of the same name", none, {"a.txt>b.txt"}, {changedOnDisk}, "replace");
    row("moved to another folder at the same path", none, {"d/a.txt>b.txt"}, {changedOnDisk}, "refolder");
    row("folder above became a link", none, {"d/sub/a.txt>b.txt", "d/sub/c.txt>d.txt"}, QStringList(2, "Cannot safely open sub. Symbolic links and unavailable folders are not supported."), "relink");
    row("swap", none, {"a.txt>b.txt", "b.txt>a.txt"}, pair);
    row("chain", none, {"a.txt>b.txt", "b.txt>c.txt"}, pair);
    row("taken by a file outside the batch", {"b.txt"}, {"a.txt>b.txt"}, {taken});
    row("taken ignoring case and form", {"CAFE\u0301.TXT"}, {"a.txt>caf\u00e9.txt"}, {taken});
    row("taken by a folder", {"d:b.txt"}, {"a.txt>b.txt"}, {taken});
    row("taken by a link", {"l:b.txt"}, {"a.txt>b.txt"}, {taken});
    row("unchanged name taken by another case", {"A.txt"}, {"a.txt>a.txt"}, {taken});
    row("case only", none, {"a.txt>A.txt"}, {""});
    row("normalization form only", none, {"caf\u00e9.txt>cafe\u0301.txt"}, {""});
    row("collision in one folder", none, {"x.txt>Report.txt", "y.txt>report.txt"}, {collision, collision});
    row("collision with an unchanged name", none, {"Report.txt>Report.txt", "x.txt>REPORT.txt"}, {collision, collision});
    row("same names in two folders", none, {"one/x.txt>Report.txt", "two/y.txt>report.txt"}, pair);
    row("windows check before collision", none, {"x.txt>CON.txt", "y.txt>con.txt"}, {device, device}, "", true);
    row("windows check off", none, {"x.txt>CON.txt"}, {""});
    // clang-format on
}

void RenamePreviewTest::rows() {
    QFETCH(QStringList, entries);
    QFETCH(QStringList, renames);
    QFETCH(QString, change);
    QFETCH(bool, windows);
    QFETCH(QStringList, expected);

    TemporaryFolder tree;
    for (const QString& entry : entries) {
        if (entry.startsWith(QLatin1String("d:")))
            tree.folder(entry.mid(2));
        else if (entry.startsWith(QLatin1String("l:")))
            tree.symlink(entry.mid(2), "nowhere");
        else
            tree.file(entry);
    }
    for (const QString& rename : renames)
        tree.file(rename.section('>', 0, 0));
    const QList<RenameIntent> batch = intents(tree.path(), renames);
    QVERIFY(applyChange(tree, change, renames.front().section('>', 0, 0)));

    auto rows = RenamePreview::rows(batch, windows);
    QCOMPARE(problems(rows), expected);
    for (qsizetype index = 0; index < rows.size(); ++index)
        QCOMPARE(rows[index].intent, batch[index]);
}

void RenamePreviewTest::namesTheVolumeCannotHold_data() {
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("volume");
    QTest::addColumn<bool>("dropsEnding");
    QTest::newRow("FAT32") << QString("vfat") << QString("FAT32") << true;
    QTest::newRow("exFAT") << QString("exfat") << QString("exFAT") << true;
    QTest::newRow("NTFS") << QString("ntfs") << QString("NTFS") << false;
}

// Whatever the Windows check says, a card, a stick or an NTFS disk refuses
// these names, and the preview says so before anything is journaled. The
// files are still recognised after the kernel dropped their inodes, which
// gives them new inode numbers on FAT32 and exFAT.
void RenamePreviewTest::namesTheVolumeCannotHold() {
    QFETCH(QString, type);
    QFETCH(QString, volume);
    QFETCH(bool, dropsEnding);
    QString whyNot;
    auto mounted = MountedVolume::loop(type, whyNot);
    if (!mounted)
        QSKIP(qPrintable(whyNot));
    const QString characters = "This file's " + volume +
                               " volume cannot hold < > : \" \\ | ? * or control characters in a "
                               "name.";
    const QString ending =
        dropsEnding
            ? "This file's " + volume + " volume cannot hold a name that ends in a period or space."
            : QString();
    const QStringList renames = {"IMG_0001.JPG>img_0001.JPG",
                                 "a.txt><draft>.txt",
                                 "b.txt>why?.txt",
                                 "c.txt>back\\slash.txt",
                                 "e.txt>ends.",
                                 "f.txt>ends ",
                                 "g.txt>fine.txt"};
    for (const QString& rename : renames) {
        const QString from = rename.section('>', 0, 0);
        QFile file(mounted->path() + "/" + from);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(from.toUtf8()) > 0);
    }
    const QList<RenameIntent> batch = intents(mounted->path(), renames);
    ::sync();
    QFile caches("/proc/sys/vm/drop_caches");
    if (caches.open(QIODevice::WriteOnly))
        caches.write("3");
    caches.close();
    QCOMPARE(problems(RenamePreview::rows(batch, false)),
             (QStringList{"", characters, characters, characters, ending, ending, ""}));
    QCOMPARE(problems(RenamePreview::rows(batch, true)).first(), QString());
}

void RenamePreviewTest::changed() {
    auto row = [](const QString& from, const QString& to) {
        return PreviewRow{{fakeRecord("/f/" + from), to}, {}};
    };
    QVERIFY(!row("a.txt", "a.txt").changed());
    QVERIFY(!row("caf\u00e9.txt", "cafe\u0301.txt").changed());
    QVERIFY(row("Report.txt", "report.txt").changed());
}

void RenamePreviewTest::sorted_data() {
    QTest::addColumn<QStringList>("paths");
    QTest::addColumn<QStringList>("expected");
    auto row = [](const char* tag, const QStringList& paths, const QStringList& expected) {
        QTest::newRow(tag) << paths << expected;
    };
    // clang-format off
    row("digit runs by value", {"/f/file10.txt", "/f/file2.txt", "/f/file1.txt"}, {"/f/file1.txt", "/f/file2.txt", "/f/file10.txt"});
    row("digit runs after a space", {"/f/file 10.txt", "/f/file 2.txt"}, {"/f/file 2.txt", "/f/file 10.txt"});
    row("case ignored", {"/f/B.txt", "/f/a.txt", "/f/C.txt"}, {"/f/a.txt", "/f/B.txt", "/f/C.txt"});
    row("same name in two folders by path", {"/z/notes.txt", "/a/notes.txt", "/m/notes.txt"}, {"/a/notes.txt", "/m/notes.txt", "/z/notes.txt"});
    // Names that differ only in case still get a fixed order, whatever the input order.
    row("case-only difference", {"/a/x.txt", "/b/X.txt"}, {"/b/X.txt", "/a/x.txt"});
    // clang-format on
}

void RenamePreviewTest::sorted() {
    QFETCH(QStringList, paths);
    QFETCH(QStringList, expected);
    QList<FileRecord> records;
    for (const QString& path : paths)
        records.append(fakeRecord(path));
    QStringList order;
    for (const FileRecord& record : RenamePreview::sorted(records))
        order.append(record.path);
    QCOMPARE(order, expected);
}

void RenamePreviewTest::numberedDuplicates_data() {
    QTest::addColumn<QStringList>("entries"); // outside the batch
    QTest::addColumn<QStringList>("batch");   // in batch order
    QTest::addColumn<QString>("changes");
    QTest::addColumn<QStringList>("expected");
    auto row = [](const char* tag, const QStringList& entries, const QStringList& batch,
                  const char* changes, const QStringList& expected) {
        QTest::newRow(tag) << entries << batch << QString(changes) << expected;
    };
    const QStringList none;
    const QStringList two{"a.jpg", "b.jpg"};
    const char* studio = R"({"baseName":"x","numberDuplicates":true})";
    const QString collides = "x.jpg|" + collision;

    // clang-format off
    row("off by default", none, {"a.jpg", "b.jpg", "c.jpg"}, R"({"baseName":"x"})", {collides, collides, collides});
    row("all but the first, in batch order", none, {"a.jpg", "b.jpg", "c.jpg"}, studio, {"x.jpg", "x (2).jpg", "x (3).jpg"});
    row("chosen format, before the extension only", none, {"a.tar.gz", "b.tar.gz"}, R"({"baseName":"x","numberDuplicates":true,"duplicateFormat":"hyphen"})", {"x.gz", "x-2.gz"});
    row("same name ignoring case", none, {"a1.JPG", "A2.jpg"}, R"({"regex":true,"find":"\\d","numberDuplicates":true})", {"a.JPG", "A (2).jpg"});
    row("the file that has the name keeps it", none, {"photo copy.jpg", "photo.jpg"}, R"({"find":" copy","numberDuplicates":true})", {"photo (2).jpg", "photo.jpg"});
    row("other folders are other names", none, {"one/a.jpg", "two/b.jpg"}, studio, {"x.jpg", "x.jpg"});
    row("a name taken on disk stays a problem", {"X.jpg"}, two, studio, {collides, collides});
    row("a numbered name taken on disk stays a problem", {"x (2).jpg"}, two, studio, {"x.jpg", "x (2).jpg|" + taken});
    row("a name no file may have is not numbered", none, {"ab", "ac"}, R"({"regex":true,"find":"a.","numberDuplicates":true})", {"|The filename is empty.", "|The filename is empty."});
    row("a numbered name another file gets stays a problem", none, {"a.jpg", "b.jpg", "x (2).jpg"}, R"({"regex":true,"find":"^[ab]$","replacement":"x","numberDuplicates":true})", {"x.jpg", "x (2).jpg|" + collision, "x (2).jpg|" + collision});
    // clang-format on
}

void RenamePreviewTest::numberedDuplicates() {
    QFETCH(QStringList, entries);
    QFETCH(QStringList, batch);
    QFETCH(QString, changes);
    QFETCH(QStringList, expected);
    TemporaryFolder tree;
    for (const QString& entry : entries)
        tree.file(entry);
    QList<FileRecord> files;
    for (const QString& name : batch) {
        tree.file(name);
        files.append(FileRecord::make(tree.url(name)));
    }
    QCOMPARE(described(RulePreview::rows(files, {}, rules(changes), false)), expected);
}

// A pattern that backtracks without end gives up on each name in bounded
// work; bench_preview prints how long a whole batch takes.
void RenamePreviewTest::slowPatternOverBatch() {
    TemporaryFolder tree;
    QList<FileRecord> files;
    for (int index = 0; index < 5000; ++index) {
        QString name = QString(40, 'a') + "!" + QString::number(index) + ".txt";
        tree.file(name);
        files.append(FileRecord::make(tree.url(name)));
    }
    auto rows = RulePreview::rows(files, {}, rules(R"({"regex":true,"find":"(a+)+[bc]"})"), false);
    QCOMPARE(rows.size(), files.size());
    for (const PreviewRow& row : rows)
        QCOMPARE(row.problem.value_or(QString()), FindPattern::tooSlow);
}

QTEST_GUILESS_MAIN(RenamePreviewTest)
#include "test_rename_preview.moc"
