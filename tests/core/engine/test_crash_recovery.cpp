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
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString durableCalls = "renameat2,renameat,linkat,fsync,syncfs,write,unlinkat";

struct Run {
    bool crashed = false;
    int exitCode = 0;
    QString errors;
};

struct Fault {
    QString calls = {};
    // Negative: the call numbered -at and every later one.
    long at = 0;
    // An errno name, "kill", or a shell command run before the call goes ahead.
    QString action = {};
    // As on a kernel without openat2: folders are walked one component at a time.
    bool withoutOpenat2 = false;
    // statx of a path ending in this fails with EIO, as on a failing disk.
    QString statxFails = {};
    // The program the driver runs under, with its arguments.
    QStringList under = {};
};

Run drive(const QString& journal, const QStringList& arguments, const Fault& fault = {}) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // The driver may be built with AddressSanitizer, whose runtime otherwise
    // insists on being the first library loaded.
    environment.insert("ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0");
    if (fault.at != 0 || fault.withoutOpenat2 || !fault.statxFails.isEmpty()) {
        const bool command = fault.action != "kill" && !fault.action.startsWith('E');
        environment.insert("LD_PRELOAD", TESSARY_FAULT_SHIM);
        environment.insert("TESSARY_FAULT_STATX_EIO", fault.statxFails);
        if (fault.withoutOpenat2)
            environment.insert("TESSARY_FAULT_NO_OPENAT2", "1");
        environment.insert("TESSARY_FAULT_CALLS", fault.calls);
        environment.insert("TESSARY_FAULT_AT", fault.at < 0 ? QString::number(-fault.at) + "-"
                                                            : QString::number(fault.at));
        environment.insert("TESSARY_FAULT_ACTION", command ? "run" : fault.action);
        environment.insert("TESSARY_FAULT_COMMAND", command ? fault.action : QString());
    }
    process.setProcessEnvironment(environment);
    QStringList program = fault.under + QStringList{TESSARY_ENGINE_DRIVER, journal} + arguments;
    process.start(program.takeFirst(), program);
    process.waitForFinished(60000);
    return {process.exitStatus() == QProcess::CrashExit, process.exitCode(),
            QString::fromUtf8(process.readAllStandardError()).trimmed()};
}

// Each file's content is its original path, so where every file ended up can
// be read off the disk.
using Layout = QMap<QString, QString>; // relative path -> content

Layout named(const QStringList& files) {
    Layout layout;
    for (const QString& file : files)
        layout.insert(file, file);
    return layout;
}

Layout layoutOf(const QString& root, const QStringList& folders) {
    Layout layout;
    for (const QString& folder : folders) {
        for (const QString& name :
             QDir(root + "/" + folder).entryList(QDir::Files | QDir::Hidden | QDir::System)) {
            QFile file(root + "/" + folder + "/" + name);
            if (!file.open(QIODevice::ReadOnly))
                qFatal("cannot read a file the test made");
            layout.insert(QDir::cleanPath(folder + "/" + name), QString::fromUtf8(file.readAll()));
        }
    }
    return layout;
}

// Writes each of `files` under `root` with its content, unless it is there
// already: a volume prepared beforehand keeps the files it was given.
void write(const QString& root, const Layout& files) {
    for (auto it = files.begin(); it != files.end(); ++it) {
        QFile file(root + "/" + it.key());
        if (file.open(QIODevice::ReadOnly) && file.readAll() == it.value().toUtf8())
            continue;
        file.close();
        QDir().mkpath(QFileInfo(file).path());
        if (!file.open(QIODevice::WriteOnly) || file.write(it.value().toUtf8()) < 0)
            qFatal("cannot write a test file");
    }
}

// One batch, files in the folders d and e of `volume` (a fresh temporary
// folder when empty).
struct Scenario {
    Scenario(const QStringList& files, const QStringList& newNames, const QString& volume = {})
        : root(volume.isEmpty() ? disk.path() : volume), before(named(files)) {
        write(root, before);
        QDir().mkpath(root + "/e");
        arguments.append("execute");
        for (qsizetype i = 0; i < files.size(); ++i) {
            arguments.append(root + "/" + files[i] + "=" + newNames[i]);
            after.insert(files[i].section('/', 0, 0) + "/" + newNames[i], files[i]);
        }
        // Files on a volume were there long before the batch: a card pulled
        // during it never takes them with it.
        if (!volume.isEmpty())
            ::sync();
    }
    // A crash while probing a folder can leave the probe's empty hidden file;
    // it holds no user data and is not a staging name.
    Layout now() const {
        Layout files = layoutOf(root, {"d", "e"});
        files.removeIf([](auto file) { return file.key().contains("-probe"); });
        return files;
    }
    bool needsRecovery() const { return QFile::exists(journal + "/active.json"); }

    TemporaryFolder disk;
    const QString root;
    const QString journal = disk.at("journal");
    const Layout before;
    QStringList arguments;
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

// Kills a batch, or the undo of one when `undoing`, at every durable step in
// turn. `volume` gives the folder to work in for each step; after each kill
// `disturb` may change the world (a remount, a pulled card) before a fresh
// process recovers, and it says whether it could.
void interruptEveryStep(
    const QStringList& files, const QStringList& newNames, bool undoing,
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
        if (undoing)
            QCOMPARE(drive(batch.journal, batch.arguments).exitCode, 0);
        Run run = drive(batch.journal, undoing ? QStringList{"undo"} : batch.arguments,
                        {durableCalls, step, "kill"});
        QVERIFY2(disturb(), "the volume did not come back");
        said.clear();
        if (!run.crashed) {
            // Past the last durable step: the batch or the undo simply completed.
            QVERIFY2(run.exitCode == 0, qPrintable(run.errors));
            QVERIFY2(step > 20, "the matrix reached fewer steps than a batch has");
        } else if (batch.needsRecovery()) {
            Run recovery = drive(batch.journal, {"recover"});
            QVERIFY2(recovery.exitCode == 0,
                     qPrintable(QString("step %1: %2").arg(step).arg(recovery.errors)));
            said = recovery.errors;
        }
        QVERIFY2(!batch.needsRecovery(), qPrintable(QString::number(step)));
        // The batch was reversed, or the undo finished.
        const bool back = is(batch.now(), batch.before);
        if (back) {
            QVERIFY(!QFile::exists(batch.journal + "/undo.json"));
        } else {
            // The batch finished, maybe by a recovery after its journal was
            // marked completed, or recovery put back the names an undo was
            // reversing: undo (again) brings the originals back.
            QVERIFY2(is(batch.now(), batch.after),
                     qPrintable(QString("step %1 left %2; recovery said: %3")
                                    .arg(step)
                                    .arg(QDebug::toString(batch.now()), said)));
            Run undo = drive(batch.journal, {"undo"});
            QVERIFY2(undo.exitCode == 0, qPrintable(undo.errors));
            QVERIFY(is(batch.now(), batch.before));
        }
        if (!run.crashed)
            break;
        ++(back ? reversed : finished);
    }
    QVERIFY(reversed > 0);
    QVERIFY(finished > 0);
}

const QStringList twoFolders = {"d/a.txt", "d/b.txt", "e/a.txt"};
const QStringList twoFoldersRenamed = {"b.txt", "a.txt", "renamed.txt"};

} // namespace

Q_DECLARE_METATYPE(Fault)

class CrashRecoveryTest : public QObject {
    Q_OBJECT
private slots:
    void everyInterruptedRenameAndUndoRecovers_data() {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QStringList>("newNames");
        // clang-format off
        QTest::newRow("swap") << QStringList{"d/a.txt", "d/b.txt"} << QStringList{"b.txt", "a.txt"};
        QTest::newRow("rotation") << QStringList{"d/a.txt", "d/b.txt", "d/c.txt"} << QStringList{"b.txt", "c.txt", "a.txt"};
        QTest::newRow("unchanged row") << QStringList{"d/a.txt", "d/keep.txt"} << QStringList{"z.txt", "keep.txt"};
        QTest::newRow("two folders") << twoFolders << twoFoldersRenamed;
        QTest::newRow("case only") << QStringList{"d/a.txt", "d/b.txt"} << QStringList{"A.TXT", "b.txt"};
        // clang-format on
    }

    void everyInterruptedRenameAndUndoRecovers() {
        QFETCH(QStringList, files);
        QFETCH(QStringList, newNames);
        interruptEveryStep(files, newNames, false);
        interruptEveryStep(files, newNames, true);
    }

    void failuresAndHostileChangesLoseNothing_data() {
        QTest::addColumn<QString>("volume");
        QTest::addColumn<Fault>("fault");
        QTest::addColumn<QString>("expected"); // BATCH stands for the batch id
        QTest::addColumn<bool>("needsRecovery");
        QTest::addColumn<Layout>("left"); // besides the untouched files of the folder "other"
        const auto stopped = [](const QString& why) {
            return "The batch stopped safely: " + why +
                   " A recovery journal was kept. Use Recover original names before another batch. "
                   "Do not move any .tessary files.";
        };
        const Layout untouched = named({"d/a.txt", "d/b.txt"});
        const QString changed = stopped("The file or its folder changed. No replacement was made.");
        // Recovery cannot find b and moves nothing, rather than take the stranger
        // for it.
        const Layout stranded = {
            {"d/.tessary-BATCH-0", "d/a.txt"}, {"d/b.txt", "impostor"}, {"b-moved.txt", "d/b.txt"}};
        const QString swap = "mv %1/d/b.txt %1/b-moved.txt && printf impostor > %1/d/b.txt";
        // renameat2 calls: 1 the probe, 2-3 phase one, 4-5 phase two; with linkat,
        // 1 the probe, 2 the journal, 3 the first move.
        // clang-format off
        QTest::newRow("disk full writing the journal") << "" << Fault{"write", 1, "ENOSPC"} << "Could not write the recovery journal. No new operation can start." << false << untouched;
        QTest::newRow("journal flush fails") << "" << Fault{"fsync", 1, "EIO"} << "The recovery journal could not be saved to disk." << false << untouched;
        QTest::newRow("journal folder flush fails") << "" << Fault{"fsync", 2, "EIO"} << "Cannot sync the journal folder to disk." << true << untouched;
        QTest::newRow("folder flush after a move fails") << "" << Fault{"fsync", 3, "EIO"} << stopped("The folder could not confirm the change on disk. Keep the recovery journal and retry recovery.") << true << untouched;
        // Where RENAME_NOREPLACE is refused, a link and an unlink move the file; a
        // volume that refuses links too (exFAT over FUSE) cannot rename safely.
        QTest::newRow("volume refuses exclusive renames and links") << "" << Fault{"renameat2,linkat", -1, "EINVAL"} << "This volume cannot rename files without the risk of replacing others. No files were renamed." << false << untouched;
        QTest::newRow("cross-device rename refused") << "" << Fault{"renameat2", 2, "EXDEV"} << stopped("Cannot rename a.txt: Invalid cross-device link. Nothing was overwritten.") << true << untouched;
        QTest::newRow("exclusive rename and link refused mid-batch") << "" << Fault{"renameat2,linkat", -3, "EINVAL"} << stopped("Cannot rename a.txt: Invalid argument. Nothing was overwritten.") << true << untouched;
        QTest::newRow("destination created before the final move") << "" << Fault{"renameat2", 4, "printf intruder > %1/d/x.txt"} << stopped("Cannot rename .tessary-BATCH-0: File exists. Nothing was overwritten.") << true << Layout{{"d/a.txt", "d/a.txt"}, {"d/b.txt", "d/b.txt"}, {"d/x.txt", "intruder"}};
        QTest::newRow("file swapped for another of the same name") << "" << Fault{"renameat2", 2, swap} << changed << true << stranded;
        // After the check, before the move: the stranger is put back.
        QTest::newRow("file swapped between its check and its move") << "" << Fault{"renameat2", 3, swap} << changed << true << stranded;
        QTest::newRow("folder replaced by a link") << "" << Fault{"renameat2", 3, "mv %1/d %1/d-moved && ln -s %1/other %1/d"} << stopped("Cannot safely open d. Symbolic links and unavailable folders are not supported.") << true << Layout{{"d-moved/.tessary-BATCH-0", "d/a.txt"}, {"d-moved/.tessary-BATCH-1", "d/b.txt"}};
        // A FUSE volume refuses RENAME_NOREPLACE: linkat calls are 1 the journal,
        // 2 the probe, 3 a.txt straight to x.txt. Another program takes x.txt
        // after the probe found the volume usable.
        QTest::newRow("name taken on a FUSE volume") << "fuse" << Fault{"linkat", 3, "printf intruder > %1/d/x.txt"} << stopped("Cannot rename a.txt: File exists. Nothing was overwritten.") << true << Layout{{"d/a.txt", "d/a.txt"}, {"d/b.txt", "d/b.txt"}, {"d/x.txt", "intruder"}};
        // clang-format on
    }

    void failuresAndHostileChangesLoseNothing() {
        QFETCH(QString, volume);
        QFETCH(Fault, fault);
        QFETCH(QString, expected);
        QFETCH(bool, needsRecovery);
        QFETCH(Layout, left);
        QString whyNot;
        auto fuse = volume == "fuse" ? MountedVolume::fuse(whyNot) : nullptr;
        if (volume == "fuse" && !fuse)
            QSKIP(qPrintable(whyNot));
        Scenario batch({"d/a.txt", "d/b.txt"}, {"x.txt", "y.txt"}, fuse ? fuse->path() : QString());
        Layout expectedLayout = {{"other/a.txt", "other a"},
                                 {"other/b.txt", "other b"},
                                 {"other/.tessary-bait", "bait"}};
        write(batch.root, expectedLayout);
        fault.action.replace("%1", batch.root);
        Run run = drive(batch.journal, batch.arguments, fault);
        // {"version":1,"id":"…": the id is the sixth piece between quotes.
        const QString id =
            QString::fromUtf8(batch.disk.read("journal/active.json")).section('"', 5, 5);
        QCOMPARE(run.errors, expected.replace("BATCH", id));
        QCOMPARE(batch.needsRecovery(), needsRecovery);
        // No temporary journal is left behind, whichever step failed.
        QCOMPARE(QDir(batch.journal).entryList({".journal-*"}, QDir::Files | QDir::Hidden),
                 QStringList());
        // Recovery puts back what it can find, and nothing outside the batch is
        // renamed or overwritten.
        if (needsRecovery)
            drive(batch.journal, {"recover"});
        for (auto it = left.begin(); it != left.end(); ++it)
            expectedLayout.insert(QString(it.key()).replace("BATCH", id), it.value());
        QStringList folders = {".", "d-moved", "other"};
        if (!QFileInfo(batch.root + "/d").isSymLink())
            folders.append("d");
        QCOMPARE(layoutOf(batch.root, folders), expectedLayout);
    }

    void folderWalkWithoutOpenat2RefusesLinksToo() {
        Scenario batch({"d/a.txt", "d/b.txt"}, {"b.txt", "a.txt"});
        batch.disk.symlink("alias", batch.root + "/d");
        const Fault walk{.withoutOpenat2 = true};
        QCOMPARE(drive(batch.journal, {"execute", batch.root + "/alias/a.txt=z.txt"}, walk).errors,
                 QStringLiteral("Cannot safely open alias. Symbolic links and unavailable "
                                "folders are not supported."));
        QCOMPARE(drive(batch.journal, batch.arguments, walk).exitCode, 0);
        QCOMPARE(batch.now(), batch.after);
        QCOMPARE(drive(batch.journal, {"undo"}, walk).exitCode, 0);
        QCOMPARE(batch.now(), batch.before);
    }

    void aJournalThatCannotBeSeenStillBlocksNewBatches() {
        Scenario batch({"d/a.txt", "d/other.txt"}, {"x.txt", "y.txt"});
        // Killed at its first move to a staging name: an interrupted batch.
        QVERIFY(drive(batch.journal, {"execute", batch.root + "/d/a.txt=x.txt"},
                      {"renameat2", 2, "kill"})
                    .crashed);
        const QByteArray interrupted = batch.disk.read("journal/active.json");
        QVERIFY(!interrupted.isEmpty());
        QCOMPARE(drive(batch.journal, {"execute", batch.root + "/d/other.txt=y.txt"},
                       {.statxFails = "/active.json"})
                     .errors,
                 QStringLiteral("An interrupted batch needs recovery first."));
        QCOMPARE(batch.disk.read("journal/active.json"), interrupted);
        QVERIFY(QFile::exists(batch.root + "/d/other.txt"));
    }

    // The kernel refuses to rename another user's file in a sticky folder; a batch
    // that met this halfway would strand every file before it.
    void anotherUsersFileInASharedFolderIsRefusedBeforeJournaling() {
        if (geteuid() != 0 || QStandardPaths::findExecutable("setpriv").isEmpty())
            QSKIP("acting as another user needs root and setpriv");
        Scenario batch({"d/mine.txt", "d/theirs.txt"}, {"a.txt", "b.txt"});
        QDir().mkpath(batch.journal);
        QVERIFY(::chmod(batch.root.toUtf8().constData(), 0755) == 0);
        QVERIFY(::chmod((batch.root + "/d").toUtf8().constData(), 01777) == 0);
        QVERIFY(::chown(batch.journal.toUtf8().constData(), 65534, 65534) == 0);
        QVERIFY(::chown((batch.root + "/d/mine.txt").toUtf8().constData(), 65534, 65534) == 0);
        Run run = drive(batch.journal, batch.arguments,
                        {.under = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"}});
        QCOMPARE(run.errors,
                 QStringLiteral("theirs.txt: This file belongs to another user in a shared "
                                "folder, so only its owner can rename it."));
        QVERIFY(!batch.needsRecovery());
        QCOMPARE(batch.now(), batch.before);
    }

    void volumesThatComeBackAsAnotherDeviceRecover_data() {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QStringList>("newNames");
        QTest::addColumn<bool>("pulled");
        // fuse: a NAS share or sshfs mount after a reboot. No birth times, so the
        // volume is known again by what it mounts. Like NFS it refuses
        // RENAME_NOREPLACE, so each move is a link under the new name and the
        // removal of the old one; a kill between the two (and at every other
        // step, of an undo too) must still leave every file under exactly one
        // visible name.
        // overlay: gives a file or folder a new birth time when it copies it up
        // at its first change; every step starts from files only in the lower
        // layer.
        for (const char* type : {"ext4", "xfs", "btrfs", "fuse", "overlay"})
            QTest::newRow(type) << QString(type) << twoFolders << twoFoldersRenamed << false;
        // Cards, sticks and Windows disks, pulled out without unmounting and
        // plugged in again: FAT32 and exFAT number their files afresh at every
        // mount, and ignore letter case, so a name that changes only in case is
        // among the renames. Each file's content is its path, of a length of its
        // own, for there a file is known by its size and times.
        const QStringList card = {"d/IMG_0001.JPG", "d/a.txt", "d/bb.txt", "e/a.txt"};
        const QStringList cardRenamed = {"img_0001.JPG", "bb.txt", "a.txt", "renamed.txt"};
        for (const char* type : {"vfat", "exfat", "ntfs"})
            QTest::newRow(type) << QString(type) << card << cardRenamed << true;
    }

    // A USB or loop disk attached again comes back under another device number,
    // and btrfs takes a new one at every mount: recovery and undo must still know
    // every file, after a crash at any step. A card pulled at that step keeps
    // only what the batch had flushed.
    void volumesThatComeBackAsAnotherDeviceRecover() {
        // The kill matrices on real volumes mount, kill and recover hundreds of
        // times; under the sanitizers that takes minutes each and checks nothing
        // the matrices in a temporary folder do not check there already.
#ifdef TESSARY_SANITIZED
        QSKIP("real volumes are checked by the normal build");
#endif
        QFETCH(QString, type);
        QFETCH(QStringList, files);
        QFETCH(QStringList, newNames);
        QFETCH(bool, pulled);
        QString whyNot;
        auto mount = [&] {
            if (type == "overlay")
                return MountedVolume::overlay(
                    [&](const QString& lower) { write(lower, named(files)); }, whyNot);
            return type == "fuse" ? MountedVolume::fuse(whyNot) : MountedVolume::loop(type, whyNot);
        };
        auto volume = mount();
        if (!volume)
            QSKIP(qPrintable(whyNot));
        if (pulled || type == "overlay") {
            // A card may come back with an entry no file system check has cleared
            // yet, so each step starts from a fresh volume.
            auto fresh = [&] {
                volume.reset();
                volume = mount();
                if (!volume)
                    qFatal("the volume could not be made again");
                return volume->path();
            };
            interruptEveryStep(
                files, newNames, false, fresh,
                [&] { return !pulled || volume->comeBackAfterPull(); }, type == "vfat");
            return;
        }
        struct stat first {};
        struct stat second {};
        QCOMPARE(::stat(volume->path().toUtf8().constData(), &first), 0);
        QVERIFY(volume->comeBackAsAnotherDevice());
        QCOMPARE(::stat(volume->path().toUtf8().constData(), &second), 0);
        QVERIFY2(first.st_dev != second.st_dev, "the volume came back under the same device");
        auto path = [&] { return volume->path(); };
        interruptEveryStep(files, newNames, false, path,
                           [&] { return volume->comeBackAsAnotherDevice(); });
        if (type == "fuse")
            interruptEveryStep(files, newNames, true, path);
    }

    // Another mount where the batch's FUSE volume was, showing the very files
    // (so the same inode numbers) under the same names through a bind mount: only
    // the recorded volume name tells it apart, and undo must refuse.
    void anotherVolumeMountedInAFuseVolumesPlaceIsNotTakenForIt() {
        QString whyNot;
        auto volume = MountedVolume::fuse(whyNot);
        if (!volume)
            QSKIP(qPrintable(whyNot));
        Scenario batch({"d/a.txt"}, {"x.txt"}, volume->path());
        QCOMPARE(drive(batch.journal, batch.arguments).exitCode, 0);
        const QString other = batch.disk.at("other");
        QDir().mkpath(other);
        QCOMPARE(
            QProcess::execute("mount", {"--bind", QFileInfo(batch.root).path() + "/source", other}),
            0);
        // bindfs keeps the bind mount busy, so it goes first.
        auto unmount = qScopeGuard([&] {
            QProcess::execute("umount", {batch.root});
            QProcess::execute("umount", {other});
        });
        QCOMPARE(QProcess::execute("umount", {batch.root}), 0);
        QCOMPARE(QProcess::execute("bindfs", {other, batch.root}), 0);
        QCOMPARE(drive(batch.journal, {"undo"}).errors,
                 "The volume of x.txt was mounted again and cannot be recognised, so undo "
                 "cannot be sure it is the same file. No files were changed.");
        QCOMPARE(batch.now(), batch.after);
    }
};

QTEST_GUILESS_MAIN(CrashRecoveryTest)
#include "test_crash_recovery.moc"
