#include "core/import/file_import.h"
#include "core/preview/rename_preview.h"

#include "temporary_folder.h"

#include <QFile>
#include <QScopeGuard>
#include <QTest>

#include <algorithm>
#include <numeric>

#include <fcntl.h>
#include <unistd.h>

namespace {

const QString skippedItem = QStringLiteral(": Hidden files, links, and bundles are skipped.");
const QString notPlain = QStringLiteral(" is not a regular file, or is a symbolic/hard link.");

// Builds entries from a compact notation: "d:" folder, "l:link>target",
// "h:link>existing" hard link, anything else a file.
void build(TemporaryFolder& tree, const QStringList& entries) {
    for (const QString& entry : entries) {
        QString rest = entry.mid(2);
        if (entry.startsWith(QLatin1String("d:")))
            tree.folder(rest);
        else if (entry.startsWith(QLatin1String("l:")))
            tree.symlink(rest.section('>', 0, 0), rest.section('>', 1));
        else if (entry.startsWith(QLatin1String("h:")))
            tree.hardlink(rest.section('>', 0, 0), rest.section('>', 1));
        else
            tree.file(entry);
    }
}

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
    for (const FileRecord& record : result.files) {
        if (record.path.startsWith(tree.path() + '/'))
            paths.append(record.path.mid(tree.path().size() + 1));
    }
    return paths;
}

} // namespace

class FileImportTest : public QObject {
    Q_OBJECT
private slots:
    void collect_data();
    void collect();
    void limit_data();
    void limit();
    void emptyAndRepeated();
    void skippedLinesCapped();
    void nameNotUtf8();
};

void FileImportTest::collect_data() {
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<QStringList>("selected");
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QStringList>("skipped");
    auto row = [](const char* tag, const QStringList& entries, const QStringList& selected,
                  const QStringList& files, const QStringList& skipped) {
        QTest::newRow(tag) << entries << selected << files << skipped;
    };
    // clang-format off
    row("one level of a folder", {"dir/a.txt", "dir/.notes", "dir/Sub/deep.txt", "l:dir/ln>a.txt"}, {"dir"}, {"dir/a.txt"}, {"ln: ln" + notPlain, "Sub: Sub" + notPlain});
    row("selected link, hidden file and bundle", {"real/a.txt", "l:link>real", ".hidden", "X.app/a.txt"}, {"link", ".hidden", "X.app"}, {}, {"link" + skippedItem, ".hidden" + skippedItem, "X.app" + skippedItem});
    row("file and its folder", {"dir/a.txt", "dir/b.txt"}, {"dir/a.txt", "dir"}, {"dir/a.txt", "dir/b.txt"}, {});
    row("standardized", {"dir/a.txt"}, {"dir/../dir/./a.txt"}, {"dir/a.txt"}, {});
    row("file inside a bundle", {"B.app/Contents/Report.pdf"}, {"B.app/Contents/Report.pdf"}, {}, {"Report.pdf: Files inside application or document bundles are not supported."});
    row("hard-linked file", {"h.txt", "h:h2.txt>h.txt"}, {"h.txt"}, {}, {"h.txt: h.txt" + notPlain});
    // Refusals appear in the order the files are examined, whatever the listing order.
    row("examined in natural order", {"d:dir/file 10", "d:dir/file 2", "d:dir/file 1"}, {"dir"}, {}, {"file 1: file 1" + notPlain, "file 2: file 2" + notPlain, "file 10: file 10" + notPlain});
    // clang-format on
}

void FileImportTest::collect() {
    QFETCH(QStringList, entries);
    QFETCH(QStringList, selected);
    QFETCH(QStringList, files);
    QFETCH(QStringList, skipped);
    TemporaryFolder tree;
    build(tree, entries);
    QList<QUrl> urls;
    for (const QString& path : selected)
        urls.append(tree.url(path));
    ImportResult result = FileImport::collect(urls, {}, 5000);
    QCOMPARE(added(tree, result), files);
    QCOMPARE(result.skipped, skipped);
    QVERIFY(!result.reachedLimit);
}

void FileImportTest::limit_data() {
    QTest::addColumn<int>("existing");
    QTest::addColumn<qsizetype>("maximum");
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<int>("skipped");
    QTest::addColumn<bool>("reachedLimit");
    auto row = [](const char* tag, int existing, qsizetype maximum, const QStringList& entries,
                  const QStringList& files, int skipped, bool reachedLimit) {
        QTest::newRow(tag) << existing << maximum << entries << files << skipped << reachedLimit;
    };
    // clang-format off
    row("room for all", 0, 5000, {"b", "a"}, {"a", "b"}, 0, false);
    row("room for one: natural order decides", 4999, 5000, {"b", "a"}, {"a"}, 0, true);
    row("file 2 before file 10", 4999, 5000, {"file 10.txt", "file 2.txt"}, {"file 2.txt"}, 0, true);
    row("maximum above 5,000", 4999, 1'000'000, {"b", "a"}, {"a"}, 0, true);
    row("negative maximum", 0, -3, {"a"}, {}, 0, true);
    row("full, only refused items", 5000, 5000, {"d:Sub", "l:ln>Sub"}, {}, 2, false);
    // clang-format on
}

void FileImportTest::limit() {
    QFETCH(int, existing);
    QFETCH(qsizetype, maximum);
    QFETCH(QStringList, entries);
    QFETCH(QStringList, files);
    QFETCH(int, skipped);
    QFETCH(bool, reachedLimit);
    TemporaryFolder tree;
    build(tree, entries);
    QList<qsizetype> done;
    QString last;
    ImportResult result = FileImport::collect({tree.url("")}, elsewhere(existing), maximum,
                                              [&](const RenameProgress& progress) {
                                                  QCOMPARE(progress.total, entries.size());
                                                  done.append(progress.done);
                                                  last = progress.text();
                                              });
    // Every item found is counted, also those the limit leaves out.
    QList<qsizetype> counted(entries.size() + 1);
    std::iota(counted.begin(), counted.end(), 0);
    QCOMPARE(done, counted);
    QCOMPARE(last, entries.size() == 1 ? QStringLiteral("Adding 1 of 1 file…")
                                       : QStringLiteral("Adding 2 of 2 files…"));
    QCOMPARE(added(tree, result), files);
    QCOMPARE(result.files.size(), existing + files.size());
    QCOMPARE(result.skipped.size(), skipped);
    QCOMPARE(result.reachedLimit, reachedLimit);
}

void FileImportTest::emptyAndRepeated() {
    QList<FileRecord> existing = elsewhere(3);
    std::reverse(existing.begin(), existing.end());
    ImportResult empty = FileImport::collect({}, existing, 5000);
    QCOMPARE(empty.files, RenamePreview::sorted(existing));
    QVERIFY(empty.files != existing);
    QVERIFY(empty.skipped.isEmpty());
    QVERIFY(!empty.reachedLimit);

    TemporaryFolder tree;
    tree.file("dir/a.txt");
    tree.file("dir/b.txt");
    ImportResult first = FileImport::collect({tree.url("dir")}, {}, 5000);
    QCOMPARE(first.files.size(), 2);
    // Already full, yet known files are dropped before the limit is consulted.
    ImportResult again =
        FileImport::collect({tree.url("dir"), tree.url("dir/a.txt")}, first.files, 2);
    QCOMPARE(again.files, first.files);
    QVERIFY(again.skipped.isEmpty());
    QVERIFY(!again.reachedLimit);
}

void FileImportTest::skippedLinesCapped() {
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

void FileImportTest::nameNotUtf8() {
    TemporaryFolder tree;
    tree.file("dir/ok.txt");
    QByteArray path = QFile::encodeName(tree.at("dir")) + "/bad\xff.txt";
    int fd = ::open(path.constData(), O_CREAT | O_WRONLY, 0600);
    QVERIFY(fd >= 0);
    ::close(fd);
    // The temporary folder removes entries by their decoded names, which miss this one.
    auto removeBadName = qScopeGuard([&] { ::unlink(path.constData()); });
    ImportResult result = FileImport::collect({tree.url("dir")}, {}, 5000);
    QCOMPARE(added(tree, result), QStringList{"dir/ok.txt"});
    QCOMPARE(result.skipped.size(), 1);
    QVERIFY2(result.skipped.front().endsWith(": Filenames must be valid UTF-8."),
             qPrintable(result.skipped.front()));

    // Names Linux allows but no new name may have are added, so that they can
    // be renamed to something a card or a Windows share accepts.
    tree.file(QStringLiteral("dir/\uFEFFnote.txt"));
    tree.file(QStringLiteral("dir/10:30:00.png"));
    tree.file(QStringLiteral("dir/tab\there.txt"));
    result = FileImport::collect({tree.url("dir")}, {}, 5000);
    QCOMPARE(result.files.size(), 4);
    QCOMPARE(result.skipped.size(), 1);
}

QTEST_GUILESS_MAIN(FileImportTest)
#include "test_file_import.moc"
