// tessary-cli run as a user would run it: from the test's folder, without a
// terminal on standard input. The core behind it has tests of its own; these
// hold the command's contract: arguments, exit codes, the exact sentences,
// the --json shape, confirmation, and the journal end to end.

#include "temporary_folder.h"

#include <nlohmann/json.hpp>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>

#include <cstdio>

#include <sys/file.h>

using Json = nlohmann::json;

struct CliOutcome {
    int exitCode = -1;
    QString out;
    QString errors = {};
    Json json() const { return Json::parse(out.toStdString()); }
    bool operator==(const CliOutcome&) const = default;
};

char* toString(const CliOutcome& outcome) {
    return qstrdup(qPrintable(QStringLiteral("exit %1\nout: %2\nerrors: %3")
                                  .arg(outcome.exitCode)
                                  .arg(outcome.out, outcome.errors)));
}

class CliTest : public QObject {
    Q_OBJECT

    std::unique_ptr<TemporaryFolder> folder;
    const QStringList original{"IMG_10.jpg", "IMG_2.jpg"};
    QString at(const QString& name) const { return folder->at(name); }
    QStringList names() const { return QDir(at("shoot")).entryList(QDir::Files, QDir::Name); }

    // The command itself, or a program that runs it.
    CliOutcome cli(const QStringList& arguments, const QByteArray& input = {},
                   const QString& program = QStringLiteral(TESSARY_CLI)) const {
        QProcess process;
        process.setWorkingDirectory(folder->path());
        process.start(program, arguments);
        process.write(input);
        process.closeWriteChannel();
        process.waitForFinished(60000);
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }
    // A command run with this test's journal.
    CliOutcome run(const QStringList& arguments, const QByteArray& input = {}) const {
        return cli(arguments + QStringList{"--journal", at("journal")}, input);
    }

private slots:
    // IMG_2 is the larger photo, so that size order differs from name order.
    void init() {
        folder = std::make_unique<TemporaryFolder>();
        folder->file("shoot/IMG_2.jpg", "second");
        folder->file("shoot/IMG_10.jpg", "ten");
        folder->file("map.csv", "old_name,new_name\nIMG_2.jpg,b.jpg\nimg_10.jpg,x.jpg\n");
    }

    void previewPrintsEachProposedNameOrJsonRows() {
        // As tab-separated text the header line is one cell: the parse fails on row 1.
        auto tsv = cli({"preview", "--json", "--format", "tsv", "--mapping", "map.csv", "shoot"});
        QVERIFY(tsv.json()["diagnostics"] ==
                Json::parse(
                    R"([{"row": 1, "name": null, "message": "Expected exactly two columns: )"
                    R"(old filename and new filename. Choose the matching CSV or TSV format."}])"));

        // The largest of the three.
        folder->file("shoot/Notes.txt", QByteArray(30, 'x'));
        folder->folder("shoot/Sub");
        // A name may hold control characters (a download gone wrong, or a name
        // made to clear the screen); the file can be renamed, and its name is
        // printed with them written out, never sent raw to the terminal.
        folder->make({"odd/clear\x1b[2J.txt", "odd/.hidden\x1b[2J"});
        // clang-format off
        const struct { QStringList arguments; CliOutcome printed; } printed[] = {
            {{"--mapping", "map.csv", "shoot"}, {1, "IMG_2.jpg   →  b.jpg  ·  Ready to rename\nIMG_10.jpg  →  IMG_10.jpg  ·  No mapping for this selected file. Add its old and new filenames, or remove it from the batch.\nNotes.txt   →  Notes.txt  ·  No mapping for this selected file. Add its old and new filenames, or remove it from the batch.\nSpreadsheet issues:\n  Row 3 · img_10.jpg: No selected file exactly matches this original filename. Check spelling and letter case, or remove this row.\n  IMG_10.jpg: No mapping for this selected file. Add its old and new filenames, or remove it from the batch.\n  Notes.txt: No mapping for this selected file. Add its old and new filenames, or remove it from the batch.\n1 file ready to rename · 0 unchanged · 2 conflicts · 3 spreadsheet issues\n", "Skipped Sub: Sub is not a regular file, or is a symbolic/hard link.\n"}},
            // Natural order numbers IMG_2 before IMG_10.
            {{"--recipe", "Client handoff", "shoot"}, {0, "IMG_2.jpg   →  studio-north-001.jpg  ·  Ready to rename\nIMG_10.jpg  →  studio-north-002.jpg  ·  Ready to rename\nNotes.txt   →  studio-north-003.txt  ·  Ready to rename\n3 files ready to rename · 0 unchanged · 0 conflicts\n", "Skipped Sub: Sub is not a regular file, or is a symbolic/hard link.\n"}},
            {{"--base-name", "fixed", "odd", "odd/.hidden\x1b[2J"}, {0, "clear\\x1b[2J.txt  →  fixed.txt  ·  Ready to rename\n1 file ready to rename · 0 unchanged · 0 conflicts\n", "Skipped .hidden\\x1b[2J: Hidden files, links, and bundles are skipped.\n"}},
        };
        // clang-format on
        for (const auto& [arguments, outcome] : printed)
            QCOMPARE(cli(QStringList{"preview"} + arguments), outcome);

        // Files and folders named one by one; a folder holds nothing more. A rules
        // file is the base that explicit options change. File managers pass
        // file:// URIs, percent-encoded, where a shell passes paths.
        folder->file("my rules #1.json", R"({"baseName":"Trip","find":"","replacement":"",
            "prefix":"","suffix":"","nameCase":"upper","separator":"underscore",
            "sequence":true,"sequenceStart":7,"sequencePadding":2})");
        folder->make({"pair/a.jpg", "pair/a.nef"});
        const QString uri = "file://" + folder->path();
        // clang-format off
        const struct { QStringList arguments, proposed; } options[] = {
            {{"--base-name", "{folder} {name}", "--sequence", "--order", "size", "--descending", "shoot"}, {"shoot Notes-001.txt", "shoot IMG_2-002.jpg", "shoot IMG_10-003.jpg"}},
            {{"--regex", "--find", R"(^(IMG)_\d+$)", "--replace", R"(\L$1\E Café)", "--remove-accents", "--duplicate-format", "underscore", "shoot"}, {"img Cafe.jpg", "img Cafe_2.jpg", "Notes.txt"}},
            {{"--base-name", "same", "shoot/Notes.txt", "shoot/IMG_2.jpg", "shoot/Sub"}, {"same.jpg", "same.txt"}},
            {{"--base-name", "x", "--separator", "hyphen", "--sequence", "--companions", "pair"}, {"x-001.jpg", "x-001.nef"}},
            {{"--find", "IMG", "--replace", "P", "--find", "_", "--remove-start", "1", "--remove-end", "1", "--insert", "-", "--at", "-1", "shoot/IMG_10.jpg", "shoot/Notes.txt"}, {"-1.jpg", "ot-e.txt"}},
            // Numbered as the paths were given, a folder's files in natural order.
            {{"--base-name", "x", "--sequence", "--order", "as-given", "shoot/Notes.txt", "pair", "shoot/IMG_2.jpg"}, {"x-001.txt", "x-002.jpg", "x-003.nef", "x-004.jpg"}},
            {{"--rules", uri + "/my%20rules%20%231.json", "--start", "1", "--windows", uri + "/shoot/Notes.txt"}, {"TRIP_01.txt"}},
        };
        // clang-format on
        for (const auto& option : options) {
            CliOutcome outcome = cli(QStringList{"preview", "--json"} + option.arguments);
            QCOMPARE(outcome.exitCode, 0);
            QStringList proposed;
            const Json json = outcome.json();
            for (const auto& row : json["rows"])
                proposed.append(QString::fromStdString(row["proposed"].get<std::string>()));
            QCOMPARE(proposed, option.proposed);
        }

        folder->file("shoot/same.jpg");
        CliOutcome conflict = cli({"preview", "--json", "--base-name", "same", "shoot/IMG_2.jpg"});
        QCOMPARE(conflict.exitCode, 1);
        Json expected = Json::parse(R"({"rows": [{"path": "", "name": "IMG_2.jpg",
            "proposed": "same.jpg", "changed": true, "note": null,
            "problem": "A file or folder with this name already exists."}],
            "changed": 0, "unchanged": 0, "conflicts": 1, "skipped": [], "reachedLimit": false,
            "volumeNote": null, "diagnostics": []})");
        expected["rows"][0]["path"] = at("shoot/IMG_2.jpg").toStdString();
        QVERIFY2(conflict.json() == expected, qPrintable(conflict.out));
    }

    void refusesWhatCannotBeCarriedOut() {
        // clang-format off
        const struct { QString arguments; int exitCode; QString sentence; } refusals[] = {
            {"preview shoot/nothing.txt", 2, "nothing.txt is missing or unavailable. No files were added."},
            {"preview --case shout shoot", 2, "--case takes one of unchanged, lower, upper, title."},
            {"preview --separator dot shoot", 2, "--separator takes one of unchanged, hyphen, underscore, space."},
            {"preview --recipe Holiday shoot", 2, "There is no recipe called “Holiday”. Choose one of “Client handoff”, “Photo sequence”, “Web-friendly”."},
            {"preview --order date shoot", 2, "--order takes one of name, taken, modified, size, as-given."},
            {"preview --shift-dates 1h shoot", 2, "“1h” is not a date shift; write it as +01:00, -00:30 or +1d 02:00."},
            {"preview --regex --find a --find ( shoot", 2, "This regular expression has a mistake at character 2: missing closing parenthesis."},
            {"preview --find a --replace b --replace c shoot", 2, "Give each --replace a --find before it."},
            {"preview --at 2 shoot", 2, "--at goes with --insert."},
            {"preview --duplicate-format (2) shoot", 2, "--duplicate-format takes one of parentheses, space, hyphen, underscore."},
            {"preview --digits three shoot", 2, "--digits takes a whole number."},
            {"preview", 2, "Name at least one file or folder to preview."},
            {"preview sftp://host/shoot", 2, "sftp://host/shoot is not a file on this computer; name a path or a file:// URI."},
            {"preview file://otherhost/shoot", 2, "file://otherhost/shoot is not a file on this computer; name a path or a file:// URI."},
            {"status --journal smb://host/Tessary", 2, "smb://host/Tessary is not a file on this computer; name a path or a file:// URI."},
            {"rename-all", 2, "There is no command “rename-all”."},
            {"preview --mapping map.csv --prefix x shoot", 2, "Use either --mapping or naming-rule options, not both."},
            {"rename --journal journal --case lower shoot", 1, "Nothing was renamed. Confirm at a terminal, or pass --yes."},
            {"rename --journal journal --yes --base-name same shoot", 1, "Nothing was renamed. Resolve the conflicts above first."},
            {"rename --journal journal --yes shoot", 1, "There are no filename changes to apply."},
            {"undo --journal journal", 1, "No readable rename journal was found."},
            {"report --receipt -o receipt.html --journal journal", 1, "There is no completed rename batch to report."},
            {"rename --journal journal --yes --case lower shoot", 1, "Another Tessary operation is running. Try again when it finishes."},
        };
        // clang-format on
        QFile lock(at("journal/.lock"));
        for (const auto& refusal : refusals) {
            // From here on another operation holds the journal's lock.
            if (refusal.sentence.startsWith("Another") && !lock.isOpen()) {
                QDir().mkpath(at("journal"));
                QVERIFY(lock.open(QIODevice::ReadWrite) &&
                        ::flock(lock.handle(), LOCK_EX | LOCK_NB) == 0);
            }
            CliOutcome run = cli(refusal.arguments.split(QLatin1Char(' ')));
            QCOMPARE(run.exitCode, refusal.exitCode);
            QCOMPARE(run.errors.section(QLatin1Char('\n'), 0, 0), refusal.sentence);
            if (refusal.exitCode == 2)
                QVERIFY(run.out.isEmpty());
            QCOMPARE(names(), original);
            QVERIFY(!QFile::exists(at("journal/active.json")) &&
                    !QFile::exists(at("receipt.html")));
        }
    }

    void renameUndoReportAndStatusThroughTheJournal() {
        QCOMPARE(cli({"report", "--draft", "-o", "draft.html", "--case", "upper", "shoot"}),
                 (CliOutcome{0, "Draft preview saved. No files were renamed by this export.\n"}));
        QVERIFY(QFile::exists(at("draft.html")));
        // Piped, standard error carries no progress.
        QCOMPARE(run({"rename", "--yes", "--mapping", "-", "shoot"},
                     "IMG_2.jpg,b.jpg\nIMG_10.jpg,Final.jpg\n"),
                 (CliOutcome{0, "2 files renamed. You can undo this batch, even after reopening "
                                "Tessary.\n"}));
        QCOMPARE(names(), (QStringList{"Final.jpg", "b.jpg"}));
        QCOMPARE(run({"status", "--json"}),
                 (CliOutcome{0, R"({"journal":")" + at("journal") +
                                    R"(","hasRecovery":false,"undoCount":2,"setAside":[]})"
                                    "\n"}));
        QCOMPARE(run({"report", "--receipt", "-o", "receipt.html"}),
                 (CliOutcome{0, "Rename receipt saved. It records the last completed batch.\n"}));
        const QByteArray html = folder->read("receipt.html");
        QVERIFY(
            html.contains("<td class=\"name\">IMG_10.jpg</td><td class=\"name\">Final.jpg</td>"));
        QVERIFY(run({"report", "--receipt", "-o", "missing-folder/receipt.html"})
                    .errors.startsWith("The report could not be saved: "));

        QCOMPARE(run({"undo"}),
                 (CliOutcome{0, "The last batch was undone. Original names restored.\n"}));
        QCOMPARE(names(), original);
        // One file: the notice says "file".
        QCOMPARE(run({"rename", "--yes", "--prefix", "x", "shoot/IMG_2.jpg"}).out,
                 "1 file renamed. You can undo this batch, even after reopening Tessary.\n");
    }

    void progressIsDrawnOnlyAtATerminal() {
        if (QStandardPaths::findExecutable("script").isEmpty())
            QSKIP("script(1), which gives a command a terminal, is not installed");
        // Standard error alone on the terminal: what script passes on is only it.
        auto atTerminal = [&](const QString& words) {
            const QString command = QStringLiteral("'%1' %2 '%3' >/dev/null")
                                        .arg(QStringLiteral(TESSARY_CLI), words, at("shoot"));
            return cli({"-qc", command, "/dev/null"}, {}, "script").out;
        };
        QCOMPARE(atTerminal("preview --json"), QString());
        QString drawn = atTerminal("rename --yes --prefix x- --journal '" + at("journal") + "'");
        QCOMPARE(names(), (QStringList{"x-IMG_10.jpg", "x-IMG_2.jpg"}));
        // One line for each step, drawn over with each count and ended once; the
        // terminal turns each line feed into a carriage return and a line feed.
        const QRegularExpression steps(
            "^\rAdding 0 of 2 files…[^\n]*\rAdding 2 of 2 files…\r\n"
            "\rRenaming 0 of 2 files…[^\n]*\rRenaming 2 of 2 files…\r\n$");
        QVERIFY2(steps.match(drawn).hasMatch(), qPrintable(drawn));
    }

    void recoveryFinishesABatchOrRestoresWhatIsFound() {
        QCOMPARE(run({"rename", "--yes", "--suffix", "-x", "shoot"}).exitCode, 0);
        // A batch that stopped after its journal was marked completed.
        QVERIFY(QFile::copy(at("journal/undo.json"), at("journal/active.json")));
        QVERIFY(run({"status"})
                    .out.contains("An interrupted batch needs recovery: run tessary-cli recover."));
        QCOMPARE(run({"recover"}), (CliOutcome{0, "Recovery finished. Original names restored, or "
                                                  "the completed batch was saved for undo.\n"}));
        QCOMPARE(names(), (QStringList{"IMG_10-x.jpg", "IMG_2-x.jpg"}));
        QCOMPARE(run({"recover"}), (CliOutcome{0, "No batch needs recovery.\n"}));

        // The same batch stopped after both files had their new names, and another
        // program then replaced one of them with a file of its own.
        folder->file("journal/active.json",
                     folder->read("journal/undo.json")
                         .replace(R"("completed":true)", R"("completed":false)"));
        QVERIFY(QFile::remove(at("journal/undo.json")));
        folder->file("replacement", "other");
        QCOMPARE(std::rename(at("replacement").toUtf8(), at("shoot/IMG_2-x.jpg").toUtf8()), 0);

        QCOMPARE(
            run({"recover"}),
            (CliOutcome{1, "",
                        "Recovery cannot find the original IMG_2.jpg. Reconnect its volume or "
                        "restore it to a recorded location, then retry. The journal remains in " +
                            at("journal") +
                            ".\nTo restore the files that can be found and keep a record of the "
                            "missing ones, run tessary-cli recover --restore-found.\n"}));
        QCOMPARE(
            run({"recover", "--restore-found"}),
            (CliOutcome{1,
                        "1 file of the interrupted batch cannot be found:\n  IMG_2.jpg\nEvery "
                        "other file goes back to its original name. The missing files are left "
                        "alone, and the batch's journal is kept as a record in the journal "
                        "folder.\n",
                        "Nothing was restored. Confirm at a terminal, or pass --yes.\n"}));
        QCOMPARE(names(), (QStringList{"IMG_10-x.jpg", "IMG_2-x.jpg"}));

        CliOutcome outcome = run({"recover", "--restore-found", "--yes"});
        auto record = QRegularExpression("set-aside-\\d{8}T\\d{6}Z-([-0-9A-F]{36})\\.json")
                          .match(outcome.out);
        QCOMPARE(outcome,
                 (CliOutcome{
                     0, "1 file is back under its original name.\n1 file could not be found:\n"
                        "  IMG_2.jpg\n    original: " +
                            at("shoot/IMG_2.jpg") + "\n    new:      " + at("shoot/IMG_2-x.jpg") +
                            "\n    staging:  " + at("shoot/.tessary-") + record.captured(1) +
                            "-0\nRecord kept: " + at("journal/") + record.captured(0) +
                            "\nThe record lists every file of the batch with its original, new "
                            "and staging paths; a missing file may still turn up under one of "
                            "them. Keep the record for reference, or delete it when you no longer "
                            "need it.\n"}));
        // The replacement is not Tessary's to move; the other file is back.
        QCOMPARE(names(), (QStringList{"IMG_10.jpg", "IMG_2-x.jpg"}));

        auto status = run({"status", "--json"}).json();
        QCOMPARE(status["hasRecovery"].get<bool>(), false);
        QVERIFY(status["setAside"] == Json::array({record.captured(0).toStdString()}));
        QVERIFY(run({"status"}).out.contains("1 set-aside batch record in the journal folder"));
    }
};

QTEST_GUILESS_MAIN(CliTest)
#include "test_cli.moc"
