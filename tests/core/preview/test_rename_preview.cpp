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

    const QStringList none;
    QTest::newRow("unchanged") << none << QStringList{"a.txt>a.txt"} << "" << false
                               << QStringList{""};
    QTest::newRow("same file twice, even with an invalid name")
        << none << QStringList{"a.txt>b.txt", "a.txt>"} << "" << false
        << QStringList{duplicate, duplicate};
    QTest::newRow("empty name before deleted file")
        << none << QStringList{"a.txt>"} << "delete" << false
        << QStringList{"The filename is empty."};
    QTest::newRow("slash in name") << none << QStringList{"a.txt>b/c.txt"} << "" << false
                                   << QStringList{"Remove slashes, colons, or control characters."};
    QTest::newRow("deleted") << none << QStringList{"a.txt>b.txt"} << "delete" << false
                             << QStringList{"a.txt is missing or no longer accessible."};
    QTest::newRow("replaced by a file of the same name")
        << none << QStringList{"a.txt>b.txt"} << "replace" << false << QStringList{changedOnDisk};
    QTest::newRow("moved to another folder at the same path")
        << none << QStringList{"d/a.txt>b.txt"} << "refolder" << false
        << QStringList{changedOnDisk};
    QTest::newRow("folder above became a link")
        << none << QStringList{"d/sub/a.txt>b.txt", "d/sub/c.txt>d.txt"} << "relink" << false
        << QStringList(2,
                       QStringLiteral(
                           "Cannot safely open sub. Symbolic links and unavailable folders are not "
                           "supported."));
    QTest::newRow("swap") << none << QStringList{"a.txt>b.txt", "b.txt>a.txt"} << "" << false
                          << QStringList{"", ""};
    QTest::newRow("chain") << none << QStringList{"a.txt>b.txt", "b.txt>c.txt"} << "" << false
                           << QStringList{"", ""};
    QTest::newRow("taken by a file outside the batch")
        << QStringList{"b.txt"} << QStringList{"a.txt>b.txt"} << "" << false << QStringList{taken};
    QTest::newRow("taken ignoring case and form")
        << QStringList{"CAFE\u0301.TXT"} << QStringList{"a.txt>caf\u00e9.txt"} << "" << false
        << QStringList{taken};
    QTest::newRow("taken by a folder") << QStringList{"d:b.txt"} << QStringList{"a.txt>b.txt"} << ""
                                       << false << QStringList{taken};
    QTest::newRow("taken by a link") << QStringList{"l:b.txt"} << QStringList{"a.txt>b.txt"} << ""
                                     << false << QStringList{taken};
    QTest::newRow("unchanged name taken by another case")
        << QStringList{"A.txt"} << QStringList{"a.txt>a.txt"} << "" << false << QStringList{taken};
    QTest::newRow("case only") << none << QStringList{"a.txt>A.txt"} << "" << false
                               << QStringList{""};
    QTest::newRow("normalization form only")
        << none << QStringList{"caf\u00e9.txt>cafe\u0301.txt"} << "" << false << QStringList{""};
    QTest::newRow("collision in one folder")
        << none << QStringList{"x.txt>Report.txt", "y.txt>report.txt"} << "" << false
        << QStringList{collision, collision};
    QTest::newRow("collision with an unchanged name")
        << none << QStringList{"Report.txt>Report.txt", "x.txt>REPORT.txt"} << "" << false
        << QStringList{collision, collision};
    QTest::newRow("same names in two folders")
        << none << QStringList{"one/x.txt>Report.txt", "two/y.txt>report.txt"} << "" << false
        << QStringList{"", ""};
    QTest::newRow("windows check before collision")
        << none << QStringList{"x.txt>CON.txt", "y.txt>con.txt"} << "" << true
        << QStringList{device, device};
    QTest::newRow("windows check off")
        << none << QStringList{"x.txt>CON.txt"} << "" << false << QStringList{""};
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
        tree.file(rename.section(QLatin1Char('>'), 0, 0));
    QList<RenameIntent> intents;
    for (const QString& rename : renames) {
        intents.append({FileRecord::make(tree.url(rename.section(QLatin1Char('>'), 0, 0))),
                        rename.section(QLatin1Char('>'), 1)});
    }
    QVERIFY(applyChange(tree, change, renames.front().section(QLatin1Char('>'), 0, 0)));

    auto rows = RenamePreview::rows(intents, windows);
    QStringList problems;
    for (qsizetype index = 0; index < rows.size(); ++index) {
        QCOMPARE(rows[index].intent, intents[index]);
        problems.append(rows[index].problem.value_or(QString()));
    }
    QCOMPARE(problems, expected);
}

void RenamePreviewTest::namesTheVolumeCannotHold_data() {
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("volume");
    QTest::addColumn<bool>("dropsEnding");
    QTest::newRow("FAT32") << "vfat"
                           << "FAT32" << true;
    QTest::newRow("exFAT") << "exfat"
                           << "exFAT" << true;
    QTest::newRow("NTFS") << "ntfs"
                          << "NTFS" << false;
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
    const QList<std::pair<QString, QString>> renames = {{"IMG_0001.JPG", "img_0001.JPG"},
                                                        {"a.txt", "<draft>.txt"},
                                                        {"b.txt", "why?.txt"},
                                                        {"c.txt", "back\\slash.txt"},
                                                        {"e.txt", "ends."},
                                                        {"f.txt", "ends "},
                                                        {"g.txt", "fine.txt"}};
    const QStringList expected = {"", characters, characters, characters, ending, ending, ""};
    QList<RenameIntent> intents;
    for (const auto& [from, to] : renames) {
        QFile file(mounted->path() + "/" + from);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(from.toUtf8()) > 0);
        file.close();
        intents.append({FileRecord::make(QUrl::fromLocalFile(file.fileName())), to});
    }
    ::sync();
    QFile caches("/proc/sys/vm/drop_caches");
    if (caches.open(QIODevice::WriteOnly))
        caches.write("3");
    caches.close();
    for (bool windows : {false, true}) {
        QStringList problems;
        for (const PreviewRow& row : RenamePreview::rows(intents, windows))
            problems.append(row.problem.value_or(QString()));
        if (!windows)
            QCOMPARE(problems, expected);
        else
            QCOMPARE(problems.first(), QString());
    }
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
    QTest::newRow("digit runs by value")
        << QStringList{"/f/file10.txt", "/f/file2.txt", "/f/file1.txt"}
        << QStringList{"/f/file1.txt", "/f/file2.txt", "/f/file10.txt"};
    QTest::newRow("digit runs after a space") << QStringList{"/f/file 10.txt", "/f/file 2.txt"}
                                              << QStringList{"/f/file 2.txt", "/f/file 10.txt"};
    QTest::newRow("case ignored") << QStringList{"/f/B.txt", "/f/a.txt", "/f/C.txt"}
                                  << QStringList{"/f/a.txt", "/f/B.txt", "/f/C.txt"};
    QTest::newRow("same name in two folders by path")
        << QStringList{"/z/notes.txt", "/a/notes.txt", "/m/notes.txt"}
        << QStringList{"/a/notes.txt", "/m/notes.txt", "/z/notes.txt"};
    // Names that differ only in case still get a fixed order, whatever the input order.
    QTest::newRow("case-only difference")
        << QStringList{"/a/x.txt", "/b/X.txt"} << QStringList{"/b/X.txt", "/a/x.txt"};
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
    const QStringList none;
    const QStringList three{"a.jpg", "b.jpg", "c.jpg"};
    const char* studio = R"({"baseName":"x","numberDuplicates":true})";

    QTest::newRow("off by default")
        << none << three << R"({"baseName":"x"})"
        << QStringList{"x.jpg|" + collision, "x.jpg|" + collision, "x.jpg|" + collision};
    QTest::newRow("all but the first, in batch order")
        << none << three << studio << QStringList{"x.jpg", "x (2).jpg", "x (3).jpg"};
    QTest::newRow("chosen format, before the extension only")
        << none << QStringList{"a.tar.gz", "b.tar.gz"}
        << R"({"baseName":"x","numberDuplicates":true,"duplicateFormat":"hyphen"})"
        << QStringList{"x.gz", "x-2.gz"};
    QTest::newRow("same name ignoring case")
        << none << QStringList{"a1.JPG", "A2.jpg"}
        << R"({"regex":true,"find":"\\d","numberDuplicates":true})"
        << QStringList{"a.JPG", "A (2).jpg"};
    QTest::newRow("the file that has the name keeps it")
        << none << QStringList{"photo copy.jpg", "photo.jpg"}
        << R"({"find":" copy","numberDuplicates":true})"
        << QStringList{"photo (2).jpg", "photo.jpg"};
    QTest::newRow("other folders are other names")
        << none << QStringList{"one/a.jpg", "two/b.jpg"} << studio << QStringList{"x.jpg", "x.jpg"};
    QTest::newRow("a name taken on disk stays a problem")
        << QStringList{"X.jpg"} << QStringList{"a.jpg", "b.jpg"} << studio
        << QStringList{"x.jpg|" + collision, "x.jpg|" + collision};
    QTest::newRow("a numbered name taken on disk stays a problem")
        << QStringList{"x (2).jpg"} << QStringList{"a.jpg", "b.jpg"} << studio
        << QStringList{"x.jpg", "x (2).jpg|" + taken};
    QTest::newRow("a name no file may have is not numbered")
        << none << QStringList{"ab", "ac"}
        << R"({"regex":true,"find":"a.","numberDuplicates":true})"
        << QStringList{"|The filename is empty.", "|The filename is empty."};
    QTest::newRow("a numbered name another file gets stays a problem")
        << none << QStringList{"a.jpg", "b.jpg", "x (2).jpg"}
        << R"({"regex":true,"find":"^[ab]$","replacement":"x","numberDuplicates":true})"
        << QStringList{"x.jpg", "x (2).jpg|" + collision, "x (2).jpg|" + collision};
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
