#include "cli_process.h"

#include <nlohmann/json.hpp>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

namespace {

void touch(const QString& path) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
}

// The proposed names of a JSON preview, in its order.
QStringList proposedNames(const CliOutcome& run) {
    const nlohmann::json preview = nlohmann::json::parse(run.out.toStdString());
    QStringList proposed;
    for (const auto& row : preview["rows"])
        proposed.append(QString::fromStdString(row["proposed"].get<std::string>()));
    return proposed;
}

} // namespace

class CliPreviewTest : public QObject {
    Q_OBJECT
private slots:
    void init();
    void previewsAFolderWithARecipe();
    void reportsConflictsAsJsonAndExitsOne();
    void rulesFileIsTheBaseOfExplicitOptions();
    void numbersInTheChosenOrderWithTokens();
    void findsByPatternWithoutAccentsAndNumbersDuplicates();
    void namesCannotWriteToTheTerminal();
    void refusesWhatCannotBeCarriedOut_data();
    void refusesWhatCannotBeCarriedOut();

private:
    std::unique_ptr<QTemporaryDir> folder;
    QString at(const QString& name) const { return folder->path() + QLatin1Char('/') + name; }
};

void CliPreviewTest::init() {
    folder = std::make_unique<QTemporaryDir>();
    QVERIFY(folder->isValid());
    QDir(folder->path()).mkdir(QStringLiteral("shoot"));
    for (const char* name : {"IMG_10.jpg", "IMG_9.jpg", "Notes.txt"})
        touch(at(QStringLiteral("shoot/") + QLatin1String(name)));
    QDir(folder->path()).mkdir(QStringLiteral("shoot/Sub"));
}

void CliPreviewTest::previewsAFolderWithARecipe() {
    // A relative path works from the working folder, as typed in a shell.
    CliOutcome run = cli({"preview", "--recipe", "Client handoff", "shoot"}, folder->path());
    QCOMPARE(run.exitCode, 0);
    QStringList lines = run.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 4);
    // Natural order numbers IMG_9 before IMG_10.
    QVERIFY(lines[0].startsWith("IMG_9.jpg ") && lines[0].contains("studio-north-001.jpg"));
    QVERIFY(lines[1].startsWith("IMG_10.jpg") && lines[1].contains("studio-north-002.jpg"));
    QVERIFY(lines[2].contains("studio-north-003.txt  ·  Ready to rename"));
    QCOMPARE(lines[3], QStringLiteral("3 files ready to rename · 0 unchanged · 0 conflicts"));
    QCOMPARE(
        run.errors,
        QStringLiteral("Skipped Sub: Sub is not a regular file, or is a symbolic/hard link.\n"));
}

// A name may hold control characters (a download gone wrong, or a name made
// to clear the screen); the file can be renamed, and its name is printed with
// them written out, never sent raw to the terminal.
void CliPreviewTest::namesCannotWriteToTheTerminal() {
    QDir(folder->path()).mkdir(QStringLiteral("odd"));
    touch(at("odd/clear\x1b[2J.txt"));
    touch(at("odd/.hidden\x1b[2J"));
    CliOutcome run =
        cli({"preview", "--base-name", "fixed", "odd", "odd/.hidden\x1b[2J"}, folder->path());
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.out.startsWith("clear\\x1b[2J.txt  →  fixed.txt  ·  Ready to rename"),
             qPrintable(run.out));
    QVERIFY2(run.errors.startsWith("Skipped .hidden\\x1b[2J: "), qPrintable(run.errors));
    QVERIFY(!run.out.contains(QChar(0x1b)) && !run.errors.contains(QChar(0x1b)));
}

void CliPreviewTest::reportsConflictsAsJsonAndExitsOne() {
    CliOutcome run = cli({"preview", "--json", "--base-name", "same", "--find", "x",
                          at("shoot/Notes.txt"), at("shoot/IMG_9.jpg"), at("shoot/Sub")});
    QCOMPARE(run.exitCode, 0);
    auto json = nlohmann::json::parse(run.out.toStdString());
    QCOMPARE(json["rows"].size(), 2u);
    auto row = json["rows"][1];
    QCOMPARE(row["path"].get<std::string>(), at("shoot/Notes.txt").toStdString());
    QCOMPARE(row["name"].get<std::string>(), std::string("Notes.txt"));
    QCOMPARE(row["proposed"].get<std::string>(), std::string("same.txt"));
    QCOMPARE(row["changed"].get<bool>(), true);
    QVERIFY(row["problem"].is_null());
    QCOMPARE(json["changed"].get<int>(), 2);
    QCOMPARE(json["unchanged"].get<int>(), 0);
    QCOMPARE(json["conflicts"].get<int>(), 0);

    touch(at("shoot/same.txt"));
    run = cli({"preview", "--json", "--base-name", "same", at("shoot/Notes.txt")});
    QCOMPARE(run.exitCode, 1);
    json = nlohmann::json::parse(run.out.toStdString());
    QCOMPARE(json["rows"][0]["problem"].get<std::string>(),
             std::string("A file or folder with this name already exists."));
    QCOMPARE(json["conflicts"].get<int>(), 1);
    QCOMPARE(json["skipped"].size(), 0u);
    QCOMPARE(json["reachedLimit"].get<bool>(), false);
    QVERIFY(json["diagnostics"].is_array());
}

// File managers pass file:// URIs, percent-encoded, where a shell passes paths.
void CliPreviewTest::rulesFileIsTheBaseOfExplicitOptions() {
    QFile rules(at("my rules #1.json"));
    QVERIFY(rules.open(QIODevice::WriteOnly));
    rules.write(R"({"baseName":"Trip","find":"","replacement":"","prefix":"","suffix":"",
        "nameCase":"upper","separator":"underscore","sequence":true,"sequenceStart":7,
        "sequencePadding":2})");
    rules.close();
    const QString rulesUri =
        QUrl::fromLocalFile(at("my rules #1.json")).toString(QUrl::FullyEncoded);
    QVERIFY(rulesUri.endsWith("/my%20rules%20%231.json"));
    CliOutcome run = cli({"preview", "--json", "--rules", rulesUri, "--start", "1", "--windows",
                          QUrl::fromLocalFile(at("shoot/Notes.txt")).toString()});
    QCOMPARE(run.exitCode, 0);
    auto json = nlohmann::json::parse(run.out.toStdString());
    QCOMPARE(json["rows"][0]["proposed"].get<std::string>(), std::string("TRIP_01.txt"));
    QCOMPARE(json["rows"][0]["path"].get<std::string>(), at("shoot/Notes.txt").toStdString());
}

void CliPreviewTest::numbersInTheChosenOrderWithTokens() {
    for (auto [name, size] : {std::pair("IMG_9.jpg", 10), std::pair("Notes.txt", 30)}) {
        QFile file(at(QStringLiteral("shoot/") + QLatin1String(name)));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(size, 'x'));
    }
    CliOutcome run = cli({"preview", "--json", "--base-name", "{folder} {name}", "--sequence",
                          "--order", "size", "--descending", "shoot"},
                         folder->path());
    QCOMPARE(run.exitCode, 0);
    QStringList proposed = proposedNames(run);
    QCOMPARE(proposed,
             (QStringList{"shoot Notes-001.txt", "shoot IMG_9-002.jpg", "shoot IMG_10-003.jpg"}));
}

void CliPreviewTest::findsByPatternWithoutAccentsAndNumbersDuplicates() {
    CliOutcome run =
        cli({"preview", "--json", "--regex", "--find", R"(^(IMG)_\d+$)", "--replace",
             R"(\L$1\E Café)", "--remove-accents", "--duplicate-format", "underscore", "shoot"},
            folder->path());
    QCOMPARE(run.exitCode, 0);
    QStringList proposed = proposedNames(run);
    QCOMPARE(proposed, (QStringList{"img Cafe.jpg", "img Cafe_2.jpg", "Notes.txt"}));
}

void CliPreviewTest::refusesWhatCannotBeCarriedOut_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("sentence");
    QTest::newRow("missing path") << QStringList{"preview", "shoot/nothing.txt"}
                                  << "nothing.txt is missing or unavailable. No files were added.";
    QTest::newRow("unknown case") << QStringList{"preview", "--case", "shout", "shoot"}
                                  << "--case takes one of unchanged, lower, upper, title.";
    QTest::newRow("unknown separator")
        << QStringList{"preview", "--separator", "dot", "shoot"}
        << "--separator takes one of unchanged, hyphen, underscore, space.";
    QTest::newRow("unknown recipe")
        << QStringList{"preview", "--recipe", "Holiday", "shoot"}
        << "There is no recipe called “Holiday”. Choose one of “Client handoff”, “Photo "
           "sequence”, “Web-friendly”.";
    QTest::newRow("unknown order") << QStringList{"preview", "--order", "date", "shoot"}
                                   << "--order takes one of name, taken, modified, size.";
    QTest::newRow("invalid pattern")
        << QStringList{"preview", "--regex", "--find", "(", "shoot"}
        << "This regular expression has a mistake at character 2: missing closing parenthesis.";
    QTest::newRow("unknown duplicate format")
        << QStringList{"preview", "--duplicate-format", "(2)", "shoot"}
        << "--duplicate-format takes one of parentheses, space, hyphen, underscore.";
    QTest::newRow("bad number") << QStringList{"preview", "--digits", "three", "shoot"}
                                << "--digits takes a whole number.";
    QTest::newRow("no path") << QStringList{"preview"}
                             << "Name at least one file or folder to preview.";
    QTest::newRow("remote path") << QStringList{"preview", "sftp://host/shoot"}
                                 << "sftp://host/shoot is not a file on this computer; name a "
                                    "path or a file:// URI.";
    QTest::newRow("another computer's file")
        << QStringList{"preview", "file://otherhost/shoot"}
        << "file://otherhost/shoot is not a file on this computer; name a path or a file:// URI.";
    QTest::newRow("remote journal")
        << QStringList{"status", "--journal", "smb://host/Tessary"}
        << "smb://host/Tessary is not a file on this computer; name a path or a file:// URI.";
    QTest::newRow("unknown command")
        << QStringList{"rename-all"} << "There is no command “rename-all”.";
}

void CliPreviewTest::refusesWhatCannotBeCarriedOut() {
    QFETCH(QStringList, arguments);
    QFETCH(QString, sentence);
    CliOutcome run = cli(arguments, folder->path());
    QCOMPARE(run.exitCode, 2);
    QCOMPARE(run.errors.section(QLatin1Char('\n'), 0, 0), sentence);
    QVERIFY(run.out.isEmpty());
}

QTEST_GUILESS_MAIN(CliPreviewTest)
#include "test_cli_preview.moc"
