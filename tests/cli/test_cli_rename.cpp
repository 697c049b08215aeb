#include "cli_process.h"

#include <nlohmann/json.hpp>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

class CliRenameTest : public QObject {
    Q_OBJECT
private slots:
    void init();
    void renameUndoAndStatusThroughTheJournal();
    void refusesWithoutConfirmationOrWithConflicts();
    void secondOperationIsRefusedWhileOneRuns();
    void recoveryFinishesAnInterruptedBatch();

private:
    std::unique_ptr<QTemporaryDir> folder;
    QString at(const QString& name) const { return folder->path() + QLatin1Char('/') + name; }
    QStringList names() const { return QDir(at("shoot")).entryList(QDir::Files, QDir::Name); }
    QStringList journal() const { return {"--journal", at("journal")}; }
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
    CliOutcome run = cli(QStringList{"rename", "--yes", "--recipe", "Client handoff"} + journal() +
                         QStringList{at("shoot")});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.out,
             QStringLiteral(
                 "2 files renamed. You can undo this batch, even after reopening Tessary.\n"));
    QCOMPARE(names(), (QStringList{"studio-north-001.jpg", "studio-north-002.jpg"}));

    run = cli(QStringList{"status", "--json"} + journal());
    QCOMPARE(run.exitCode, 0);
    auto status = nlohmann::json::parse(run.out.toStdString());
    QCOMPARE(status["journal"].get<std::string>(), at("journal").toStdString());
    QCOMPARE(status["hasRecovery"].get<bool>(), false);
    QCOMPARE(status["undoCount"].get<int>(), 2);

    run = cli(QStringList{"undo"} + journal());
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.out, QStringLiteral("The last batch was undone. Original names restored.\n"));
    QCOMPARE(names(), (QStringList{"IMG_10.jpg", "IMG_2.jpg"}));

    run = cli(QStringList{"undo"} + journal());
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.errors, QStringLiteral("No readable rename journal was found.\n"));

    // One file: the notice says "file".
    run = cli(QStringList{"rename", "--yes", "--prefix", "x"} + journal() +
              QStringList{at("shoot/IMG_2.jpg")});
    QCOMPARE(
        run.out,
        QStringLiteral("1 file renamed. You can undo this batch, even after reopening Tessary.\n"));
}

void CliRenameTest::refusesWithoutConfirmationOrWithConflicts() {
    CliOutcome run =
        cli(QStringList{"rename", "--case", "lower"} + journal() + QStringList{at("shoot")});
    QCOMPARE(run.exitCode, 1);
    QVERIFY(run.errors.endsWith("Nothing was renamed. Confirm at a terminal, or pass --yes.\n"));
    QCOMPARE(names(), (QStringList{"IMG_10.jpg", "IMG_2.jpg"}));

    run = cli(QStringList{"rename", "--yes", "--base-name", "same"} + journal() +
              QStringList{at("shoot")});
    QCOMPARE(run.exitCode, 1);
    QVERIFY(
        run.out.contains("Two files would have the same name (ignoring case and Unicode form)."));
    QCOMPARE(names(), (QStringList{"IMG_10.jpg", "IMG_2.jpg"}));
    QVERIFY(!QFile::exists(at("journal/active.json")));

    run = cli(QStringList{"rename", "--yes"} + journal() + QStringList{at("shoot")});
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.errors, QStringLiteral("There are no filename changes to apply.\n"));
}

void CliRenameTest::secondOperationIsRefusedWhileOneRuns() {
    QDir().mkpath(at("journal"));
    int held = ::open(at("journal/.lock").toUtf8().constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    QVERIFY(held >= 0);
    QCOMPARE(::flock(held, LOCK_EX | LOCK_NB), 0);
    const QString busy = "Another Tessary operation is running. Try again when it finishes.\n";
    for (const QStringList& command :
         {QStringList{"rename", "--yes", "--case", "lower", at("shoot")}, QStringList{"undo"},
          QStringList{"recover"}}) {
        CliOutcome run = cli(command + journal());
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(run.errors, busy);
    }
    ::close(held);
    QCOMPARE(names(), (QStringList{"IMG_10.jpg", "IMG_2.jpg"}));
}

void CliRenameTest::recoveryFinishesAnInterruptedBatch() {
    QCOMPARE(
        cli(QStringList{"rename", "--yes", "--suffix", "-x"} + journal() + QStringList{at("shoot")})
            .exitCode,
        0);
    // A batch that stopped after its journal was marked completed.
    QVERIFY(QFile::copy(at("journal/undo.json"), at("journal/active.json")));
    CliOutcome run = cli(QStringList{"status"} + journal());
    QVERIFY(run.out.contains("An interrupted batch needs recovery: run tessary-cli recover."));
    run = cli(QStringList{"rename", "--yes", "--case", "lower"} + journal() +
              QStringList{at("shoot")});
    QCOMPARE(run.errors, QStringLiteral("An interrupted batch needs recovery first.\n"));
    run = cli(QStringList{"recover"} + journal());
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.out, QStringLiteral("Recovery finished. Original names restored, or the completed "
                                     "batch was saved for undo.\n"));
    QCOMPARE(names(), (QStringList{"IMG_10-x.jpg", "IMG_2-x.jpg"}));
    QVERIFY(!QFile::exists(at("journal/active.json")));
}

QTEST_GUILESS_MAIN(CliRenameTest)
#include "test_cli_rename.moc"
