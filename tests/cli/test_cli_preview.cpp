#include "cli_process.h"

#include <nlohmann/json.hpp>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

class CliPreviewTest : public QObject {
    Q_OBJECT
private slots:
    void init();
    void previewsAFolderWithARecipe();
    void reportsConflictsAsJsonAndExitsOne();
    void optionsChooseTheNames_data();
    void optionsChooseTheNames();
    void namesCannotWriteToTheTerminal();
    void refusesWhatCannotBeCarriedOut_data();
    void refusesWhatCannotBeCarriedOut();

private:
    std::unique_ptr<QTemporaryDir> folder;
    QString at(const QString& name) const { return folder->path() + QLatin1Char('/') + name; }
    void write(const QString& name, const QByteArray& content = {}) {
        QFile file(at(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
};

// Sizes grow from IMG_10 to IMG_9 to Notes.
void CliPreviewTest::init() {
    folder = std::make_unique<QTemporaryDir>();
    QVERIFY(folder->isValid());
    QDir(folder->path()).mkpath("shoot/Sub");
    write("shoot/IMG_10.jpg");
    write("shoot/IMG_9.jpg", QByteArray(10, 'x'));
    write("shoot/Notes.txt", QByteArray(30, 'x'));
    write("my rules #1.json", R"({"baseName":"Trip","find":"","replacement":"","prefix":"",
        "suffix":"","nameCase":"upper","separator":"underscore","sequence":true,
        "sequenceStart":7,"sequencePadding":2})");
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
    QCOMPARE(run.errors, "Skipped Sub: Sub is not a regular file, or is a symbolic/hard link.\n");
}

// A name may hold control characters (a download gone wrong, or a name made
// to clear the screen); the file can be renamed, and its name is printed with
// them written out, never sent raw to the terminal.
void CliPreviewTest::namesCannotWriteToTheTerminal() {
    QDir(folder->path()).mkdir("odd");
    write("odd/clear\x1b[2J.txt");
    write("odd/.hidden\x1b[2J");
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

    write("shoot/same.txt");
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

void CliPreviewTest::optionsChooseTheNames_data() {
    QTest::addColumn<QStringList>("arguments"); // "<folder>" stands for the test's folder
    QTest::addColumn<QStringList>("proposed");
    QTest::newRow("tokens in the chosen order")
        << QStringList{"--base-name", "{folder} {name}", "--sequence", "--order",
                       "size",        "--descending",    "shoot"}
        << QStringList{"shoot Notes-001.txt", "shoot IMG_9-002.jpg", "shoot IMG_10-003.jpg"};
    QTest::newRow("pattern, accents and duplicates")
        << QStringList{"--regex",        "--find",           R"(^(IMG)_\d+$)",     "--replace",
                       R"(\L$1\E Café)", "--remove-accents", "--duplicate-format", "underscore",
                       "shoot"}
        << QStringList{"img Cafe.jpg", "img Cafe_2.jpg", "Notes.txt"};
    // A rules file is the base that explicit options change. File managers
    // pass file:// URIs, percent-encoded, where a shell passes paths.
    QTest::newRow("rules file and URIs")
        << QStringList{"--rules",   "file://<folder>/my%20rules%20%231.json", "--start", "1",
                       "--windows", "file://<folder>/shoot/Notes.txt"}
        << QStringList{"TRIP_01.txt"};
}

void CliPreviewTest::optionsChooseTheNames() {
    QFETCH(QStringList, arguments);
    QFETCH(QStringList, proposed);
    arguments.replaceInStrings("<folder>", folder->path());
    CliOutcome run = cli(QStringList{"preview", "--json"} + arguments, folder->path());
    QCOMPARE(run.exitCode, 0);
    const auto json = nlohmann::json::parse(run.out.toStdString());
    QStringList names;
    for (const auto& row : json["rows"]) {
        names.append(QString::fromStdString(row["proposed"].get<std::string>()));
        QVERIFY(QString::fromStdString(row["path"].get<std::string>()).startsWith(at("shoot/")));
    }
    QCOMPARE(names, proposed);
}

void CliPreviewTest::refusesWhatCannotBeCarriedOut_data() {
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("sentence");
    auto row = [](const char* tag, const char* arguments, const char* sentence) {
        QTest::newRow(tag) << QString(arguments) << QString(sentence);
    };
    // clang-format off
    row("missing path", "preview shoot/nothing.txt", "nothing.txt is missing or unavailable. No files were added.");
    row("unknown case", "preview --case shout shoot", "--case takes one of unchanged, lower, upper, title.");
    row("unknown separator", "preview --separator dot shoot", "--separator takes one of unchanged, hyphen, underscore, space.");
    row("unknown recipe", "preview --recipe Holiday shoot", "There is no recipe called “Holiday”. Choose one of “Client handoff”, “Photo sequence”, “Web-friendly”.");
    row("unknown order", "preview --order date shoot", "--order takes one of name, taken, modified, size.");
    row("invalid pattern", "preview --regex --find ( shoot", "This regular expression has a mistake at character 2: missing closing parenthesis.");
    row("unknown duplicate format", "preview --duplicate-format (2) shoot", "--duplicate-format takes one of parentheses, space, hyphen, underscore.");
    row("bad number", "preview --digits three shoot", "--digits takes a whole number.");
    row("no path", "preview", "Name at least one file or folder to preview.");
    row("remote path", "preview sftp://host/shoot", "sftp://host/shoot is not a file on this computer; name a path or a file:// URI.");
    row("another computer's file", "preview file://otherhost/shoot", "file://otherhost/shoot is not a file on this computer; name a path or a file:// URI.");
    row("remote journal", "status --journal smb://host/Tessary", "smb://host/Tessary is not a file on this computer; name a path or a file:// URI.");
    row("unknown command", "rename-all", "There is no command “rename-all”.");
    // clang-format on
}

void CliPreviewTest::refusesWhatCannotBeCarriedOut() {
    QFETCH(QString, arguments);
    QFETCH(QString, sentence);
    CliOutcome run = cli(arguments.split(QLatin1Char(' ')), folder->path());
    QCOMPARE(run.exitCode, 2);
    QCOMPARE(run.errors.section(QLatin1Char('\n'), 0, 0), sentence);
    QVERIFY(run.out.isEmpty());
}

QTEST_GUILESS_MAIN(CliPreviewTest)
#include "test_cli_preview.moc"
