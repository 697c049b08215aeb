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

// What a selection in a folder of `entries` adds to a batch of `existing` others.
struct Collected {
    QStringList entries{}, selected{}, files{}, skipped{};
    int existing = 0;
    qsizetype maximum = 5000;
    bool reachedLimit = false;
};

} // namespace

Q_DECLARE_METATYPE(Collected)

class FileImportTest : public QObject {
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
};

QTEST_GUILESS_MAIN(FileImportTest)
#include "test_file_import.moc"
