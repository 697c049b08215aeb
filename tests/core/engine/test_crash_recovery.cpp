// Interrupts the engine, in a process of its own, at every durable step in
// turn (each rename, each fsync, each journal write and removal) and checks
// that recovery in a fresh process loses nothing. Faults are injected at the
// real system calls by a preloaded library, so the product carries no test
// hooks.

#include "mounted_volume.h"
#include "temporary_folder.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The kill matrices on real volumes mount, kill and recover hundreds of
// times; under the sanitizers that takes minutes each and checks nothing the
// matrices in a temporary folder do not check there already, so they run in
// the normal build only.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif
constexpr const char* volumesInNormalBuild = "real volumes are checked by the normal build";

const QString durableCalls = "renameat2,renameat,linkat,fsync,syncfs,write,unlinkat";

struct Run {
    bool crashed = false;
    int exitCode = 0;
    QString errors;
};

struct Fault {
    QString calls;
    // Negative: the call numbered -at and every later one.
    long at = 0;
    QString action;
    QString command;
    // As on a kernel without openat2: folders are walked one component at a time.
    bool withoutOpenat2 = false;
    // statx of a path ending in this fails with EIO, as on a failing disk.
    QString statxFails = {};
};

Run drive(const QString& journal, const QStringList& arguments, const Fault& fault = {}) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // The driver may be built with AddressSanitizer, whose runtime otherwise
    // insists on being the first library loaded.
    environment.insert("ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0");
    if (fault.at != 0 || fault.withoutOpenat2 || !fault.statxFails.isEmpty()) {
        environment.insert("LD_PRELOAD", TESSARY_FAULT_SHIM);
        environment.insert("TESSARY_FAULT_STATX_EIO", fault.statxFails);
        if (fault.withoutOpenat2)
            environment.insert("TESSARY_FAULT_NO_OPENAT2", "1");
        environment.insert("TESSARY_FAULT_CALLS", fault.calls);
        environment.insert("TESSARY_FAULT_AT", fault.at < 0 ? QString::number(-fault.at) + "-"
                                                            : QString::number(fault.at));
        environment.insert("TESSARY_FAULT_ACTION", fault.action);
        environment.insert("TESSARY_FAULT_COMMAND", fault.command);
    }
    process.setProcessEnvironment(environment);
    process.start(TESSARY_ENGINE_DRIVER, QStringList{journal} + arguments);
    process.waitForFinished(60000);
    return {process.exitStatus() == QProcess::CrashExit, process.exitCode(),
            QString::fromUtf8(process.readAllStandardError()).trimmed()};
}

// Each file's content is its original path, so where every file ended up can
// be read off the disk.
struct Batch {
    QStringList originals;
    QStringList finals;
};

using Layout = QMap<QString, QString>; // relative path -> content

Layout layoutOf(const QString& root, const QStringList& folders) {
    Layout layout;
    for (const QString& folder : folders) {
        for (const QString& name :
             QDir(root + "/" + folder).entryList(QDir::Files | QDir::Hidden | QDir::System)) {
            QFile file(root + "/" + folder + "/" + name);
            if (!file.open(QIODevice::ReadOnly))
                qFatal("cannot read a file the test made");
            layout.insert(folder + "/" + name, QString::fromUtf8(file.readAll()));
        }
    }
    return layout;
}

Layout layoutOf(const TemporaryFolder& disk, const QStringList& folders) {
    return layoutOf(disk.path(), folders);
}

Layout expectedLayout(const QStringList& places, const QStringList& contents) {
    Layout layout;
    for (qsizetype i = 0; i < places.size(); ++i)
        layout.insert(places[i], contents[i]);
    return layout;
}

// For a failure's message: each file, then the file its content came from.
QString shown(const Layout& layout) {
    QStringList files;
    for (auto it = layout.begin(); it != layout.end(); ++it)
        files.append(it.key() + " (" + it.value() + ")");
    return files.join(", ");
}

// A crash while probing a folder can leave the probe's empty hidden file; it
// holds no user data and is not a staging name.
Layout withoutProbes(Layout layout) {
    for (auto it = layout.begin(); it != layout.end();) {
        if (it.key().contains("-probe"))
            it = layout.erase(it);
        else
            ++it;
    }
    return layout;
}

// One batch of the matrix, files in the folders d and e of `volume` (a fresh
// temporary folder when empty). A file already there with its content is
// kept, so a volume prepared beforehand keeps the files it was given.
struct Scenario {
    Scenario(const QStringList& files, const QStringList& newNames, const QString& volume = {})
        : root(volume.isEmpty() ? disk.path() : volume) {
        QStringList finals;
        arguments.append("execute");
        for (qsizetype i = 0; i < files.size(); ++i) {
            QString path = root + "/" + files[i];
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly) || file.readAll() != files[i].toUtf8()) {
                file.close();
                QDir().mkpath(QFileInfo(path).path());
                if (!file.open(QIODevice::WriteOnly) || file.write(files[i].toUtf8()) < 0)
                    qFatal("cannot write a test file");
            }
            arguments.append(path + "=" + newNames[i]);
            finals.append(files[i].section('/', 0, 0) + "/" + newNames[i]);
        }
        QDir().mkpath(root + "/e");
        // Files on a volume were there long before the batch: a card pulled
        // during it never takes them with it.
        if (!volume.isEmpty())
            ::sync();
        before = expectedLayout(files, files);
        after = expectedLayout(finals, files);
    }
    Layout now() const { return withoutProbes(layoutOf(root, {"d", "e"})); }
    bool needsRecovery() const { return QFile::exists(journal + "/active.json"); }

    TemporaryFolder disk;
    const QString root;
    const QString journal = disk.at("journal");
    QStringList arguments;
    Layout before;
    Layout after;
};

// Whether `now` is `expected`, but for the one extra entry a FAT32 card may
// keep when it is pulled between the flush of a moved file and that of its
// folder: the file in flight under its old and its new entry, which share its
// clusters. Recovery leaves the file under its original name and the other
// entry alone, since removing either would free the clusters the other still
// uses, and must have told the person (`said`) which name that is.
bool isBesideAReportedEntry(Layout now, const Layout& expected, const QString& said) {
    for (auto it = now.begin(); it != now.end(); ++it) {
        QString kept = expected.key(it.value());
        if (!expected.contains(it.key()) && !kept.isEmpty() && now.value(kept) == it.value()) {
            if (!said.contains(QFileInfo(it.key()).fileName()))
                return false;
            now.erase(it);
            break;
        }
    }
    return now == expected;
}

// Kills a batch at every durable step in turn. `volume` gives the folder to
// work in for each step; after each kill `disturb` may change the world (a
// remount, a pulled card) before a fresh process recovers, and it says
// whether it could.
void interruptEveryStep(
    const QStringList& files, const QStringList& newNames,
    const std::function<QString()>& volume = [] { return QString(); },
    const std::function<bool()>& disturb = [] { return true; }, bool mayKeepSecondEntry = false) {
    QString said;
    auto is = [&](const Layout& now, const Layout& expected) {
        return now == expected ||
               (mayKeepSecondEntry && isBesideAReportedEntry(now, expected, said));
    };
    int reversed = 0;
    int finished = 0;
    for (long step = 1;; ++step) {
        Scenario batch(files, newNames, volume());
        Run run = drive(batch.journal, batch.arguments, {durableCalls, step, "kill", {}});
        if (!run.crashed) {
            // Past the last durable step: the batch simply completed.
            QVERIFY2(run.exitCode == 0, qPrintable(run.errors));
            QVERIFY2(step > 20, "the matrix reached fewer steps than a batch has");
            QVERIFY2(disturb(), "the volume did not come back");
            Run undo = drive(batch.journal, {"undo"});
            QVERIFY2(undo.exitCode == 0, qPrintable(undo.errors));
            break;
        }
        QVERIFY2(disturb(), "the volume did not come back");
        said.clear();
        if (batch.needsRecovery()) {
            Run recovery = drive(batch.journal, {"recover"});
            QVERIFY2(recovery.exitCode == 0,
                     qPrintable(QString("step %1: %2").arg(step).arg(recovery.errors)));
            said = recovery.errors;
        }
        QVERIFY2(!batch.needsRecovery(), qPrintable(QString::number(step)));
        if (is(batch.now(), batch.before)) {
            ++reversed;
            continue;
        }
        // Interrupted after the journal was marked completed: recovery
        // finished the batch, and undo brings the originals back.
        QVERIFY2(is(batch.now(), batch.after),
                 qPrintable(QString("step %1 left %2; recovery said: %3")
                                .arg(step)
                                .arg(shown(batch.now()), said)));
        ++finished;
        Run undo = drive(batch.journal, {"undo"});
        QVERIFY2(undo.exitCode == 0, qPrintable(undo.errors));
        QVERIFY(is(batch.now(), batch.before));
    }
    QVERIFY(reversed > 0);
    QVERIFY(finished > 0);
}

// Kills the undo of a completed batch at every durable step in turn.
void interruptEveryUndoStep(const QStringList& files, const QStringList& newNames,
                            const QString& volume = {}) {
    for (long step = 1;; ++step) {
        Scenario batch(files, newNames, volume);
        QCOMPARE(drive(batch.journal, batch.arguments).exitCode, 0);
        Run run = drive(batch.journal, {"undo"}, {durableCalls, step, "kill", {}});
        if (!run.crashed) {
            QCOMPARE(run.exitCode, 0);
            QCOMPARE(batch.now(), batch.before);
            break;
        }
        if (batch.needsRecovery()) {
            Run recovery = drive(batch.journal, {"recover"});
            QVERIFY2(recovery.exitCode == 0, qPrintable(recovery.errors));
        }
        // Either the undo finished, or recovery put back the names it was
        // reversing and the undo can simply be tried again.
        if (batch.now() == batch.before) {
            QVERIFY(!QFile::exists(batch.journal + "/undo.json"));
            continue;
        }
        QVERIFY2(batch.now() == batch.after,
                 qPrintable(QString("step %1 left %2").arg(step).arg(shown(batch.now()))));
        Run again = drive(batch.journal, {"undo"});
        QVERIFY2(again.exitCode == 0, qPrintable(again.errors));
        QCOMPARE(batch.now(), batch.before);
    }
}

// Each file of `files` under `root`, with its content.
void writeFiles(const QString& root, const Layout& files) {
    for (auto it = files.begin(); it != files.end(); ++it) {
        QDir().mkpath(QFileInfo(root + "/" + it.key()).path());
        QFile file(root + "/" + it.key());
        if (!file.open(QIODevice::WriteOnly) || file.write(it.value().toUtf8()) < 0)
            qFatal("cannot write a test file");
    }
}

// Whether the folder's file system refuses RENAME_NOREPLACE, as NFS does.
bool refusesExclusiveRename(const QString& folder) {
    QFile probe(folder + "/probe");
    if (!probe.open(QIODevice::WriteOnly))
        return false;
    probe.close();
    QByteArray from = QFile::encodeName(folder + "/probe");
    QByteArray to = QFile::encodeName(folder + "/probe-renamed");
    bool refused = ::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) != 0;
    QFile::remove(folder + "/probe");
    QFile::remove(folder + "/probe-renamed");
    return refused;
}

} // namespace

class CrashRecoveryTest : public QObject {
    Q_OBJECT
private slots:
    void everyInterruptedRenameRecovers_data();
    void everyInterruptedRenameRecovers();
    void everyInterruptedUndoRecovers_data() { everyInterruptedRenameRecovers_data(); }
    void everyInterruptedUndoRecovers();
    void injectedFailuresLoseNothing_data();
    void injectedFailuresLoseNothing();
    void hostileChangesDuringABatchTouchNothingElse();
    void folderWalkWithoutOpenat2RefusesLinksToo();
    void aJournalThatCannotBeSeenStillBlocksNewBatches();
    void anotherUsersFileInASharedFolderIsRefusedBeforeJournaling();
    void volumesThatComeBackAsAnotherDeviceRecover_data();
    void volumesThatComeBackAsAnotherDeviceRecover();
    void overlayVolumesRecoverAfterCopyUp();
    void fuseVolumesRenameByLink_data() { everyInterruptedRenameRecovers_data(); }
    void fuseVolumesRenameByLink();
    void aNameTakenOnAFuseVolumeIsNeverReplaced();
    void anotherVolumeMountedInAFuseVolumesPlaceIsNotTakenForIt();
};

void CrashRecoveryTest::everyInterruptedRenameRecovers_data() {
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QStringList>("newNames");
    QTest::newRow("swap") << QStringList{"d/a.txt", "d/b.txt"} << QStringList{"b.txt", "a.txt"};
    QTest::newRow("rotation") << QStringList{"d/a.txt", "d/b.txt", "d/c.txt"}
                              << QStringList{"b.txt", "c.txt", "a.txt"};
    QTest::newRow("unchanged row")
        << QStringList{"d/a.txt", "d/keep.txt"} << QStringList{"z.txt", "keep.txt"};
    QTest::newRow("two folders") << QStringList{"d/a.txt", "d/b.txt", "e/a.txt"}
                                 << QStringList{"b.txt", "a.txt", "renamed.txt"};
    QTest::newRow("case only") << QStringList{"d/a.txt", "d/b.txt"}
                               << QStringList{"A.TXT", "b.txt"};
}

void CrashRecoveryTest::everyInterruptedRenameRecovers() {
    QFETCH(QStringList, files);
    QFETCH(QStringList, newNames);
    interruptEveryStep(files, newNames);
}

void CrashRecoveryTest::everyInterruptedUndoRecovers() {
    QFETCH(QStringList, files);
    QFETCH(QStringList, newNames);
    interruptEveryUndoStep(files, newNames);
}

void CrashRecoveryTest::injectedFailuresLoseNothing_data() {
    QTest::addColumn<QString>("calls");
    QTest::addColumn<int>("at");
    QTest::addColumn<QString>("action");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<bool>("needsRecovery");
    const QString stopped = "The batch stopped safely: ";
    const QString kept = " A recovery journal was kept. Use Recover original names before another "
                         "batch. Do not move any .tessary files.";
    QTest::newRow("disk full writing the journal")
        << "write" << 1 << "ENOSPC"
        << "Could not write the recovery journal. No new operation can start." << false;
    QTest::newRow("journal flush fails")
        << "fsync" << 1 << "EIO"
        << "The recovery journal could not be saved to disk." << false;
    QTest::newRow("journal folder flush fails")
        << "fsync" << 2 << "EIO"
        << "Cannot sync the journal folder to disk." << true;
    QTest::newRow("folder flush after a move fails")
        << "fsync" << 3 << "EIO"
        << stopped +
               "The folder could not confirm the change on disk. Keep the recovery journal "
               "and retry recovery." +
               kept
        << true;
    // Where RENAME_NOREPLACE is refused, a link and an unlink move the file; a
    // volume that refuses links too (exFAT over FUSE) cannot rename safely.
    QTest::newRow("volume refuses exclusive renames and links")
        << "renameat2,linkat" << -1 << "EINVAL"
        << "This volume cannot rename files without the risk of replacing others. No files were "
           "renamed."
        << false;
    QTest::newRow("cross-device rename refused")
        << "renameat2" << 2 << "EXDEV"
        << stopped + "Cannot rename a.txt: Invalid cross-device link. Nothing was overwritten." +
               kept
        << true;
    // renameat2 and linkat calls: 1 the probe, 2 the journal, 3 the first move.
    QTest::newRow("exclusive rename and link refused mid-batch")
        << "renameat2,linkat" << -3 << "EINVAL"
        << stopped + "Cannot rename a.txt: Invalid argument. Nothing was overwritten." + kept
        << true;
}

void CrashRecoveryTest::injectedFailuresLoseNothing() {
    QFETCH(QString, calls);
    QFETCH(int, at);
    QFETCH(QString, action);
    QFETCH(QString, expected);
    QFETCH(bool, needsRecovery);
    TemporaryFolder disk;
    disk.file("d/a.txt", "a");
    disk.file("d/b.txt", "b");
    const Layout before = layoutOf(disk, {"d"});
    const QString journal = disk.at("journal");
    Run run =
        drive(journal, {"execute", disk.at("d/a.txt") + "=b.txt", disk.at("d/b.txt") + "=a.txt"},
              {calls, at, action, {}});
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.errors, expected);
    QCOMPARE(QFile::exists(journal + "/active.json"), needsRecovery);
    // No temporary journal is left behind, whichever step failed.
    QCOMPARE(QDir(journal).entryList({".journal-*"}, QDir::Files | QDir::Hidden), QStringList());
    if (needsRecovery) {
        Run recovery = drive(journal, {"recover"});
        QVERIFY2(recovery.exitCode == 0, qPrintable(recovery.errors));
    }
    QCOMPARE(layoutOf(disk, {"d"}), before);
}

void CrashRecoveryTest::hostileChangesDuringABatchTouchNothingElse() {
    struct Case {
        const char* name;
        QString calls;
        long at;
        QString command;  // %1 is the temporary folder
        QString expected; // BATCH stands for the batch id
        const char* intactPath;
        const char* intactContent;
    };
    const QString stopped = "The batch stopped safely: ";
    const QString kept = " A recovery journal was kept. Use Recover original names before another "
                         "batch. Do not move any .tessary files.";
    // renameat2 calls: 1 probe, 2-3 phase one, 4-5 phase two.
    const QList<Case> cases = {
        {"destination created before the final move", "renameat2", 4,
         "printf intruder > %1/d/x.txt",
         stopped + "Cannot rename .tessary-BATCH-0: File exists. Nothing was overwritten." + kept,
         "d/x.txt", "intruder"},
        {"file swapped for another of the same name", "renameat2", 2,
         "mv %1/d/b.txt %1/b-moved.txt && printf impostor > %1/d/b.txt",
         stopped + "The file or its folder changed. No replacement was made." + kept, "b-moved.txt",
         "b"},
        // After the check, before the move: the stranger is put back.
        {"file swapped between its check and its move", "renameat2", 3,
         "mv %1/d/b.txt %1/b-moved.txt && printf impostor > %1/d/b.txt",
         stopped + "The file or its folder changed. No replacement was made." + kept, "d/b.txt",
         "impostor"},
        {"folder replaced by a link", "renameat2", 3, "mv %1/d %1/d-moved && ln -s %1/other %1/d",
         stopped +
             "Cannot safely open d. Symbolic links and unavailable folders are not "
             "supported." +
             kept,
         "d-moved/b.txt", nullptr},
    };
    for (const Case& hostile : cases) {
        TemporaryFolder disk;
        disk.file("d/a.txt", "a");
        disk.file("d/b.txt", "b");
        disk.file("other/a.txt", "other a");
        disk.file("other/b.txt", "other b");
        disk.file(QStringLiteral("other/.tessary-bait"), "bait");
        const QString journal = disk.at("journal");
        Run run = drive(journal,
                        {"execute", disk.at("d/a.txt") + "=x.txt", disk.at("d/b.txt") + "=y.txt"},
                        {hostile.calls, hostile.at, "run", hostile.command.arg(disk.path())});
        QCOMPARE(run.exitCode, 1);
        // {"version":1,"id":"…": the id is the sixth piece between quotes.
        QString batch = QString::fromUtf8(disk.read("journal/active.json")).section('"', 5, 5);
        QString expected = hostile.expected;
        QVERIFY2(run.errors == expected.replace("BATCH", batch),
                 qPrintable(QString(hostile.name) + ": " + run.errors));
        // Nothing outside the batch's folder was renamed or overwritten.
        QCOMPARE(disk.read("other/a.txt"), QByteArray("other a"));
        QCOMPARE(disk.read("other/b.txt"), QByteArray("other b"));
        QCOMPARE(QDir(disk.at("other")).entryList(QDir::Files | QDir::Hidden).size(), 3);
        if (hostile.intactContent)
            QCOMPARE(disk.read(hostile.intactPath), QByteArray(hostile.intactContent));
        else
            QVERIFY(!QFile::exists(disk.at(hostile.intactPath)));
    }
}

void CrashRecoveryTest::folderWalkWithoutOpenat2RefusesLinksToo() {
    TemporaryFolder disk;
    disk.file("d/a.txt", "a");
    disk.file("d/b.txt", "b");
    disk.symlink("alias", disk.at("d"));
    const QString journal = disk.at("journal");
    const Fault walk{{}, 0, {}, {}, true};

    Run run = drive(journal, {"execute", disk.at("alias/a.txt") + "=z.txt"}, walk);
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.errors, QStringLiteral("Cannot safely open alias. Symbolic links and unavailable "
                                        "folders are not supported."));

    run = drive(journal, {"execute", disk.at("d/a.txt") + "=b.txt", disk.at("d/b.txt") + "=a.txt"},
                walk);
    QVERIFY2(run.exitCode == 0, qPrintable(run.errors));
    QCOMPARE(disk.read("d/a.txt"), QByteArray("b"));
    run = drive(journal, {"undo"}, walk);
    QVERIFY2(run.exitCode == 0, qPrintable(run.errors));
    QCOMPARE(disk.read("d/a.txt"), QByteArray("a"));
}

void CrashRecoveryTest::aJournalThatCannotBeSeenStillBlocksNewBatches() {
    Scenario batch({"d/a.txt"}, {"x.txt"});
    // Killed at its first move to a staging name: an interrupted batch.
    QVERIFY(drive(batch.journal, batch.arguments, {"renameat2", 2, "kill", {}}).crashed);
    const QByteArray interrupted = batch.disk.read("journal/active.json");
    QVERIFY(!interrupted.isEmpty());
    QFile(batch.root + "/d/other.txt").open(QIODevice::WriteOnly);

    Fault unseen;
    unseen.statxFails = "/active.json";
    Run run = drive(batch.journal, {"execute", batch.root + "/d/other.txt=y.txt"}, unseen);
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.errors, QStringLiteral("An interrupted batch needs recovery first."));
    QCOMPARE(batch.disk.read("journal/active.json"), interrupted);
    QVERIFY(QFile::exists(batch.root + "/d/other.txt"));
}

// The kernel refuses to rename another user's file in a sticky folder; a batch
// that met this halfway would strand every file before it.
void CrashRecoveryTest::anotherUsersFileInASharedFolderIsRefusedBeforeJournaling() {
    if (geteuid() != 0 || QStandardPaths::findExecutable("setpriv").isEmpty())
        QSKIP("acting as another user needs root and setpriv");
    TemporaryFolder disk;
    disk.file("shared/mine.txt", "mine");
    disk.file("shared/theirs.txt", "theirs");
    const QString journal = disk.at("journal");
    QDir().mkpath(journal);
    const QByteArray nobody = "65534";
    QVERIFY(::chmod(disk.path().toUtf8().constData(), 0755) == 0);
    QVERIFY(::chmod(disk.at("shared").toUtf8().constData(), 01777) == 0);
    QVERIFY(::chown(journal.toUtf8().constData(), 65534, 65534) == 0);
    QVERIFY(::chown(disk.at("shared/mine.txt").toUtf8().constData(), 65534, 65534) == 0);

    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0");
    process.setProcessEnvironment(environment);
    process.start("setpriv",
                  {"--reuid=" + nobody, "--regid=" + nobody, "--clear-groups",
                   TESSARY_ENGINE_DRIVER, journal, "execute", disk.at("shared/mine.txt") + "=a.txt",
                   disk.at("shared/theirs.txt") + "=b.txt"});
    QVERIFY(process.waitForFinished(60000));
    QCOMPARE(QString::fromUtf8(process.readAllStandardError()).trimmed(),
             QStringLiteral("theirs.txt: This file belongs to another user in a shared folder, "
                            "so only its owner can rename it."));
    QVERIFY(!QFile::exists(journal + "/active.json"));
    QCOMPARE(layoutOf(disk, {"shared"}),
             expectedLayout({"shared/mine.txt", "shared/theirs.txt"}, {"mine", "theirs"}));
}

const QStringList twoFolders = {"d/a.txt", "d/b.txt", "e/a.txt"};
const QStringList twoFoldersRenamed = {"b.txt", "a.txt", "renamed.txt"};

void CrashRecoveryTest::volumesThatComeBackAsAnotherDeviceRecover_data() {
    QTest::addColumn<QString>("type");
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QStringList>("newNames");
    QTest::addColumn<bool>("pulled");
    QTest::newRow("ext4") << "ext4" << twoFolders << twoFoldersRenamed << false;
    QTest::newRow("xfs") << "xfs" << twoFolders << twoFoldersRenamed << false;
    QTest::newRow("btrfs") << "btrfs" << twoFolders << twoFoldersRenamed << false;
    // A NAS share or sshfs mount after a reboot: no birth times, so the
    // volume is known again by what it mounts.
    QTest::newRow("fuse") << "fuse" << twoFolders << twoFoldersRenamed << false;
    // Cards, sticks and Windows disks, pulled out without unmounting and
    // plugged in again: FAT32 and exFAT number their files afresh at every
    // mount, and ignore letter case, so a name that changes only in case is
    // among the renames. Each file's content is its path, of a length of its
    // own, for there a file is known by its size and times.
    const QStringList card = {"d/IMG_0001.JPG", "d/a.txt", "d/bb.txt", "e/a.txt"};
    const QStringList cardRenamed = {"img_0001.JPG", "bb.txt", "a.txt", "renamed.txt"};
    QTest::newRow("vfat") << "vfat" << card << cardRenamed << true;
    QTest::newRow("exfat") << "exfat" << card << cardRenamed << true;
    QTest::newRow("ntfs") << "ntfs" << card << cardRenamed << true;
}

// A USB or loop disk attached again comes back under another device number,
// and btrfs takes a new one at every mount: recovery and undo must still know
// every file, after a crash at any step. A card pulled at that step keeps
// only what the batch had flushed.
void CrashRecoveryTest::volumesThatComeBackAsAnotherDeviceRecover() {
    if (sanitized)
        QSKIP(volumesInNormalBuild);
    QFETCH(QString, type);
    QFETCH(QStringList, files);
    QFETCH(QStringList, newNames);
    QFETCH(bool, pulled);
    QString whyNot;
    auto volume = type == "fuse" ? MountedVolume::fuse(whyNot) : MountedVolume::loop(type, whyNot);
    if (!volume)
        QSKIP(qPrintable(whyNot));
    struct stat first {};
    struct stat second {};
    QCOMPARE(::stat(volume->path().toUtf8().constData(), &first), 0);
    QVERIFY(volume->comeBackAsAnotherDevice());
    QCOMPARE(::stat(volume->path().toUtf8().constData(), &second), 0);
    QVERIFY2(first.st_dev != second.st_dev, "the volume came back under the same device");
    if (!pulled) {
        interruptEveryStep(
            files, newNames, [&] { return volume->path(); },
            [&] { return volume->comeBackAsAnotherDevice(); });
        return;
    }
    // A card may come back with an entry no file system check has cleared
    // yet, so each step starts from a freshly formatted one.
    auto fresh = [&] {
        volume.reset();
        volume = MountedVolume::loop(type, whyNot);
        if (!volume)
            qFatal("the volume could not be made again");
        return volume->path();
    };
    interruptEveryStep(
        files, newNames, fresh, [&] { return volume->comeBackAfterPull(); }, type == "vfat");
}

// An overlay gives a file or folder a new birth time when it copies it up at
// its first change; every step starts from files only in the lower layer.
void CrashRecoveryTest::overlayVolumesRecoverAfterCopyUp() {
    if (sanitized)
        QSKIP(volumesInNormalBuild);
    std::unique_ptr<MountedVolume> overlay;
    QString whyNot;
    auto fresh = [&] {
        overlay.reset();
        overlay = MountedVolume::overlay(
            [](const QString& lower) {
                for (const QString& file : twoFolders) {
                    QDir().mkpath(QFileInfo(lower + "/" + file).path());
                    QFile written(lower + "/" + file);
                    if (!written.open(QIODevice::WriteOnly) || written.write(file.toUtf8()) < 0)
                        qFatal("cannot write a test file");
                }
            },
            whyNot);
        if (!overlay)
            qFatal("the overlay could not be mounted again");
        return overlay->path();
    };
    if (!MountedVolume::overlay([](const QString&) {}, whyNot))
        QSKIP(qPrintable(whyNot));
    interruptEveryStep(twoFolders, twoFoldersRenamed, fresh);
}

// Where the volume refuses RENAME_NOREPLACE, each move is a link under the new
// name and the removal of the old one; a kill between the two (and at every
// other step) must still leave every file under exactly one visible name.
void CrashRecoveryTest::fuseVolumesRenameByLink() {
    if (sanitized)
        QSKIP(volumesInNormalBuild);
    QFETCH(QStringList, files);
    QFETCH(QStringList, newNames);
    QString whyNot;
    auto volume = MountedVolume::fuse(whyNot);
    if (!volume)
        QSKIP(qPrintable(whyNot));
    if (!refusesExclusiveRename(volume->path()))
        QSKIP("this bindfs renames with RENAME_NOREPLACE, so the link form would not run");
    interruptEveryStep(files, newNames, [&] { return volume->path(); });
    interruptEveryUndoStep(files, newNames, volume->path());
}

void CrashRecoveryTest::aNameTakenOnAFuseVolumeIsNeverReplaced() {
    QString whyNot;
    auto volume = MountedVolume::fuse(whyNot);
    if (!volume)
        QSKIP(qPrintable(whyNot));
    TemporaryFolder disk;
    const QString root = volume->path();
    writeFiles(root, {{"d/a.txt", "a"}, {"d/b.txt", "b"}});
    // linkat calls: 1 the journal, 2 the probe, 3 a.txt straight to x.txt:
    // another program takes x.txt after the probe found the volume usable.
    Run run =
        drive(disk.at("journal"), {"execute", root + "/d/a.txt=x.txt", root + "/d/b.txt=y.txt"},
              {"linkat", 3, "run", "printf intruder > " + root + "/d/x.txt"});
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.errors.contains("File exists. Nothing was overwritten."), qPrintable(run.errors));
    QCOMPARE(drive(disk.at("journal"), {"recover"}).exitCode, 0);
    QCOMPARE(layoutOf(root, {"d"}),
             (Layout{{"d/a.txt", "a"}, {"d/b.txt", "b"}, {"d/x.txt", "intruder"}}));
}

// Another mount where the batch's FUSE volume was, showing the very files
// (so the same inode numbers) under the same names through a bind mount: only
// the recorded volume name tells it apart, and undo must refuse.
void CrashRecoveryTest::anotherVolumeMountedInAFuseVolumesPlaceIsNotTakenForIt() {
    QString whyNot;
    auto volume = MountedVolume::fuse(whyNot);
    if (!volume)
        QSKIP(qPrintable(whyNot));
    TemporaryFolder disk;
    const QString root = volume->path();
    writeFiles(root, {{"d/a.txt", "a"}});
    QCOMPARE(drive(disk.at("journal"), {"execute", root + "/d/a.txt=x.txt"}).exitCode, 0);
    const QString source = QFileInfo(root).path() + "/source";
    const QString other = disk.at("other");
    QDir().mkpath(other);
    QCOMPARE(QProcess::execute("mount", {"--bind", source, other}), 0);
    // bindfs keeps the bind mount busy, so it goes first.
    struct Unmount {
        QString root;
        QString other;
        ~Unmount() {
            QProcess::execute("umount", {root});
            QProcess::execute("umount", {other});
        }
    } unmount{root, other};
    QCOMPARE(QProcess::execute("umount", {root}), 0);
    QCOMPARE(QProcess::execute("bindfs", {other, root}), 0);
    Run undo = drive(disk.at("journal"), {"undo"});
    QCOMPARE(undo.exitCode, 1);
    QCOMPARE(undo.errors, "The volume of x.txt was mounted again and cannot be recognised, so undo "
                          "cannot be sure it is the same file. No files were changed.");
    QCOMPARE(layoutOf(root, {"d"}), (Layout{{"d/x.txt", "a"}}));
}

QTEST_GUILESS_MAIN(CrashRecoveryTest)
#include "test_crash_recovery.moc"
