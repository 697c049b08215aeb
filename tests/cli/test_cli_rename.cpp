#include "cli_process.h"

#include <nlohmann/json.hpp>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

class CliRenameTest : public QObject {
    Q_OBJECT
private slots:
    void init();
    void renameUndoAndStatusThroughTheJournal();
    void progressIsDrawnOnlyAtATerminal();
    void refusesWithoutConfirmationOrWithConflicts();
    void secondOperationIsRefusedWhileOneRuns();
    void recoveryFinishesAnInterruptedBatch();
    void recoveryRestoresWhatIsFoundAndSetsTheRestAside();

private:
    std::unique_ptr<QTemporaryDir> folder;
    const QStringList original{"IMG_10.jpg", "IMG_2.jpg"};
    QString at(const QString& name) const { return folder->path() + QLatin1Char('/') + name; }
    QStringList names() const { return QDir(at("shoot")).entryList(QDir::Files, QDir::Name); }
    // A command run with this test's journal.
    CliOutcome run(const QStringList& arguments) const {
        return cli(arguments + QStringList{"--journal", at("journal")});
    }
    // A rename of the whole shoot folder.
    CliOutcome rename(const QStringList& options) const {
        return run(QStringList{"rename"} + options + QStringList{at("shoot")});
    }
    void write(const QString& name, const QByteArray& content) {
        QFile file(at(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
};

void CliRenameTest::init() {
    folder = std::make_unique<QTemporaryDir>();
    QVERIFY(folder->isValid());
    QDir(folder->path()).mkdir("shoot");
    write("shoot/IMG_2.jpg", "two");
    write("shoot/IMG_10.jpg", "ten");
}

void CliRenameTest::renameUndoAndStatusThroughTheJournal() {
    CliOutcome outcome = rename({"--yes", "--recipe", "Client handoff"});
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.out,
             "2 files renamed. You can undo this batch, even after reopening Tessary.\n");
    // Piped, standard error carries no progress.
    QCOMPARE(outcome.errors, QString());
    QCOMPARE(names(), (QStringList{"studio-north-001.jpg", "studio-north-002.jpg"}));

    outcome = run({"status", "--json"});
    QCOMPARE(outcome.exitCode, 0);
    auto status = nlohmann::json::parse(outcome.out.toStdString());
    QCOMPARE(status["journal"].get<std::string>(), at("journal").toStdString());
    QCOMPARE(status["hasRecovery"].get<bool>(), false);
    QCOMPARE(status["undoCount"].get<int>(), 2);

    outcome = run({"undo"});
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.out, "The last batch was undone. Original names restored.\n");
    QCOMPARE(outcome.errors, QString());
    QCOMPARE(names(), original);

    outcome = run({"undo"});
    QCOMPARE(outcome.exitCode, 1);
    QCOMPARE(outcome.errors, "No readable rename journal was found.\n");

    // One file: the notice says "file".
    outcome = run({"rename", "--yes", "--prefix", "x", at("shoot/IMG_2.jpg")});
    QCOMPARE(outcome.out,
             "1 file renamed. You can undo this batch, even after reopening Tessary.\n");
}

void CliRenameTest::progressIsDrawnOnlyAtATerminal() {
    if (QStandardPaths::findExecutable("script").isEmpty())
        QSKIP("script(1), which gives a command a terminal, is not installed");
    // Standard error alone on the terminal: what script passes on is only it.
    auto atTerminal = [&](const QString& words) {
        QProcess terminal;
        terminal.setStandardInputFile(QProcess::nullDevice());
        terminal.start("script", {"-qc",
                                  QStringLiteral("'%1' %2 '%3' >/dev/null")
                                      .arg(QStringLiteral(TESSARY_CLI), words, at("shoot")),
                                  "/dev/null"});
        terminal.waitForFinished(60000);
        return QString::fromUtf8(terminal.readAllStandardOutput());
    };
    QCOMPARE(atTerminal("preview --json"), QString());
    QString drawn = atTerminal("rename --yes --prefix x- --journal '" + at("journal") + "'");
    QCOMPARE(names(), (QStringList{"x-IMG_10.jpg", "x-IMG_2.jpg"}));
    // One line for each step, drawn over with each count and ended once; the
    // terminal turns each line feed into a carriage return and a line feed.
    QStringList lines = drawn.split("\r\n");
    QCOMPARE(lines.size(), 3);
    QVERIFY2(lines[0].startsWith("\rAdding 0 of 2 files…") &&
                 lines[0].endsWith("\rAdding 2 of 2 files…") &&
                 lines[1].startsWith("\rRenaming 0 of 2 files…") &&
                 lines[1].endsWith("\rRenaming 2 of 2 files…") && lines[2].isEmpty(),
             qPrintable(drawn));
}

void CliRenameTest::refusesWithoutConfirmationOrWithConflicts() {
    CliOutcome outcome = rename({"--case", "lower"});
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY(
        outcome.errors.endsWith("Nothing was renamed. Confirm at a terminal, or pass --yes.\n"));
    QCOMPARE(names(), original);

    outcome = rename({"--yes", "--base-name", "same"});
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY(outcome.out.contains(
        "Two files would have the same name (ignoring case and Unicode form)."));
    QCOMPARE(names(), original);
    QVERIFY(!QFile::exists(at("journal/active.json")));

    outcome = rename({"--yes"});
    QCOMPARE(outcome.exitCode, 1);
    QCOMPARE(outcome.errors, "There are no filename changes to apply.\n");
}

void CliRenameTest::secondOperationIsRefusedWhileOneRuns() {
    QDir().mkpath(at("journal"));
    int held = ::open(at("journal/.lock").toUtf8().constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    QVERIFY(held >= 0);
    QCOMPARE(::flock(held, LOCK_EX | LOCK_NB), 0);
    for (const QStringList& command :
         {QStringList{"rename", "--yes", "--case", "lower", at("shoot")}, QStringList{"undo"},
          QStringList{"recover"}}) {
        CliOutcome outcome = run(command);
        QCOMPARE(outcome.exitCode, 1);
        QCOMPARE(outcome.errors,
                 "Another Tessary operation is running. Try again when it finishes.\n");
    }
    ::close(held);
    QCOMPARE(names(), original);
}

void CliRenameTest::recoveryFinishesAnInterruptedBatch() {
    QCOMPARE(rename({"--yes", "--suffix", "-x"}).exitCode, 0);
    // A batch that stopped after its journal was marked completed.
    QVERIFY(QFile::copy(at("journal/undo.json"), at("journal/active.json")));
    QVERIFY(run({"status"})
                .out.contains("An interrupted batch needs recovery: run tessary-cli recover."));
    QCOMPARE(rename({"--yes", "--case", "lower"}).errors,
             "An interrupted batch needs recovery first.\n");
    CliOutcome outcome = run({"recover"});
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.out, "Recovery finished. Original names restored, or the completed batch "
                          "was saved for undo.\n");
    QCOMPARE(names(), (QStringList{"IMG_10-x.jpg", "IMG_2-x.jpg"}));
    QVERIFY(!QFile::exists(at("journal/active.json")));
    outcome = run({"recover"});
    QCOMPARE(outcome.exitCode, 0);
    QCOMPARE(outcome.out, "No batch needs recovery.\n");
}

void CliRenameTest::recoveryRestoresWhatIsFoundAndSetsTheRestAside() {
    QCOMPARE(rename({"--yes", "--suffix", "-x"}).exitCode, 0);
    // The batch stopped after both files had their new names, and another
    // program then replaced one of them with a file of its own.
    QFile undo(at("journal/undo.json"));
    QVERIFY(undo.open(QIODevice::ReadOnly));
    write("journal/active.json",
          undo.readAll().replace(R"("completed":true)", R"("completed":false)"));
    undo.close();
    QVERIFY(undo.remove());
    write("shoot/replacement", "other");
    QCOMPARE(std::rename(at("shoot/replacement").toUtf8(), at("shoot/IMG_2-x.jpg").toUtf8()), 0);

    CliOutcome outcome = run({"recover"});
    QCOMPARE(outcome.exitCode, 1);
    QCOMPARE(outcome.errors,
             "Recovery cannot find the original IMG_2.jpg. Reconnect its volume or restore it to "
             "a recorded location, then retry. The journal remains in " +
                 at("journal") +
                 ".\nTo restore the files that can be found and keep a record of the missing "
                 "ones, run tessary-cli recover --restore-found.\n");

    outcome = run({"recover", "--restore-found"});
    QCOMPARE(outcome.exitCode, 1);
    QVERIFY(
        outcome.out.startsWith("1 file of the interrupted batch cannot be found:\n  IMG_2.jpg\n"));
    QCOMPARE(outcome.errors, "Nothing was restored. Confirm at a terminal, or pass --yes.\n");
    QCOMPARE(names(), (QStringList{"IMG_10-x.jpg", "IMG_2-x.jpg"}));

    outcome = run({"recover", "--restore-found", "--yes"});
    QCOMPARE(outcome.exitCode, 0);
    QVERIFY2(outcome.out.startsWith("1 file is back under its original name.\n"
                                    "1 file could not be found:\n  IMG_2.jpg\n    original: " +
                                    at("shoot/IMG_2.jpg") +
                                    "\n    new:      " + at("shoot/IMG_2-x.jpg") +
                                    "\n    staging:  " + at("shoot/.tessary-")),
             qPrintable(outcome.out));
    auto record =
        QRegularExpression("\nRecord kept: (.*/set-aside-\\d{8}T\\d{6}Z-[-0-9A-F]{36}\\.json)\n")
            .match(outcome.out);
    QVERIFY2(record.hasMatch(), qPrintable(outcome.out));
    QCOMPARE(QFileInfo(record.captured(1)).absolutePath(), at("journal"));
    QVERIFY(QFile::exists(record.captured(1)));
    QVERIFY(outcome.out.contains("delete it when you no longer need it."));
    // The replacement is not Tessary's to move; the other file is back.
    QCOMPARE(names(), (QStringList{"IMG_10.jpg", "IMG_2-x.jpg"}));
    QCOMPARE(QFile(at("shoot/IMG_2-x.jpg")).size(), 5);

    auto status = nlohmann::json::parse(run({"status", "--json"}).out.toStdString());
    QCOMPARE(status["hasRecovery"].get<bool>(), false);
    QVERIFY(status["setAside"] ==
            nlohmann::json::array({QFileInfo(record.captured(1)).fileName().toStdString()}));
    QVERIFY(run({"status"}).out.contains("1 set-aside batch record in the journal folder"));

    QCOMPARE(rename({"--yes", "--case", "lower"}).exitCode, 0);
    QCOMPARE(names(), (QStringList{"img_10.jpg", "img_2-x.jpg"}));
}

QTEST_GUILESS_MAIN(CliRenameTest)
#include "test_cli_rename.moc"
