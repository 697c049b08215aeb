#include "failure_of.h"
#include "temporary_folder.h"

#include "core/batch/file_record.h"
#include "core/engine/rename_engine.h"
#include "core/platform/unique_fd.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTest>

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <sys/file.h>

namespace {

QStringList entries(const QString& folder) {
    return QDir(folder).entryList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

using Files = QMap<QString, QByteArray>;

} // namespace

class RenameEngineTest : public QObject {
    Q_OBJECT
    std::unique_ptr<TemporaryFolder> disk;
    std::unique_ptr<RenameEngine> engine;

    // An interrupted batch as the disk shows it after a crash in phase two: the
    // journal of the completed batch, marked unfinished.
    void interruptAfterRenaming(const QList<RenameIntent>& intents) {
        engine->execute(intents, 5000);
        disk->file(
            "journal/active.json",
            disk->read("journal/undo.json").replace(R"("completed":true)", R"("completed":false)"));
    }
    RenameIntent intent(const QString& relative, const QString& filename) {
        return {FileRecord::make(disk->url(relative)), filename};
    }
    QString journal(const QString& name) const { return disk->at("journal/" + name); }
    // Every entry of `folder` but the journal's lock, with its content.
    Files files(const QString& folder) const {
        Files files;
        for (const QString& name : entries(disk->at(folder)))
            if (name != ".lock")
                files.insert(name, disk->read(folder + "/" + name));
        return files;
    }
    // Undone after each test, so a failing one leaves no protected file.
    QString immutable;

private slots:
    void init() {
        disk = std::make_unique<TemporaryFolder>();
        engine = std::make_unique<RenameEngine>(disk->at("journal"));
        disk->file("d/a.txt", "A");
        disk->file("d/b.txt", "B");
    }

    void cleanup() {
        if (!immutable.isEmpty())
            QProcess::execute("chattr", {"-i", immutable});
        immutable.clear();
    }

    void swapRenamesThroughStagingAndUndoRestores() {
        // Left by a process killed while probing this folder; the next batch here
        // removes it.
        disk->file("d/.tessary-3F2504E0-4F89-11D3-9A0C-0305E82C3301-probe", "");
        // Linux allows a colon and a tab in a name; undo gives such a name back.
        const QString screenshot = "d/at 10:30\t.png";
        disk->file(screenshot, "C");
        disk->file("d/keep.txt", "K");
        engine->execute({intent("d/keep.txt", "keep.txt"), intent("d/a.txt", "b.txt"),
                         intent("d/b.txt", "a.txt"), intent(screenshot, "c.png")},
                        5000);
        QCOMPARE(files("d"),
                 (Files{{"a.txt", "B"}, {"b.txt", "A"}, {"c.png", "C"}, {"keep.txt", "K"}}));
        // No active journal, no temporary.
        QCOMPARE(entries(disk->at("journal")), (QStringList{".lock", "undo.json"}));
        // The unchanged row is skipped and takes no position: the journaled files
        // are numbered from 0 whatever their rows.
        QVERIFY(disk->read("journal/undo.json").contains("-2\"") &&
                !disk->read("journal/undo.json").contains("-3\""));
        QVERIFY(!engine->hasRecovery());
        QCOMPARE(engine->undoCount(), 3);
        auto receipt = engine->completedReport();
        QVERIFY(receipt && receipt->completed && receipt->batchID);
        QCOMPARE(receipt->changedCount, 3);
        QCOMPARE(receipt->entries.first(), (RenameReport::Entry{"a.txt", "b.txt", "Renamed"}));

        // A fresh engine, as after a restart, undoes from the journal alone.
        engine = std::make_unique<RenameEngine>(disk->at("journal"));
        engine->undo();
        QCOMPARE(
            files("d"),
            (Files{{"a.txt", "A"}, {"b.txt", "B"}, {screenshot.mid(2), "C"}, {"keep.txt", "K"}}));
        QCOMPARE(engine->undoCount(), 0);
        QVERIFY(!engine->completedReport());
        QCOMPARE(entries(disk->at("journal")), QStringList{".lock"});
        QCOMPARE(failureOf([&] { engine->undo(); }), "No readable rename journal was found.");
    }

    void refusesBeforeChangingAnything_data() {
        QTest::addColumn<QString>("scenario");
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QStringList>("renames"); // "file>new name", files made where missing
        QTest::addColumn<QString>("expected");
        const QStringList one{"d/a.txt>new.txt"};
        const QString none = "There are no filename changes to apply.";
        const QString limit = "A batch must contain at most 5,000 unique files.";
        const QString busy = "Another Tessary operation is running. Try again when it finishes.";
        const QString pending = "An interrupted batch needs recovery first.";
        // clang-format off
        QTest::newRow("nothing changes") << "" << "execute" << QStringList{"d/a.txt>a.txt"} << none;
        QTest::newRow("empty batch") << "" << "execute" << QStringList() << none;
        QTest::newRow("only the Unicode form changes") << "" << "execute" << QStringList{"d/caf\u00e9.txt>cafe\u0301.txt"} << none;
        QTest::newRow("same file twice") << "" << "execute" << QStringList{"d/a.txt>x.txt", "d/a.txt>y.txt"} << limit;
        QTest::newRow("over the caller's limit") << "limit" << "execute" << QStringList{"d/a.txt>x.txt", "d/b.txt>y.txt"} << limit;
        QTest::newRow("destination created after the preview") << "taken" << "execute" << one << "a.txt: A file or folder with this name already exists.";
        QTest::newRow("another process holds a folder of the batch") << "folder locked" << "execute" << one << "Another Tessary operation is using a folder of this batch. Try again when it finishes.";
        QTest::newRow("staging path would be too long to journal") << "long folder" << "execute" << one << "a.txt: The complete path would be too long to journal safely. Shorten the folder path or filename.";
        QTest::newRow("immutable file") << "immutable" << "execute" << one << "a.txt: This file is protected against changes (immutable or append-only), so it cannot be renamed.";
        // Two folders on Linux, one path to the journal's reader.
        QTest::newRow("folders that differ only in Unicode form") << "" << "execute" << QStringList{"caf\u00e9/a.txt>same.txt", "cafe\u0301/b.txt>same.txt"} << "This batch cannot be journaled so that recovery could read it back: two of its paths differ only in Unicode form. Rename those files in separate batches. No new files were renamed.";
        QTest::newRow("rename while another operation runs") << "lock held" << "execute" << one << busy;
        QTest::newRow("undo while another operation runs") << "lock held" << "undo" << one << busy;
        QTest::newRow("recovery while another operation runs") << "lock held" << "recover" << one << busy;
        QTest::newRow("rename while recovery is pending") << "pending" << "execute" << QStringList{"d/b.txt>y.txt"} << pending;
        QTest::newRow("undo while recovery is pending") << "pending" << "undo" << one << pending;
        QTest::newRow("undo of a file replaced by a copy") << "renamed file replaced" << "undo" << one << "x.txt was replaced or moved. Undo cannot safely continue.";
        QTest::newRow("undo of a deleted file") << "renamed file deleted" << "undo" << one << "x.txt is missing or no longer accessible.";
        // The reversal is judged before its journal exists, so no wrapper.
        QTest::newRow("undo to an original name taken again") << "original name taken" << "undo" << one << "x.txt: A file or folder with this name already exists.";
        // clang-format on
    }

    void refusesBeforeChangingAnything() {
        QFETCH(QString, scenario);
        QFETCH(QString, operation);
        QFETCH(QStringList, renames);
        QFETCH(QString, expected);
        QList<RenameIntent> intents;
        for (const QString& rename : renames) {
            const QString file = rename.section('>', 0, 0);
            if (!QFile::exists(disk->at(file)))
                disk->file(file);
            intents.append(intent(file, rename.section('>', 1)));
        }
        const qsizetype limit = scenario == "limit" ? 1 : 5000;
        UniqueFd held; // released however the test ends
        if (operation == "undo" || scenario == "pending")
            engine->execute({intent("d/a.txt", "x.txt")}, 5000);
        if (scenario == "taken") {
            disk->file("d/new.txt", "someone else's");
        } else if (scenario == "folder locked" || scenario == "lock held") {
            const bool lock = scenario == "lock held";
            held.reset(::open((lock ? journal(".lock") : disk->at("d")).toUtf8().constData(),
                              O_RDONLY | O_CLOEXEC | (lock ? O_CREAT : O_DIRECTORY), 0600));
            QCOMPARE(::flock(held.get(), LOCK_EX | LOCK_NB), 0);
        } else if (scenario == "long folder") {
            // 980 bytes of folder: the new path fits, its staging path beside it does not.
            QString deep = "long/" + QString(200, 'f') + "/" + QString(200, 'g') + "/" +
                           QString(200, 'h') + "/" + QString(200, 'i') + "/";
            deep += QString(980 - disk->at(deep).toUtf8().size() - 1, 'j');
            disk->file(deep + "/a.txt", "A");
            intents = {intent(deep + "/a.txt", "new.txt")};
        } else if (scenario == "immutable") {
            if (QProcess::execute("chattr", {"+i", disk->at("d/a.txt")}) != 0)
                QSKIP("chattr +i is not available here");
            immutable = disk->at("d/a.txt");
        } else if (scenario == "pending") {
            QVERIFY(QFile::copy(journal("undo.json"), journal("active.json")));
            QVERIFY(engine->hasRecovery() && !engine->completedReport());
        } else if (scenario == "original name taken") {
            disk->file("d/a.txt", "new");
        } else if (scenario.startsWith("renamed file")) {
            QFile::remove(disk->at("d/x.txt"));
            if (scenario == "renamed file replaced")
                disk->file("d/x.txt", "A");
        }
        const Files journalBefore = files("journal");
        const Files folderBefore = files("d");
        QCOMPARE(failureOf([&] {
                     if (operation == "execute")
                         engine->execute(intents, limit);
                     else if (operation == "undo")
                         engine->undo();
                     else
                         engine->recover();
                 }),
                 expected);
        QCOMPARE(files("journal"), journalBefore);
        QCOMPARE(files("d"), folderBefore);
        // Nothing was written into the batch's folders either, not even a probe.
        for (const RenameIntent& refused : intents)
            QCOMPARE(entries(refused.source.folderPath()).filter(".tessary-"), QStringList());
    }

    void recoveryCannotFindAMissingFileAndMovesNothing() {
        interruptAfterRenaming({intent("d/a.txt", "x.txt"), intent("d/b.txt", "y.txt")});
        // The second file is on a volume that went away.
        QVERIFY(QDir().rename(disk->at("d/y.txt"), disk->at("elsewhere.txt")));
        QCOMPARE(failureOf([&] { engine->recover(); }),
                 "Recovery cannot find the original b.txt. Reconnect its volume or restore it to a "
                 "recorded location, then retry. The journal remains in " +
                     disk->at("journal") + ".");
        QCOMPARE(entries(disk->at("d")), QStringList{"x.txt"});
        QCOMPARE(engine->missingFiles().size(), 1);
        QCOMPARE(engine->missingFiles().first().original, disk->at("d/b.txt"));

        // Back under its original name, and protected: recovery leaves it there
        // rather than fail for ever trying to move it through its staging name.
        QVERIFY(QDir().rename(disk->at("elsewhere.txt"), disk->at("d/b.txt")));
        if (QProcess::execute("chattr", {"+i", disk->at("d/b.txt")}) == 0)
            immutable = disk->at("d/b.txt");
        engine->recover();
        QCOMPARE(files("d"), (Files{{"a.txt", "A"}, {"b.txt", "B"}}));
        QVERIFY(!engine->hasRecovery());
    }

    void restoringWhatCanBeFoundSetsTheRestAside() {
        disk->file("d/c.txt", "C");
        interruptAfterRenaming(
            {intent("d/a.txt", "x.txt"), intent("d/b.txt", "y.txt"), intent("d/c.txt", "z.txt")});
        // The file that was a waits under its staging name, on a volume that
        // records no birth time and came back under another device: recovery
        // cannot know it by its identity, but it keeps its inode.
        auto journalText = nlohmann::json::parse(disk->read("journal/active.json").toStdString());
        auto& first = journalText["entries"][0];
        first["identity"]["device"] = first["identity"]["device"].get<int>() + 1;
        first["identity"]["birthSeconds"] = 0;
        first["identity"]["birthNanos"] = 0;
        disk->file("journal/active.json", QByteArray::fromStdString(journalText.dump()));
        QVERIFY(QDir().rename(disk->at("d/x.txt"),
                              QString::fromStdString(first["staging"].get<std::string>())));
        const QByteArray active = disk->read("journal/active.json");
        // Another program saved over the renamed b: the file that was b is gone.
        QFile::remove(disk->at("d/y.txt"));
        disk->file("d/y.txt", "someone's new y");
        // And a sync client brought back a c.txt of its own.
        disk->file("d/c.txt", "synced c");
        QVERIFY(!failureOf([&] { engine->recover(); }).isEmpty());

        SetAsideBatch outcome = engine->restoreFound();
        QCOMPARE(outcome.restored, 1);
        QCOMPARE(outcome.missing.size(), 1);
        QCOMPARE(outcome.missing.first().final, disk->at("d/y.txt"));
        QCOMPARE(outcome.renamed.size(), 1);
        QCOMPARE(outcome.renamed.first().name, QStringLiteral("c (restored).txt"));
        QCOMPARE(files("d"), (Files{{"a.txt", "A"},
                                    {"c (restored).txt", "C"},
                                    {"c.txt", "synced c"},
                                    {"y.txt", "someone's new y"}}));
        // The journal is kept, whole, as a dated record that blocks nothing.
        QVERIFY(!engine->hasRecovery());
        QCOMPARE(engine->setAsideRecords().size(), 1);
        QCOMPARE(outcome.record, journal(engine->setAsideRecords().first()));
        QCOMPARE(disk->read("journal/" + engine->setAsideRecords().first()), active);
        engine->execute({intent("d/a.txt", "again.txt")}, 5000);
        QCOMPARE(engine->setAsideRecords().size(), 1);
    }

    // Over two folders, which the journal names sorted, each once.
    void operationsReportEachFileUpToTheTotal() {
        disk->file("c/c.txt", "C");
        const QList<RenameIntent> batch = {intent("d/a.txt", "x.txt"), intent("c/c.txt", "z.txt"),
                                           intent("d/b.txt", "y.txt")};
        QStringList heard;
        auto listen = [&](const RenameProgress& progress) { heard.append(progress.text()); };
        auto counted = [&](const QString& verb) {
            QStringList expected;
            for (int done = 0; done <= 3; ++done)
                expected.append(QStringLiteral("%1 %2 of 3 files…").arg(verb).arg(done));
            return std::exchange(heard, {}) == expected;
        };
        engine->execute(batch, 5000, listen);
        QVERIFY(counted("Renaming"));
        QCOMPARE(engine->journalFolders(false), (QList<QUrl>{disk->url("c"), disk->url("d")}));
        QCOMPARE(failureOf([&] { engine->journalFolders(true); }),
                 "No readable rename journal was found.");
        engine->undo(listen);
        QVERIFY(counted("Undoing"));
        interruptAfterRenaming(batch);
        engine->recover(listen);
        QVERIFY(counted("Recovering"));
        interruptAfterRenaming(batch);
        engine->restoreFound(listen);
        QVERIFY(counted("Restoring"));
        QCOMPARE(entries(disk->at("c")) + entries(disk->at("d")),
                 (QStringList{"c.txt", "a.txt", "b.txt"}));
    }

    void engineRefusesAJournalFolderBehindALink() {
        disk->symlink("alias", disk->folder("real"));
        QCOMPARE(failureOf([&] { RenameEngine(disk->at("alias/journal")); }),
                 "Cannot safely open journal. Symbolic links and unavailable folders are not "
                 "supported.");
    }
};

QTEST_GUILESS_MAIN(RenameEngineTest)
#include "test_rename_engine.moc"
