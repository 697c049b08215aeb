#include "scripted_services.h"
#include "temporary_folder.h"

#include "app/app_model.h"
#include "app/qsettings_store.h"

#include "core/mapping/mapping_parser.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QSemaphore>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>

#include <atomic>
#include <cstdio>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

// Generous: every wait below ends as soon as its condition holds, and the
// sanitizer build is many times slower: a 5,000-file rename and undo there
// take longer than ten seconds.
constexpr int patience = 60000;

// A real model whose preview computations can be counted, and held back so
// that a test can supersede one at a moment of its choosing. What they share
// with the test outlives the model: a computation may still run when it goes.
struct Observation {
    std::atomic<int> computations{0};
    std::atomic<int> finished{0};
    // The next computation releases `held` once it has started, then waits for `gate`.
    std::atomic<bool> holdNext{false};
    QSemaphore held, gate;
};

class ObservedModel : public AppModel {
public:
    ObservedModel(const PlatformServices& services, const Startup& startup)
        : AppModel(services, startup), seen(std::make_shared<Observation>()) {
        setPreviewComputation([observed = seen](const PreviewInputs& inputs) {
            ++observed->computations;
            if (observed->holdNext.exchange(false)) {
                observed->held.release();
                observed->gate.acquire();
            }
            PreviewResult result = computePreview(inputs);
            ++observed->finished;
            return result;
        });
    }
    ~ObservedModel() override { seen->gate.release(100); }
    std::shared_ptr<Observation> seen;
};

bool settled(const AppModel& model) {
    return QTest::qWaitFor([&] { return !model.busy() && !model.previewing(); }, patience);
}

RenameRules prefixed(const QString& prefix) {
    RenameRules rules;
    rules.prefix = prefix;
    return rules;
}

QStringList proposedNames(const AppModel& model) {
    QStringList names;
    for (const PreviewRow& row : model.rows())
        names.append(row.intent.filename);
    return names;
}

// Hidden entries included: a staging name left behind is a fault.
QStringList listing(const QString& folder) {
    return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

} // namespace

class AppModelTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init();
    void cleanup();
    void onlyTheNewestPreviewIsComputedAndApplied();
    void renameIsOfferedOnlyForACurrentCleanPreview();
    void namesByDateWaitForTheDatesReadOnceEach();
    void renameUndoAndRecoveryAcrossARestart();
    void longOperationsShowProgressWithoutFloodingTheWindow();
    void recoveryThatCannotFindFilesOffersToRestoreTheOthers();
    void recoveryAsksNoAccessToAFolderThatIsGone();
    void recoveryStoppedByATakenNameOffersTheWayOut();
    void addingAsksForUngrantedFoldersAndSummarises();
    void folderGrantsNeedTheExactUnchangedFolder();
    void recipesAreTrimmedCutAndKeptAcrossRuns();
    void spreadsheetTextKeepsItsLastGoodVersion();
    void exportSavesTheDraftAndTheReceipt();
    void unusableJournalFolderLeavesAViewOnlyModel();
    void demoRunsOnEightSampleFiles();

private:
    std::unique_ptr<TemporaryFolder> disk;
    std::unique_ptr<ScriptedDialogs> dialogs;
    ScriptedClipboard clipboard;
    RecordingUrlOpener urls;
    std::unique_ptr<QSettingsStore> settings;
    std::unique_ptr<ObservedModel> model;

    std::unique_ptr<ObservedModel> start(const QStringList& arguments = {},
                                         const QProcessEnvironment& environment = {},
                                         const QString& journal = QStringLiteral("journal")) {
        return std::make_unique<ObservedModel>(
            PlatformServices{*dialogs, clipboard, *settings, urls},
            AppModel::Startup{disk->at(journal), arguments, environment});
    }

    // As if the user had chosen `folder` in the add-folder panel.
    bool load(const QString& folder) {
        model->add({QUrl::fromLocalFile(folder)}, {QUrl::fromLocalFile(folder)});
        return settled(*model);
    }

    // Renames the batch with "done-" and leaves the disk as a crash after the
    // last move leaves it: every file renamed, the journal not yet completed.
    bool renameAndInterrupt() {
        model->setRules(prefixed("done-"));
        if (!settled(*model))
            return false;
        model->rename();
        if (!settled(*model))
            return false;
        QByteArray journal = disk->read("journal/undo.json");
        QFile::remove(disk->at("journal/undo.json"));
        disk->file("journal/active.json",
                   journal.replace(R"("completed":true)", R"("completed":false)"));
        return true;
    }

    // The next run finds the interrupted batch, offers no way out yet, and
    // recovers it with access to `folder`.
    bool recoverAfterRestart(const QUrl& folder) {
        model = start();
        if (!model->hasRecovery() || model->canRestoreFound())
            return false;
        dialogs->openRequests.clear();
        dialogs->openAnswers = {{folder}};
        model->runRecoveryAction(true);
        return settled(*model);
    }

    // The way out of a recovery that stopped: the error read, what can be found restored.
    bool restoreFound() {
        model->setError(std::nullopt);
        model->restoreFound();
        const bool started = model->mutatingFiles();
        return started && settled(*model) && !model->error() && !model->hasRecovery() &&
               !model->canRestoreFound();
    }
};

void AppModelTest::init() {
    disk = std::make_unique<TemporaryFolder>();
    dialogs = std::make_unique<ScriptedDialogs>();
    clipboard.contents.clear();
    settings = std::make_unique<QSettingsStore>(disk->at("settings.ini"));
    model = start();
}

void AppModelTest::cleanup() {
    model.reset();
}

void AppModelTest::onlyTheNewestPreviewIsComputedAndApplied() {
    disk->file("in/a.txt");
    disk->file("in/b.txt");
    QVERIFY(load(disk->at("in")));
    model->seen->computations = 0;
    QSignalSpy applied(model.get(), &AppModel::previewApplied);
    QSignalSpy previewing(model.get(), &AppModel::previewingChanged);

    for (int edit = 1; edit <= 5; ++edit) {
        model->setRules(prefixed(QStringLiteral("v%1-").arg(edit)));
        QTest::qWait(10);
    }
    QVERIFY(settled(*model));
    // Long enough for any stray timer from the burst to fire as well.
    QTest::qWait(300);
    QCOMPARE(model->seen->computations.load(), 1);
    QCOMPARE(applied.count(), 1);
    // Raised once by the first edit, lowered once by the result.
    QCOMPARE(previewing.count(), 2);
    QCOMPARE(proposedNames(*model), (QStringList{"v5-a.txt", "v5-b.txt"}));

    // A computation overtaken while it runs is never applied.
    model->seen->finished = 0;
    applied.clear();
    model->seen->holdNext = true;
    model->setRules(prefixed("old-"));
    QVERIFY(QTest::qWaitFor([&] { return model->seen->held.tryAcquire(); }, patience));
    model->setRules(prefixed("new-"));
    model->seen->gate.release();
    QTRY_COMPARE_WITH_TIMEOUT(model->seen->finished.load(), 2, patience);
    QVERIFY(settled(*model));
    QCOMPARE(applied.count(), 1);
    QCOMPARE(proposedNames(*model), (QStringList{"new-a.txt", "new-b.txt"}));
}

void AppModelTest::renameIsOfferedOnlyForACurrentCleanPreview() {
    disk->file("in/a.txt");
    disk->file("in/b.txt");
    QVERIFY(load(disk->at("in")));
    QCOMPARE(model->changedCount(), 0);
    QVERIFY(!model->canRename());

    model->setRules(prefixed("x-"));
    QVERIFY(!model->canRename());
    QVERIFY(settled(*model));
    QVERIFY(model->canRename());

    RenameRules same;
    same.baseName = "same";
    model->setRules(same);
    QVERIFY(settled(*model));
    QCOMPARE(model->conflicts(), 2);
    QVERIFY(!model->canRename());

    // A row that names no file blocks the batch although every file's own row is fine.
    model->setMode(RenameMode::spreadsheet);
    model->updateMappingText("a.txt,x.txt\nb.txt,y.txt\nmissing.txt,z.txt\n");
    QVERIFY(settled(*model));
    QCOMPARE(model->conflicts(), 0);
    QCOMPARE(model->changedCount(), 2);
    QCOMPARE(model->mappingDiagnostics().size(), 1);
    QVERIFY(!model->canRename());

    model->updateMappingText("a.txt,x.txt\nb.txt,y.txt\n");
    QVERIFY(settled(*model));
    QVERIFY(model->canRename());
}

void AppModelTest::namesByDateWaitForTheDatesReadOnceEach() {
    for (auto [name, month] :
         {std::pair("a.txt", 3), std::pair("b.txt", 1), std::pair("c.txt", 2)}) {
        QFile file(disk->file(u"in/"_s + QLatin1String(name)));
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(QDateTime(QDate(2026, month, 1), QTime(12, 0)),
                                 QFileDevice::FileModificationTime));
    }
    RenameRules byMonth;
    byMonth.baseName = u"{modified:yyyy-MM}"_s;
    byMonth.sequence = true;
    byMonth.order = NameOrder::modified;
    model->setRules(byMonth);
    QList<RenameProgress> reports;
    QObject listener;
    connect(model.get(), &AppModel::readingProgressChanged, &listener, [&] {
        if (model->readingProgress())
            reports.append(*model->readingProgress());
    });

    QVERIFY(load(disk->at("in")));
    QVERIFY(!model->readingProgress());
    QVERIFY(!reports.isEmpty());
    QCOMPARE(reports.last(), (RenameProgress{RenameProgress::Phase::reading, 3, 3}));
    QCOMPARE(proposedNames(*model),
             (QStringList{"2026-01-001.txt", "2026-02-002.txt", "2026-03-003.txt"}));
    QVERIFY(model->canRename());

    // Files added again are not read again.
    reports.clear();
    disk->file("in/d.txt");
    QVERIFY(load(disk->at("in")));
    QCOMPARE(reports.size(), 2);
    QCOMPARE(reports.last(), (RenameProgress{RenameProgress::Phase::reading, 1, 1}));
    QCOMPARE(model->rows().size(), 4);
}

void AppModelTest::renameUndoAndRecoveryAcrossARestart() {
    for (const char* name : {"c 10.txt", "c 2.txt", "c 1.txt"})
        disk->file(QStringLiteral("Batch/") + name);
    const QString batch = disk->at("Batch");

    dialogs->openAnswers = {{QUrl::fromLocalFile(batch)}};
    model->openFiles(true);
    QVERIFY(settled(*model));
    // Choosing the folder in the add panel is its grant: no second panel.
    QCOMPARE(dialogs->openRequests.size(), 1);
    QCOMPARE(model->notice(), u"3 files · naturally sorted by name"_s);

    model->setRules(prefixed("done-"));
    QVERIFY(settled(*model));
    model->rename();
    QVERIFY(model->mutatingFiles());
    QVERIFY(settled(*model));
    QVERIFY(!model->error());
    QVERIFY(model->files().isEmpty());
    QCOMPARE(model->notice(),
             "3 files renamed. You can undo this batch, even after reopening Tessary.");
    QCOMPARE(model->undoCount(), 3);
    QVERIFY(model->completedReport());
    QCOMPARE(model->completedReport()->changedCount, 3);
    QCOMPARE(listing(batch), (QStringList{"done-c 1.txt", "done-c 10.txt", "done-c 2.txt"}));

    model->runRecoveryAction(false);
    QVERIFY(settled(*model));
    QCOMPARE(model->notice(), "The last batch was undone. Original names restored.");
    QCOMPARE(model->undoCount(), 0);
    QCOMPARE(listing(batch), (QStringList{"c 1.txt", "c 10.txt", "c 2.txt"}));
    QCOMPARE(dialogs->openRequests.size(), 1);

    // A batch that finished renaming but never retired its active journal:
    // the next run must offer recovery and refuse anything new until then.
    dialogs->openAnswers = {{QUrl::fromLocalFile(batch)}};
    model->openFiles(true);
    QVERIFY(settled(*model));
    model->rename();
    QVERIFY(settled(*model));
    QVERIFY(QFile::copy(disk->at("journal/undo.json"), disk->at("journal/active.json")));

    model = start();
    QVERIFY(model->hasRecovery());
    disk->file("Other/o.txt");
    QVERIFY(load(disk->at("Other")));
    model->setRules(prefixed("p-"));
    QVERIFY(settled(*model));
    QCOMPARE(model->changedCount(), 1);
    QVERIFY(!model->canRename());

    dialogs->openRequests.clear();
    dialogs->openAnswers = {{QUrl::fromLocalFile(batch)}};
    model->runRecoveryAction(true);
    QCOMPARE(dialogs->openRequests.size(), 1);
    QCOMPARE(dialogs->openRequests[0].title, "Allow access to Batch");
    QCOMPARE(dialogs->openRequests[0].message,
             "Recovering this interrupted batch requires its original folders. Tessary needs "
             "this exact folder to check existing filenames and rename in place: " +
                 batch + ". Only the selected files will be changed.");
    QVERIFY(settled(*model));
    QVERIFY(!model->error());
    QCOMPARE(model->notice(), "Recovery finished. Original names restored, or the completed "
                              "batch was saved for undo.");
    QVERIFY(!model->hasRecovery());
    QCOMPARE(model->undoCount(), 3);
}

void AppModelTest::longOperationsShowProgressWithoutFloodingTheWindow() {
    // On tmpfs where there is one: 20,000 folder flushes on a disk take minutes.
    QTemporaryDir fast(QDir(u"/dev/shm"_s).exists() ? u"/dev/shm/tessary-XXXXXX"_s
                                                    : QDir::tempPath() + u"/tessary-XXXXXX"_s);
    const QString batch = fast.path() + u"/Shoot"_s;
    QVERIFY(QDir().mkpath(batch));
    for (int number = 1; number <= 5000; ++number) {
        QFile file(batch + QStringLiteral("/IMG_%1.jpg").arg(number));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    QList<RenameProgress> reports;
    QStringList notices;
    QObject listener;
    connect(model.get(), &AppModel::progressChanged, &listener, [&] {
        if (model->progress())
            reports.append(*model->progress());
    });
    connect(model.get(), &AppModel::noticeChanged, &listener,
            [&] { notices.append(model->notice()); });

    auto watch = [&](RenameProgress::Phase phase, const std::function<void()>& start,
                     const QString& finalNotice) {
        reports.clear();
        notices.clear();
        QElapsedTimer timer;
        timer.start();
        start();
        QVERIFY(settled(*model));
        QVERIFY(!model->error());
        QVERIFY(!model->progress());
        QVERIFY2(reports.size() >= 3, "the engine's counts did not reach the model");
        QCOMPARE(reports.last(), (RenameProgress{phase, 5000, 5000}));
        for (qsizetype index = 1; index < reports.size(); ++index) {
            QCOMPARE(reports[index].phase, phase);
            QVERIFY(reports[index].done >= reports[index - 1].done);
        }
        // The notice shows the count at once, in place of what it said before.
        QCOMPARE(notices.first(), (RenameProgress{phase, 0, 0}.text()));
        QCOMPARE(notices.last(), finalNotice);
        // About 30 a second, beside the first and the last count.
        QVERIFY2(
            reports.size() <= timer.elapsed() / 33 + 3,
            qPrintable(
                QStringLiteral("%1 reports in %2 ms").arg(reports.size()).arg(timer.elapsed())));
    };
    watch(
        RenameProgress::Phase::adding, [&] { QVERIFY(load(batch)); },
        u"5000 files · naturally sorted by name"_s);
    if (QTest::currentTestFailed())
        return;
    model->setRules(prefixed("done-"));
    QVERIFY(settled(*model));
    watch(
        RenameProgress::Phase::renaming, [&] { model->rename(); },
        u"5000 files renamed. You can undo this batch, even after reopening Tessary."_s);
    if (QTest::currentTestFailed())
        return;
    QVERIFY(QFile::exists(batch + u"/done-IMG_5000.jpg"_s));
    watch(
        RenameProgress::Phase::undoing, [&] { model->runRecoveryAction(false); },
        u"The last batch was undone. Original names restored."_s);
    QCOMPARE(listing(batch).size(), 5000);
}

void AppModelTest::recoveryThatCannotFindFilesOffersToRestoreTheOthers() {
    for (int number = 1; number <= 13; ++number)
        disk->file(QStringLiteral("Batch/c %1.txt").arg(number));
    const QString batch = disk->at("Batch");
    QVERIFY(load(batch));
    // Another program then replaced all but the first two with files of its own.
    QVERIFY(renameAndInterrupt());
    for (int number = 3; number <= 13; ++number) {
        disk->file("replacement", "other");
        QCOMPARE(std::rename(disk->at("replacement").toUtf8(),
                             disk->at(QStringLiteral("Batch/done-c %1.txt").arg(number)).toUtf8()),
                 0);
    }

    QVERIFY(recoverAfterRestart(QUrl::fromLocalFile(batch)));
    QVERIFY(model->error().value_or("").startsWith("Recovery cannot find the original c 3.txt."));
    QVERIFY(model->hasRecovery());
    QCOMPARE(model->missingFiles().size(), 11);
    QVERIFY(model->canRestoreFound());
    QCOMPARE(model->missingFileNames(),
             (QStringList{"c 3.txt", "c 4.txt", "c 5.txt", "c 6.txt", "c 7.txt", "c 8.txt",
                          "c 9.txt", "c 10.txt", "c 11.txt", "c 12.txt", "and 1 more"}));

    // Meanwhile a sync client brought back a file under one of the original names.
    disk->file("Batch/c 2.txt", "synced");
    QVERIFY(restoreFound());
    QVERIFY(model->missingFiles().isEmpty());
    QCOMPARE(model->setAsideCount(), 1);
    QVERIFY2(QRegularExpression("^1 file is back under its original name\\. c 2\\.txt is back as "
                                "c 2 \\(restored\\)\\.txt, because another file has taken its "
                                "original name\\. 11 files could not be found; their names are "
                                "kept in set-aside-[-0-9TZA-F]+\\.json in the journal folder\\.$")
                 .match(model->notice())
                 .hasMatch(),
             qPrintable(model->notice()));
    QCOMPARE(listing(batch).first(4),
             (QStringList{"c 1.txt", "c 2 (restored).txt", "c 2.txt", "done-c 10.txt"}));
    QCOMPARE(listing(batch).size(), 14);
    // The way is clear for a new batch.
    QVERIFY(load(batch));
    model->setRules(prefixed("new-"));
    QVERIFY(settled(*model));
    QVERIFY(model->canRename());
}

// A volume unplugged for good: its folder cannot be chosen, so it is not asked
// for, and the way out is reached.
void AppModelTest::recoveryAsksNoAccessToAFolderThatIsGone() {
    disk->file("Kept/a.txt");
    disk->file("Gone/b.txt");
    dialogs->openAnswers = {{disk->url("Kept")}, {disk->url("Gone")}};
    model->add({disk->url("Kept/a.txt"), disk->url("Gone/b.txt")}, {});
    QVERIFY(settled(*model));
    QVERIFY(renameAndInterrupt());
    QVERIFY(QDir(disk->at("Gone")).removeRecursively());

    QVERIFY(recoverAfterRestart(disk->url("Kept")));
    QCOMPARE(dialogs->openRequests.size(), 1);
    QVERIFY(model->error().value_or("").startsWith("Recovery cannot find the original b.txt."));
    QVERIFY(restoreFound());
    QCOMPARE(listing(disk->at("Kept")), QStringList{"a.txt"});
}

// Nothing is missing, but a sync client has put a file of its own under an
// original name: recovery stops there every time, and the way out is offered.
void AppModelTest::recoveryStoppedByATakenNameOffersTheWayOut() {
    disk->file("Kept/a.txt", "mine");
    QVERIFY(load(disk->at("Kept")));
    QVERIFY(renameAndInterrupt());
    disk->file("Kept/a.txt", "synced");

    QVERIFY(recoverAfterRestart(disk->url("Kept")));
    QVERIFY(model->error().value_or("").contains("File exists"));
    QVERIFY(model->missingFiles().isEmpty());
    QVERIFY(model->canRestoreFound());
    QVERIFY(restoreFound());
    QCOMPARE(listing(disk->at("Kept")), (QStringList{"a (restored).txt", "a.txt"}));
    QCOMPARE(disk->read("Kept/a (restored).txt"), QByteArray("mine"));
}

void AppModelTest::addingAsksForUngrantedFoldersAndSummarises() {
    disk->file("Photos/p.jpg");
    dialogs->openAnswers = {{disk->url("Photos")}};
    model->add({disk->url("Photos")}, {});
    QVERIFY(settled(*model));
    QCOMPARE(dialogs->openRequests.size(), 1);
    QVERIFY(dialogs->openRequests[0].message.startsWith(
        u"You selected ‘Photos’. Tessary needs this exact folder"_s));
    QCOMPARE(model->notice(), u"1 file · naturally sorted by name"_s);

    for (const char* name : {"1.txt", "2.txt", "3.txt"})
        disk->file(QStringLiteral("Loose/") + name);
    dialogs->openAnswers = {{disk->url("Loose")}};
    model->add({disk->url("Loose/1.txt"), disk->url("Loose/2.txt"), disk->url("Loose/3.txt")}, {});
    QVERIFY(settled(*model));
    QCOMPARE(dialogs->openRequests.size(), 2);
    QVERIFY(dialogs->openRequests[1].message.startsWith("You selected 3 items. "));
    QCOMPARE(model->notice(), u"4 files · naturally sorted by name"_s);

    disk->file("Mixed/m.txt");
    disk->folder("Mixed/Sub");
    model->add({disk->url("Mixed")}, {disk->url("Mixed")});
    QVERIFY(settled(*model));
    QCOMPARE(dialogs->openRequests.size(), 2);
    QCOMPARE(model->notice(), "5 files added. Some unsupported items were skipped.");
    QVERIFY(model->importDetails().startsWith("Sub: "));

    // Numbered by date, the batch says so.
    RenameRules byDate = model->rules();
    byDate.order = NameOrder::taken;
    byDate.descending = true;
    model->setRules(byDate);
    disk->file("Loose/4.txt");
    model->add({disk->url("Loose/4.txt")}, {});
    QVERIFY(settled(*model));
    QCOMPARE(model->notice(), u"6 files · sorted by date taken, descending"_s);
}

void AppModelTest::folderGrantsNeedTheExactUnchangedFolder() {
    const QUrl a = QUrl::fromLocalFile(disk->folder("A"));
    dialogs->openAnswers = {{a}};
    QVERIFY(model->authorizeFolders({a}, "Because."));
    QCOMPARE(dialogs->openRequests.size(), 1);
    const FileDialogs::OpenRequest request = dialogs->openRequests[0];
    QCOMPARE(request.title, "Allow access to A");
    QCOMPARE(request.prompt, "Allow this folder");
    QCOMPARE(request.message, "Because. Tessary needs this exact folder to check existing "
                              "filenames and rename in place: " +
                                  a.toLocalFile() + ". Only the selected files will be changed.");
    QVERIFY(request.chooseFolders && !request.chooseFiles && !request.multiple);
    QCOMPARE(request.initialFolder, a);

    // Moved aside rather than removed, so the new folder cannot reuse its inode.
    QVERIFY(QDir().rename(disk->at("A"), disk->at("A-old")));
    disk->folder("A");
    QVERIFY(!model->authorizeFolders({a}, "Replaced."));
    QCOMPARE(dialogs->openRequests.size(), 2);
    QCOMPARE(model->notice(), "Folder access cancelled. Your batch is unchanged.");

    const QString b = disk->folder("parent/B");
    dialogs->openAnswers = {{disk->url("parent")}};
    QVERIFY(!model->authorizeFolders({QUrl::fromLocalFile(b)}, "Because."));
    QCOMPARE(model->error(),
             "Please choose the exact containing folder: " + b + ". Your batch is unchanged.");

    const QList<QUrl> three{QUrl::fromLocalFile(disk->folder("X")),
                            QUrl::fromLocalFile(disk->folder("Y")),
                            QUrl::fromLocalFile(disk->folder("Z"))};
    dialogs->openRequests.clear();
    dialogs->openAnswers = {{three[0]}};
    QVERIFY(!model->authorizeFolders(three, "Three."));
    QCOMPARE(dialogs->openRequests.size(), 2);
    QVERIFY(!model->authorizingFolders());
    QVERIFY(model->authorizeFolders({three[0]}, "Kept."));
    QCOMPARE(dialogs->openRequests.size(), 2);
}

void AppModelTest::recipesAreTrimmedCutAndKeptAcrossRuns() {
    QCOMPARE(model->recipeTitle(), "Start fresh");
    model->setRules(prefixed("c-"));
    QCOMPARE(model->recipeTitle(), "Custom rules");

    // An emoji with a skin tone is one character of two code points.
    const QString emoji = u"👍🏽"_s;
    const struct {
        QString typed;
        QString stored;
    } names[] = {
        {"  Client handoff  ", "Client handoff"},
        {QString(45, 'n'), QString(40, 'n')},
        {emoji.repeated(42), emoji.repeated(40)},
    };
    for (const auto& name : names) {
        model->setShowSaveRecipe(true);
        model->setRecipeName(name.typed);
        model->saveRecipe();
        QCOMPARE(model->savedRecipes().last().name, name.stored);
        QCOMPARE(model->recipeTitle(), name.stored);
        QVERIFY(!model->showSaveRecipe());
        QVERIFY(model->recipeName().isEmpty());
    }

    model->setShowSaveRecipe(true);
    model->setRecipeName(" \n\t ");
    model->saveRecipe();
    QCOMPARE(model->savedRecipes().size(), 3);
    QVERIFY(model->showSaveRecipe());
    model->setShowSaveRecipe(false);

    model->setRules(prefixed("edited-"));
    QCOMPARE(model->recipeTitle(), "Custom rules");

    // The window deletes by handing back an entry of the list it shows.
    model->apply(model->savedRecipes()[1]);
    QCOMPARE(model->recipeTitle(), QString(40, 'n'));
    model->deleteRecipe(model->savedRecipes()[1]);
    QVERIFY(!model->selectedRecipe());
    QVERIFY(model->rules() == prefixed("c-"));
    QCOMPARE(model->recipeTitle(), "Custom rules");

    const QList<Recipe> kept = model->savedRecipes();
    model.reset();
    settings = std::make_unique<QSettingsStore>(disk->at("settings.ini"));
    model = start();
    QVERIFY(model->savedRecipes() == kept);
}

void AppModelTest::spreadsheetTextKeepsItsLastGoodVersion() {
    disk->file("in/a.txt");
    disk->file("in/b.txt");
    QVERIFY(load(disk->at("in")));
    model->setMode(RenameMode::spreadsheet);
    const QString text = "a.txt,x.txt\nzzz.txt,y.txt\n";
    model->updateMappingText(text);
    QVERIFY(settled(*model));
    QCOMPARE(model->mappingCount(), 2);
    // The row that matches no file, and b.txt that no row names.
    QCOMPARE(model->mappingDiagnostics().size(), 2);

    const QString empty =
        "Copy two columns as text from your spreadsheet, then choose Paste columns.";
    model->pasteMapping();
    QCOMPARE(model->mappingInputError(), empty);
    QCOMPARE(model->mappingText(), text);
    QVERIFY(settled(*model));
    const QList<MappingDiagnostic> only{{std::nullopt, std::nullopt, empty}};
    QVERIFY(model->mappingDiagnostics() == only);
    QCOMPARE(model->mappingCount(), 0);

    model->setMappingFormat(MappingFormat::csv);
    clipboard.contents = "a.txt\tx.txt\nb.txt\ty.txt\n";
    model->pasteMapping();
    QCOMPARE(model->mappingFormat(), MappingFormat::automatic);
    QCOMPARE(model->mappingText(), clipboard.contents);
    QVERIFY(!model->mappingInputError());
    QVERIFY(settled(*model));
    QCOMPARE(model->mappingCount(), 2);

    model->updateMappingText(QString(MappingParser::maximumBytes + 1, 'a'));
    QCOMPARE(model->mappingText(), clipboard.contents);
    QCOMPARE(model->mappingInputError(),
             "This text exceeds 4 MiB and was not loaded. Edit or clear the text, or open a "
             "smaller spreadsheet.");
    model->clearMapping();
    QVERIFY(model->mappingText().isEmpty());
    QVERIFY(!model->mappingInputError());

    model->setMode(RenameMode::rules);
    model->loadMapping(QUrl::fromLocalFile(disk->file("list.TSV", "a.txt\tz.txt\n")));
    QCOMPARE(model->mode(), RenameMode::spreadsheet);
    QCOMPARE(model->mappingText(), "a.txt\tz.txt\n");
    QCOMPARE(model->mappingFormat(), MappingFormat::tsv);

    model->setMode(RenameMode::rules);
    model->loadMapping(QUrl::fromLocalFile(disk->file("latin1.csv", "a.txt,\xe9.txt\n")));
    QCOMPARE(model->mappingInputError(),
             "Spreadsheet not loaded. Use UTF-8 CSV or TSV. This file uses an unsupported "
             "encoding. Edit or clear the existing text, or open another file.");
    QCOMPARE(model->mappingText(), "a.txt\tz.txt\n");
    QCOMPARE(model->mode(), RenameMode::rules);
}

void AppModelTest::exportSavesTheDraftAndTheReceipt() {
    model->exportReport(false);
    QVERIFY(dialogs->saveRequests.isEmpty());

    disk->file("in/a.txt");
    QVERIFY(load(disk->at("in")));
    model->setRules(prefixed("x-"));
    QVERIFY(settled(*model));
    dialogs->saveAnswers = {disk->at("draft.html")};
    model->exportReport(false);
    QCOMPARE(dialogs->saveRequests.size(), 1);
    QCOMPARE(dialogs->saveRequests[0].proposedName, "Tessary-draft-preview.html");
    QCOMPARE(model->notice(), "Draft preview saved. No files were renamed by this export.");
    QVERIFY(disk->read("draft.html").contains("<h1>Draft preview</h1>"));

    model->rename();
    QVERIFY(settled(*model));
    dialogs->saveAnswers = {disk->at("receipt.html")};
    model->exportReport(true);
    QCOMPARE(dialogs->saveRequests.size(), 2);
    QCOMPARE(dialogs->saveRequests[1].proposedName, "Tessary-rename-receipt.html");
    QCOMPARE(model->notice(), "Rename receipt saved. It records the last completed batch.");
    const QByteArray receipt = disk->read("receipt.html");
    QVERIFY(receipt.contains("<h1>Completed rename receipt</h1>"));
    QVERIFY(receipt.contains("x-a.txt"));

    // The rename emptied the batch: there is no draft to offer.
    model->exportReport(false);
    QCOMPARE(dialogs->saveRequests.size(), 2);
}

void AppModelTest::unusableJournalFolderLeavesAViewOnlyModel() {
    disk->file("blocked", "not a folder");
    model = start({}, {}, "blocked");
    QVERIFY(model->error());
    QVERIFY(model->error()->startsWith("Tessary cannot start safely: "));
    QVERIFY(!model->hasEngine());

    disk->file("in/a.txt");
    QVERIFY(load(disk->at("in")));
    model->setRules(prefixed("x-"));
    QVERIFY(settled(*model));
    QCOMPARE(model->changedCount(), 1);
    QVERIFY(!model->canRename());
}

void AppModelTest::demoRunsOnEightSampleFiles() {
    QProcessEnvironment environment;
    environment.insert("TESSARY_DEMO_ROOT", disk->at("demo"));
    model = start({"tessary", "--demo"}, environment);
    QVERIFY(!model->error());
    QVERIFY(model->isDemo());
    QCOMPARE(model->files().size(), 8);
    QCOMPARE(model->recipeTitle(), "Client handoff");
    QCOMPARE(model->notice(), u"Demo files · safe sample workspace"_s);
    // The demo keeps its journal beside its samples, never in the user's.
    QVERIFY(QFileInfo(disk->at("demo/Journal")).isDir());
    QVERIFY(settled(*model));
    QVERIFY(model->canRename());

    environment.insert("TESSARY_DEMO_ROOT", "relative/demo");
    QCOMPARE(AppModel::demoRoot(environment), QDir::tempPath() + "/Tessary-demo");
}

QTEST_GUILESS_MAIN(AppModelTest)
#include "test_app_model.moc"
