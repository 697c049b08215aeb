#include "temporary_folder.h"

#include "core/file_record.h"
#include "core/rename_engine.h"
#include "core/rename_failure.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

QString failureOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const RenameFailure& failure) {
        return failure.message;
    }
    return {};
}

QStringList entries(const QString& folder) {
    return QDir(folder).entryList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

} // namespace

class RenameEngineTest : public QObject {
    Q_OBJECT
private slots:
    void init();
    void swapRenamesThroughStagingAndUndoRestores();
    void unchangedRowsAreSkippedAndNotNumbered();
    void refusesBatchesBeforeWritingAJournal_data();
    void refusesBatchesBeforeWritingAJournal();
    void refusesWhileAnotherOperationHoldsTheLock();
    void refusesNewBatchesWhileRecoveryIsPending();
    void undoRefusesWhenTheRenamedFileChanged_data();
    void undoRefusesWhenTheRenamedFileChanged();
    void recoveryCannotFindAMissingFileAndMovesNothing();
    void journalFoldersAreSortedAndDistinct();
    void engineRefusesAJournalFolderBehindALink();

private:
    std::unique_ptr<TemporaryFolder> disk;
    std::unique_ptr<RenameEngine> engine;

    RenameIntent intent(const QString& relative, const QString& filename) {
        return {FileRecord::make(disk->url(relative)), filename};
    }
    QString journal(const QString& name) const { return disk->at("journal/" + name); }
};

void RenameEngineTest::init() {
    disk = std::make_unique<TemporaryFolder>();
    engine = std::make_unique<RenameEngine>(disk->at("journal"));
    disk->file("d/a.txt", "A");
    disk->file("d/b.txt", "B");
}

void RenameEngineTest::swapRenamesThroughStagingAndUndoRestores() {
    QVERIFY(!engine->completedReport());
    engine->execute({intent("d/a.txt", "b.txt"), intent("d/b.txt", "a.txt")}, 5000);
    QCOMPARE(disk->read("d/a.txt"), QByteArray("B"));
    QCOMPARE(disk->read("d/b.txt"), QByteArray("A"));
    QCOMPARE(entries(disk->at("d")), (QStringList{"a.txt", "b.txt"}));
    // Only the undo journal and the lock remain: no active journal, no temporary.
    QCOMPARE(entries(disk->at("journal")), (QStringList{".lock", "undo.json"}));
    QVERIFY(!engine->hasRecovery());
    QCOMPARE(engine->undoCount(), 2);

    auto receipt = engine->completedReport();
    QVERIFY(receipt);
    QVERIFY(receipt->completed && receipt->batchID);
    QCOMPARE(receipt->changedCount, 2);
    QCOMPARE(receipt->entries.first(), (RenameReport::Entry{"a.txt", "b.txt", "Renamed"}));

    // A fresh engine, as after a restart, undoes from the journal alone.
    engine = std::make_unique<RenameEngine>(disk->at("journal"));
    engine->undo();
    QCOMPARE(disk->read("d/a.txt"), QByteArray("A"));
    QCOMPARE(disk->read("d/b.txt"), QByteArray("B"));
    QCOMPARE(engine->undoCount(), 0);
    QVERIFY(!engine->completedReport());
    QCOMPARE(entries(disk->at("journal")), QStringList{".lock"});
    QCOMPARE(failureOf([&] { engine->undo(); }),
             QStringLiteral("No readable rename journal was found."));
}

void RenameEngineTest::unchangedRowsAreSkippedAndNotNumbered() {
    disk->file("d/c.txt", "C");
    engine->execute(
        {intent("d/a.txt", "a.txt"), intent("d/c.txt", "z.txt"), intent("d/b.txt", "b.txt")}, 5000);
    QCOMPARE(entries(disk->at("d")), (QStringList{"a.txt", "b.txt", "z.txt"}));
    QFile undo(journal("undo.json"));
    QVERIFY(undo.open(QIODevice::ReadOnly));
    QByteArray document = undo.readAll();
    QVERIFY(document.contains(R"("purpose":"rename")"));
    QVERIFY(document.contains(R"("completed":true)"));
    QVERIFY(document.contains(R"(\/d\/z.txt")"));
    // The one journaled file takes position 0, whatever its row was.
    QVERIFY(document.contains(QByteArray("-0\"")));
    QVERIFY(!document.contains(QByteArray("-1\"")));
}

void RenameEngineTest::refusesBatchesBeforeWritingAJournal_data() {
    QTest::addColumn<QString>("scenario");
    QTest::addColumn<QString>("expected");
    QTest::newRow("nothing changes") << "unchanged"
                                     << "There are no filename changes to apply.";
    QTest::newRow("empty batch") << "empty"
                                 << "There are no filename changes to apply.";
    QTest::newRow("only the Unicode form changes") << "normalization"
                                                   << "There are no filename changes to apply.";
    QTest::newRow("same file twice") << "twice"
                                     << "A batch must contain at most 5,000 unique files.";
    QTest::newRow("over the caller's limit") << "limit"
                                             << "A batch must contain at most 5,000 unique files.";
    QTest::newRow("destination created after the preview")
        << "taken"
        << "a.txt: A file or folder with this name already exists.";
    QTest::newRow("file replaced after it was added")
        << "replaced"
        << "a.txt: This file changed or moved. Remove it and add it again.";
}

void RenameEngineTest::refusesBatchesBeforeWritingAJournal() {
    QFETCH(QString, scenario);
    QFETCH(QString, expected);
    QList<RenameIntent> intents;
    qsizetype limit = 5000;
    if (scenario == "unchanged") {
        intents = {intent("d/a.txt", "a.txt")};
    } else if (scenario == "normalization") {
        disk->file(QStringLiteral("d/caf\u00e9.txt"), "C");
        intents = {intent(QStringLiteral("d/caf\u00e9.txt"), QStringLiteral("cafe\u0301.txt"))};
    } else if (scenario == "twice") {
        intents = {intent("d/a.txt", "x.txt"), intent("d/a.txt", "y.txt")};
    } else if (scenario == "limit") {
        intents = {intent("d/a.txt", "x.txt"), intent("d/b.txt", "y.txt")};
        limit = 1;
    } else if (scenario == "taken") {
        intents = {intent("d/a.txt", "new.txt")};
        disk->file("d/new.txt", "someone else's");
    } else if (scenario == "replaced") {
        intents = {intent("d/a.txt", "new.txt")};
        QFile::remove(disk->at("d/a.txt"));
        disk->file("d/a.txt", "A again");
    }
    QCOMPARE(failureOf([&] { engine->execute(intents, limit); }), expected);
    QCOMPARE(entries(disk->at("journal")), QStringList{".lock"});
    QVERIFY(!QFile::exists(disk->at("d/new.txt")) || disk->read("d/new.txt") == "someone else's");
}

void RenameEngineTest::refusesWhileAnotherOperationHoldsTheLock() {
    int held = ::open(journal(".lock").toUtf8().constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    QVERIFY(held >= 0);
    QCOMPARE(::flock(held, LOCK_EX | LOCK_NB), 0);
    const QString busy = "Another Tessary operation is running. Try again when it finishes.";
    QCOMPARE(failureOf([&] { engine->execute({intent("d/a.txt", "x.txt")}, 5000); }), busy);
    QCOMPARE(failureOf([&] { engine->undo(); }), busy);
    QCOMPARE(failureOf([&] { engine->recover(); }), busy);
    ::close(held);
    QCOMPARE(entries(disk->at("d")), (QStringList{"a.txt", "b.txt"}));
    engine->execute({intent("d/a.txt", "x.txt")}, 5000);
    QCOMPARE(entries(disk->at("d")), (QStringList{"b.txt", "x.txt"}));
}

void RenameEngineTest::refusesNewBatchesWhileRecoveryIsPending() {
    engine->execute({intent("d/a.txt", "x.txt")}, 5000);
    QVERIFY(QFile::copy(journal("undo.json"), journal("active.json")));
    QVERIFY(engine->hasRecovery());
    QVERIFY(!engine->completedReport());
    const QString pending = "An interrupted batch needs recovery first.";
    QCOMPARE(failureOf([&] { engine->execute({intent("d/b.txt", "y.txt")}, 5000); }), pending);
    QCOMPARE(failureOf([&] { engine->undo(); }), pending);
    // A completed batch is finished by recovery, not reversed.
    engine->recover();
    QVERIFY(!engine->hasRecovery());
    QCOMPARE(entries(disk->at("d")), (QStringList{"b.txt", "x.txt"}));
    QCOMPARE(engine->undoCount(), 1);
}

void RenameEngineTest::undoRefusesWhenTheRenamedFileChanged_data() {
    QTest::addColumn<QString>("change");
    QTest::addColumn<QString>("expected");
    QTest::newRow("replaced by a copy")
        << "replace"
        << "x.txt was replaced or moved. Undo cannot safely continue.";
    QTest::newRow("deleted") << "delete"
                             << "x.txt is missing or no longer accessible.";
    // The reversal is judged before its journal exists, so no wrapper.
    QTest::newRow("old name taken again")
        << "recreate"
        << "x.txt: A file or folder with this name already exists.";
}

void RenameEngineTest::undoRefusesWhenTheRenamedFileChanged() {
    QFETCH(QString, change);
    QFETCH(QString, expected);
    engine->execute({intent("d/a.txt", "x.txt")}, 5000);
    if (change == "replace") {
        QFile::remove(disk->at("d/x.txt"));
        disk->file("d/x.txt", "A");
    } else if (change == "delete") {
        QFile::remove(disk->at("d/x.txt"));
    } else {
        disk->file("d/a.txt", "new");
    }
    QCOMPARE(failureOf([&] { engine->undo(); }), expected);
    QVERIFY(!engine->hasRecovery());
    QCOMPARE(engine->undoCount(), 1);
}

void RenameEngineTest::recoveryCannotFindAMissingFileAndMovesNothing() {
    engine->execute({intent("d/a.txt", "x.txt"), intent("d/b.txt", "y.txt")}, 5000);
    // An interrupted batch whose second file is on a volume that went away.
    QFile undo(journal("undo.json"));
    QVERIFY(undo.open(QIODevice::ReadOnly));
    QByteArray active = undo.readAll().replace(R"("completed":true)", R"("completed":false)");
    QFile file(journal("active.json"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(active);
    file.close();
    QVERIFY(QDir().rename(disk->at("d/y.txt"), disk->at("elsewhere.txt")));

    QString expected =
        "Recovery cannot find the original b.txt. Reconnect its volume or restore it "
        "to a recorded location, then retry. The journal remains in " +
        disk->at("journal") + ".";
    QCOMPARE(failureOf([&] { engine->recover(); }), expected);
    QCOMPARE(entries(disk->at("d")), QStringList{"x.txt"});

    QVERIFY(QDir().rename(disk->at("elsewhere.txt"), disk->at("d/y.txt")));
    engine->recover();
    QCOMPARE(disk->read("d/a.txt"), QByteArray("A"));
    QCOMPARE(disk->read("d/b.txt"), QByteArray("B"));
    QVERIFY(!engine->hasRecovery());
}

void RenameEngineTest::journalFoldersAreSortedAndDistinct() {
    disk->file("b/x/one.txt");
    disk->file("a/y/two.txt");
    disk->file("b/x/three.txt");
    engine->execute({intent("b/x/one.txt", "1.txt"), intent("a/y/two.txt", "2.txt"),
                     intent("b/x/three.txt", "3.txt")},
                    5000);
    QCOMPARE(engine->journalFolders(false), (QList<QUrl>{disk->url("a/y"), disk->url("b/x")}));
    QCOMPARE(failureOf([&] { engine->journalFolders(true); }),
             QStringLiteral("No readable rename journal was found."));
}

void RenameEngineTest::engineRefusesAJournalFolderBehindALink() {
    disk->folder("real");
    disk->symlink("alias", disk->at("real"));
    QCOMPARE(failureOf([&] { RenameEngine(disk->at("alias/journal")); }),
             QStringLiteral("Cannot safely open journal. Symbolic links and unavailable folders "
                            "are not supported."));
}

QTEST_GUILESS_MAIN(RenameEngineTest)
#include "test_rename_engine.moc"
