#include "core/rename_preview.h"

#include "temporary_folder.h"

#include <QFile>
#include <QTest>

#include <cstdio>

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

} // namespace

class RenamePreviewTest : public QObject {
    Q_OBJECT
private slots:
    void rows_data();
    void rows();
    void changed();
    void sorted_data();
    void sorted();
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

QTEST_GUILESS_MAIN(RenamePreviewTest)
#include "test_rename_preview.moc"
