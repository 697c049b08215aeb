#include "core/batch/file_record.h"
#include "core/batch/file_safety.h"
#include "core/batch/folder_authorization.h"

#include "failure_of.h"
#include "temporary_folder.h"

#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

const QString unsafeFolder = QStringLiteral(
    "Cannot safely open %1. Symbolic links and unavailable folders are not supported.");
const QString notPlain = QStringLiteral(" is not a regular file, or is a symbolic/hard link.");
const QString missing = QStringLiteral(" is missing or no longer accessible.");
const QString dotName = QStringLiteral("Hidden filenames and dot names are not supported.");
const QString bundle =
    QStringLiteral("Files inside application or document bundles are not supported.");
const QString noFolder = QStringLiteral("The containing folder is missing or is a symbolic link.");

ino_t inodeOf(const QString& path) {
    struct stat status {};
    return ::lstat(path.toUtf8().constData(), &status) == 0 ? status.st_ino : 0;
}

} // namespace

class FileSafetyTest : public QObject {
    Q_OBJECT
    TemporaryFolder tree;

    // "https:…" stays a remote URL, "/…" is absolute, anything else lies in `tree`.
    QUrl location(const QString& text) const {
        if (text.startsWith(QLatin1String("https:")))
            return QUrl(text);
        return QUrl::fromLocalFile(text.startsWith(QLatin1Char('/')) ? text : tree.at(text));
    }

private slots:
    void initTestCase() {
        tree.make({"real/file.txt", "real/hard.txt", "h:real/hard2.txt>real/hard.txt",
                   "l:real/ln.txt>file.txt", "real/.tessary-staging", "d:real/inner", "d:real/sub",
                   "p:real/pipe", "l:link>real", "X.app/Contents/f.txt"});
    }

    void directoryFD_data() {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("opened"); // the folder that must be open, if any
        QTest::addColumn<QString>("expected");
        // clang-format off
        QTest::newRow("root") << "/" << "/" << QString();
        QTest::newRow("dot and trailing slash") << "real/./inner/" << "real/inner" << QString();
        QTest::newRow("dot dot") << "real/inner/../sub" << "real/sub" << QString();
        // Standardized before the walk, so the link is never opened.
        QTest::newRow("dot dot past a link") << "link/../real/inner" << "real/inner" << QString();
        QTest::newRow("link in the middle") << "link/inner" << QString() << unsafeFolder.arg("inner");
        QTest::newRow("link at the end") << "link" << QString() << unsafeFolder.arg("link");
        QTest::newRow("a file") << "real/file.txt" << QString() << unsafeFolder.arg("file.txt");
        QTest::newRow("missing") << "real/gone/deeper" << QString() << unsafeFolder.arg("deeper");
        QTest::newRow("remote") << "https://example.com/d" << QString() << "Choose a local folder.";
        // clang-format on
    }

    void directoryFD() {
        QFETCH(QString, folder);
        QFETCH(QString, opened);
        QFETCH(QString, expected);
        UniqueFd fd;
        QCOMPARE(failureOf([&] { fd = FileSafety::directoryFD(location(folder)); }), expected);
        QCOMPARE(fd.valid(), !opened.isEmpty());
        if (!fd)
            return;
        struct stat status {};
        QCOMPARE(::fstat(fd.get(), &status), 0);
        QCOMPARE(status.st_ino, inodeOf(location(opened).toLocalFile()));
        // Readable, so the folder can be listed and flushed, and never inherited.
        QCOMPARE(::fcntl(fd.get(), F_GETFL) & (O_PATH | O_ACCMODE), O_RDONLY);
        QVERIFY(::fcntl(fd.get(), F_GETFD) & FD_CLOEXEC);
    }

    // A file recorded with its identities, or refused; and the record made of it for a batch.
    void record_data() {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<QString>("made"); // the refusal of the batch's record
        QTest::addColumn<bool>("allowStaging");
        // clang-format off
        QTest::newRow("standardized") << "real/sub/../file.txt" << QString() << QString() << false;
        QTest::newRow("staging allowed") << "real/.tessary-staging" << QString() << dotName << true;
        QTest::newRow("staging refused") << "real/.tessary-staging" << dotName << dotName << false;
        // The name is judged before any folder is opened.
        QTest::newRow("dot name in a missing folder") << "gone/.profile" << dotName << dotName << false;
        QTest::newRow("remote") << "https://example.com/a.txt" << "Only local file URLs are supported." << "Only local file URLs are supported." << false;
        QTest::newRow("folder through a link") << "link/file.txt" << unsafeFolder.arg("link") << unsafeFolder.arg("link") << false;
        QTest::newRow("missing") << "real/gone.txt" << "gone.txt" + missing << "gone.txt" + missing << false;
        QTest::newRow("hard-linked") << "real/hard.txt" << "hard.txt" + notPlain << "hard.txt" + notPlain << false;
        QTest::newRow("folder") << "real/sub" << "sub" + notPlain << "sub" + notPlain << false;
        QTest::newRow("link to a regular file") << "real/ln.txt" << "ln.txt" + notPlain << "ln.txt" + notPlain << false;
        QTest::newRow("fifo") << "real/pipe" << "pipe" + notPlain << "pipe" + notPlain << false;
        QTest::newRow("inside a bundle") << "X.app/Contents/f.txt" << QString() << bundle << false;
        // clang-format on
    }

    void record() {
        QFETCH(QString, file);
        QFETCH(QString, expected);
        QFETCH(QString, made);
        QFETCH(bool, allowStaging);
        FileSafety::Identities identities;
        QCOMPARE(failureOf([&] { identities = FileSafety::record(location(file), allowStaging); }),
                 expected);
        FileRecord record;
        QCOMPARE(failureOf([&] { record = FileRecord::make(location(file)); }), made);
        if (!expected.isEmpty())
            return;
        QString path = FilePath::standardized(tree.at(file));
        QCOMPARE(identities.file.inode, inodeOf(path));
        QCOMPARE(identities.folder.inode, inodeOf(FilePath::parent(path)));
        QCOMPARE(identities.folder.device, identities.file.device);
        if (made.isEmpty())
            QCOMPARE(record, (FileRecord{path, identities.file, identities.folder}));
    }

    // Both judge a path as written, without touching the disk.
    void packagesAndFolderAliases() {
        // clang-format off
        for (auto [file, inside] : {std::pair{"/Applications/Tool.app/Contents/Info.plist", true},
                                    {"/Users/x/Photos.PhotosLibrary/a.jpg", true}, // the extension lower-cased
                                    {"/Users/x/doc.pages", false}, // the file itself
                                    {"/Users/app/a.txt", false}, // a folder named like an extension
                                    {"/Users/x/Trip.2024/a.jpg", false}, // a folder with another extension
                                    {"/Users/Tool.app/../a.txt", false}, // standardized away
                                    {"https://example.com/Tool.app/a.txt", false}})
            QVERIFY2(FileSafety::isInsidePackage(location(file)) == inside, file);
        for (auto [selected, requested, accepted] : {std::tuple{"/Users/x/Docs/", "/Users/x/Docs", true}, // trailing slash
                                                     {"/Users/x/./y/../Docs", "/Users/x/Docs", true},
                                                     {"/Users/x/Caf\u00e9", "/Users/x/Cafe\u0301", true}, // normalization form
                                                     {"link", "real", false}, // an alias through a link
                                                     {"https://example.com/Docs", "https://example.com/Docs", false}})
            QVERIFY2(FolderAuthorization::accepts(location(selected), location(requested)) == accepted, selected);
        // clang-format on
    }

    void requiredFoldersAndIdentity() {
        QList<QUrl> items = {tree.url("real/file.txt"), tree.url("real/./inner/../hard.txt"),
                             tree.url("link"),          QUrl("https://example.com/x"),
                             tree.url("real/sub"),      tree.url("real/sub/")};
        QCOMPARE(FolderAuthorization::requiredFolders(items),
                 (QList<QUrl>{tree.url("real"), tree.url("real/sub")}));
        items.insert(1, tree.url("real/gone.txt"));
        QCOMPARE(failureOf([&] { FolderAuthorization::requiredFolders(items); }),
                 "gone.txt is missing or unavailable. No files were added.");
        // The identity that records of the folder's files carry as their parent.
        QCOMPARE(FolderAuthorization::directoryIdentity(tree.url("real")),
                 FileSafety::record(tree.url("real/file.txt"), false).folder);
        for (const char* refused : {"link", "real/file.txt", "gone", "https://example.com/real"})
            QCOMPARE(failureOf([&] { FolderAuthorization::directoryIdentity(location(refused)); }),
                     noFolder);
    }
};

QTEST_GUILESS_MAIN(FileSafetyTest)
#include "test_file_safety.moc"
