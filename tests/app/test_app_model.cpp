#include "scripted_services.h"
#include "temporary_folder.h"

#include "app/app_model.h"
#include "app/qsettings_store.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSemaphore>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <atomic>

using namespace Qt::StringLiterals;

// Rules are written as designated initializers: the fields left out keep their defaults.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace {

// Generous: every wait below ends as soon as its condition holds, and the
// sanitizer build is many times slower.
constexpr int patience = 60000;

// A real model whose preview computation a test may replace.
class ObservedModel : public AppModel {
public:
    using AppModel::AppModel;
    using AppModel::setPreviewComputation;
};

bool settled(const AppModel& model) {
    return QTest::qWaitFor([&] { return !model.busy() && !model.previewing(); }, patience);
}

} // namespace

class AppModelTest : public QObject {
    Q_OBJECT

    std::unique_ptr<TemporaryFolder> disk;
    std::unique_ptr<ScriptedDialogs> dialogs;
    ScriptedClipboard clipboard;
    RecordingUrlOpener urls;
    std::unique_ptr<QSettingsStore> settings;
    std::unique_ptr<ObservedModel> model;

    // Confined as in a Flatpak, where a folder is used only once the person
    // chose it; unconfined, nothing is asked.
    bool sandboxed = false;

    std::unique_ptr<ObservedModel> start(const QStringList& arguments = {},
                                         QProcessEnvironment environment = {},
                                         const QString& journal = QStringLiteral("journal")) {
        if (sandboxed)
            environment.insert("FLATPAK_ID", "org.tessary.Tessary");
        return std::make_unique<ObservedModel>(
            PlatformServices{*dialogs, clipboard, *settings, urls},
            AppModel::Startup{disk->at(journal), arguments, environment});
    }

    // Makes `names` in `folder` and adds the folder as if the user had chosen
    // it in the add-folder panel.
    bool load(const QString& folder, const QStringList& names = {}) {
        for (const QString& name : names)
            disk->file(folder + u'/' + name);
        model->add({disk->url(folder)}, {disk->url(folder)});
        return settled(*model);
    }

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init() {
        model.reset();
        sandboxed = false;
        disk = std::make_unique<TemporaryFolder>();
        dialogs = std::make_unique<ScriptedDialogs>();
        clipboard.contents.clear();
        settings = std::make_unique<QSettingsStore>(disk->at("settings.ini"));
        model = start();
    }

    void onlyTheNewestPreviewIsAppliedAndNamesByDateWaitForTheDates() {
        // Named against the order of their dates.
        for (int month = 1; month <= 3; ++month) {
            QFile file(disk->file(QStringLiteral("in/%1.txt").arg(4 - month)));
            QVERIFY(file.open(QIODevice::ReadWrite));
            QVERIFY(file.setFileTime(QDateTime(QDate(2026, month, 1), QTime(12, 0)),
                                     QFileDevice::FileModificationTime));
        }
        QList<RenameProgress> reports;
        connect(model.get(), &AppModel::readingProgressChanged, model.get(), [&] {
            if (model->readingProgress())
                reports.append(*model->readingProgress());
        });
        model->setRules(
            {.baseName = u"{modified:yyyy-MM}"_s, .sequence = true, .order = NameOrder::modified});
        QVERIFY(load("in"));
        QVERIFY(!model->readingProgress());
        QCOMPARE(model->rows().first().intent.filename, "2026-01-001.txt");
        QCOMPARE(model->rows().last().intent.filename, "2026-03-003.txt");
        // Files added again are not read again.
        reports.clear();
        QVERIFY(load("in", {"4.txt"}));
        QCOMPARE(reports, (QList<RenameProgress>{{RenameProgress::Phase::reading, 0, 0},
                                                 {RenameProgress::Phase::reading, 1, 1}}));

        // The computations to come are counted as they finish, and the next one is held back
        // when asked, so that it can be superseded while it runs. What they share with the
        // test outlives the model: a computation may still run when it goes.
        struct Observation {
            std::atomic<int> finished{0};
            // The next computation releases `held` once it has started, then waits for `gate`.
            std::atomic<bool> holdNext{false};
            QSemaphore held, gate;
        };
        const auto seen = std::make_shared<Observation>();
        const auto release = qScopeGuard([seen] { seen->gate.release(100); });
        model->setPreviewComputation([seen](const PreviewInputs& inputs) {
            if (seen->holdNext.exchange(false)) {
                seen->held.release();
                seen->gate.acquire();
            }
            PreviewResult result = computePreview(inputs);
            ++seen->finished;
            return result;
        });
        QSignalSpy applied(model.get(), &AppModel::previewApplied);
        QSignalSpy previewing(model.get(), &AppModel::previewingChanged);
        for (int edit = 1; edit <= 5; ++edit) {
            model->setRules({.prefix = QStringLiteral("v%1-").arg(edit)});
            QTest::qWait(10);
        }
        QVERIFY(settled(*model));
        // Long enough for any stray timer from the burst to fire as well.
        QTest::qWait(300);
        QCOMPARE(seen->finished.load(), 1);
        QCOMPARE(applied.count(), 1);
        // Raised once by the first edit, lowered once by the result.
        QCOMPARE(previewing.count(), 2);
        QCOMPARE(model->rows().first().intent.filename, "v5-1.txt");

        // A computation overtaken while it runs is never applied.
        seen->holdNext = true;
        model->setRules({.prefix = "old-"});
        QVERIFY(QTest::qWaitFor([&] { return seen->held.tryAcquire(); }, patience));
        model->setRules({.prefix = "new-"});
        seen->gate.release();
        QTRY_COMPARE_WITH_TIMEOUT(seen->finished.load(), 3, patience);
        QVERIFY(settled(*model));
        QCOMPARE(applied.count(), 2);
        QCOMPARE(model->rows().first().intent.filename, "new-1.txt");
    }

    void spreadsheetTextKeepsItsLastGoodVersionAndOnlyWhatIsThereIsOffered() {
        // Unconfined, as a desktop program is, the process already has the
        // person's access: these loose files, and their undo after a restart
        // below, ask for no folder.
        disk->make({"in/a.txt", "in/b.txt"});
        model->add({disk->url("in/a.txt"), disk->url("in/b.txt")}, {});
        QVERIFY(settled(*model));
        const QString pasted = "a.txt\tx.txt\nb.txt\ty.txt\n";
        using enum RenameMode;
        using enum MappingFormat;
        // clang-format off
        const struct { std::function<void()> action; QString text, error; RenameMode mode; MappingFormat format; qsizetype count; } steps[] = {
            {[&] { model->setMode(spreadsheet); model->updateMappingText("a.txt,x.txt\n"); model->pasteMapping(); }, "a.txt,x.txt\n", "Copy two columns as text from your spreadsheet, then choose Paste columns.", spreadsheet, automatic, 0},
            {[&] { model->setMappingFormat(csv); clipboard.contents = pasted; model->pasteMapping(); }, pasted, {}, spreadsheet, automatic, 2},
            {[&] { model->updateMappingText(QString(4 * 1024 * 1024 + 1, 'a')); }, pasted, "This text exceeds 4 MiB and was not loaded. Edit or clear the text, or open a smaller spreadsheet.", spreadsheet, automatic, 0},
            {[&] { model->clearMapping(); }, {}, {}, spreadsheet, automatic, 0},
            {[&] { model->setMode(rules); model->loadMapping(QUrl::fromLocalFile(disk->file("list.TSV", "a.txt\tz.txt\n"))); }, "a.txt\tz.txt\n", {}, spreadsheet, tsv, 1},
            {[&] { model->setMode(rules); model->loadMapping(QUrl::fromLocalFile(disk->file("latin1.csv", "a.txt,\xe9.txt\n"))); }, "a.txt\tz.txt\n", "Spreadsheet not loaded. Use UTF-8 CSV or TSV. This file uses an unsupported encoding. Edit or clear the existing text, or open another file.", rules, tsv, 0},
        };
        // clang-format on
        for (const auto& step : steps) {
            step.action();
            QVERIFY(settled(*model));
            QCOMPARE(model->mappingText(), step.text);
            QCOMPARE(model->mappingInputError().value_or(""), step.error);
            QCOMPARE(model->mode(), step.mode);
            QCOMPARE(model->mappingFormat(), step.format);
            QCOMPARE(model->mappingCount(), step.count);
            // Text that could not be had is the one problem the spreadsheet shows.
            if (!step.error.isEmpty() && step.mode == spreadsheet)
                QVERIFY(model->mappingDiagnostics() ==
                        QList<MappingDiagnostic>({{std::nullopt, std::nullopt, step.error}}));
        }

        // clang-format off
        const struct { RenameMode mode; RenameRules rules; QString mapping; bool offered; } offers[] = {
            {rules, {}, {}, false}, // nothing changes
            {rules, {.prefix = "x-"}, {}, true},
            {rules, {.baseName = "same"}, {}, false},
            // A row that names no file blocks the batch although every file's own row is fine.
            {spreadsheet, {}, "a.txt\tx.txt\nb.txt\ty.txt\nmissing.txt\tz.txt\n", false},
            {spreadsheet, {}, pasted, true},
        };
        // clang-format on
        for (const auto& offer : offers) {
            model->setMode(offer.mode);
            model->setRules(offer.rules);
            model->updateMappingText(offer.mapping);
            // Never for a preview still being computed.
            QVERIFY(!model->canRename());
            QVERIFY(settled(*model));
            QCOMPARE(model->canRename(), offer.offered);
        }

        dialogs->saveAnswers = {disk->at("draft.html"), disk->at("receipt.html")};
        model->exportReport(false);
        QCOMPARE(dialogs->saveRequests.last().proposedName, "Tessary-draft-preview.html");
        QCOMPARE(model->notice(), "Draft preview saved. No files were renamed by this export.");
        QVERIFY(disk->read("draft.html").contains("<h1>Draft preview</h1>"));
        model->rename();
        QVERIFY(settled(*model) && QFile::exists(disk->at("in/x.txt")));
        model->exportReport(true);
        QCOMPARE(dialogs->saveRequests.last().proposedName, "Tessary-rename-receipt.html");
        QCOMPARE(model->notice(), "Rename receipt saved. It records the last completed batch.");
        QVERIFY(disk->read("receipt.html").contains("y.txt"));
        // The rename emptied the batch: there is no draft to offer.
        model->exportReport(false);
        QCOMPARE(dialogs->saveRequests.size(), 2);
        model = start();
        model->runRecoveryAction(false);
        QVERIFY(settled(*model) && QFile::exists(disk->at("in/a.txt")));
        QVERIFY(dialogs->openRequests.isEmpty());

        // Without a usable journal folder the model only shows what would happen.
        disk->file("blocked", "not a folder");
        model = start({}, {}, "blocked");
        QVERIFY(model->error().value_or("").startsWith("Tessary cannot start safely: "));
        model->setRules({.prefix = "x-"});
        QVERIFY(load("in"));
        QCOMPARE(model->changedCount(), 2);
        QVERIFY(!model->canRename());
    }

    // A batch renamed when Tessary stopped before it could mark it completed,
    // and what happened to its files before the next run.
    void recoveryIsOfferedAtTheNextRunWithAWayOut() {
        // clang-format off
        const struct { std::function<void()> damage; QString error; QStringList missing; QString notice; } runs[] = {
            // Left as it was: recovery puts the original names back.
            {[] {}, {}, {}, "Recovery finished. Original names restored, or the completed batch was saved for undo."},
            // A volume unplugged for good: its folder cannot be chosen, so it is not asked for.
            {[&] { QVERIFY(QDir(disk->at("Unplugged")).removeRecursively()); }, "Recovery cannot find the original u 1.txt.", {"u 1.txt", "u 2.txt", "u 3.txt", "u 4.txt", "u 5.txt", "u 6.txt", "u 7.txt", "u 8.txt", "u 9.txt", "u 10.txt", "and 1 more"}, "1 file is back under its original name. 11 files could not be found; their names are kept in set-aside.json in the journal folder."},
            // Nothing is missing, but a sync client has put a file of its own
            // under an original name: recovery stops there every time.
            {[&] { disk->file("Kept/a.txt", "synced"); }, "File exists", {}, "11 files are back under their original names. a.txt is back as a (restored).txt, because another file has taken its original name. The batch's journal is kept as set-aside.json in the journal folder."},
        };
        // clang-format on
        const QRegularExpression record(u"set-aside-[-0-9TZA-F]+"_s);
        for (const auto& run : runs) {
            init();
            sandboxed = true;
            model = start();
            model->setRules({.prefix = "done-"});
            QVERIFY(load("Kept", {"a.txt"}));
            for (int number = 1; number <= 11; ++number)
                disk->file(QStringLiteral("Unplugged/u %1.txt").arg(number));
            QVERIFY(load("Unplugged"));
            model->rename();
            QVERIFY(settled(*model));
            // As a crash after the last move leaves it: every file renamed,
            // the journal not yet completed.
            disk->file("journal/active.json",
                       disk->read("journal/undo.json")
                           .replace(R"("completed":true)", R"("completed":false)"));
            QVERIFY(QFile::remove(disk->at("journal/undo.json")));
            run.damage();

            // Nothing new is renamed until the interrupted batch is recovered.
            model = start();
            QVERIFY(model->hasRecovery() && !model->canRestoreFound());
            model->setRules({.prefix = "p-"});
            QVERIFY(load("Other", {"o.txt"}));
            QVERIFY(!model->canRename());

            dialogs->openAnswers = {{disk->url("Kept")}, {disk->url("Unplugged")}};
            model->runRecoveryAction(true);
            QVERIFY(settled(*model));
            QCOMPARE(dialogs->openRequests.size(), QDir(disk->at("Unplugged")).exists() ? 2 : 1);
            QVERIFY(dialogs->openRequests[0].message.startsWith(
                "Recovering this interrupted batch requires its original folders. "));
            QVERIFY(model->error().value_or("").contains(run.error));
            if (model->error()) {
                QCOMPARE(model->missingFileNames(), run.missing);
                QVERIFY(model->canRestoreFound());
                model->restoreFound();
                QVERIFY(settled(*model));
                QCOMPARE(model->setAsideCount(), 1);
            }
            QVERIFY(!model->hasRecovery() && !model->canRestoreFound());
            QCOMPARE(QString(model->notice()).replace(record, u"set-aside"_s), run.notice);
            QVERIFY(load("Kept"));
            QVERIFY(model->canRename());
        }
    }

    void addingAsksOnceForEachExactUnchangedFolder() {
        sandboxed = true;
        QProcessEnvironment environment;
        environment.insert("XDG_RUNTIME_DIR", disk->at("run"));
        model = start({}, environment);
        disk->make({"Photos/p.jpg", "Loose/1.txt", "Loose/2.txt", "Loose/3.txt", "parent/B/b.txt",
                    "X/x.txt", "Y/y.txt", "Mixed/m.txt", "d:Mixed/Sub", "Z/z.txt"});
        // Numbered by date, the batch says so.
        model->setRules({.order = NameOrder::taken, .descending = true});
        const QString cancelled = "Folder access cancelled. Your batch is unchanged.";
        // clang-format off
        const struct { std::function<void()> before; QList<QUrl> items; bool chosen; QList<QList<QUrl>> answers; int asked; QString message, notice, error; } adds[] = {
            {{}, {disk->url("Photos")}, false, {{disk->url("Photos")}}, 1, u"You selected ‘Photos’. Tessary needs this exact folder to check existing filenames and rename in place: "_s + disk->at("Photos") + ". Only the selected files will be changed.", u"1 file · sorted by date taken, descending"_s, {}},
            {{}, {disk->url("Loose/1.txt"), disk->url("Loose/2.txt"), disk->url("Loose/3.txt")}, false, {{disk->url("Loose")}}, 1, "You selected 3 items. ", u"4 files · sorted by date taken, descending"_s, {}},
            // Moved aside rather than removed, so the new folder cannot reuse its inode.
            {[&] { QVERIFY(QDir().rename(disk->at("Photos"), disk->at("Photos-old"))); disk->file("Photos/q.jpg"); }, {disk->url("Photos")}, false, {}, 1, u"You selected ‘Photos’."_s, cancelled, {}},
            // The first of two folders stays granted when the second is refused.
            {{}, {disk->url("X/x.txt"), disk->url("Y/y.txt")}, false, {{disk->url("X")}}, 2, {}, cancelled, {}},
            {{}, {disk->url("X/x.txt")}, false, {}, 0, {}, u"5 files · sorted by date taken, descending"_s, {}},
            // Chosen in the add panel, a folder needs no second panel.
            {{}, {disk->url("Mixed")}, true, {}, 0, {}, "6 files added. Some unsupported items were skipped.", {}},
            {{}, {disk->url("parent/B/b.txt")}, false, {{disk->url("parent")}}, 1, {}, "Choose the containing folder to allow safe previews and renaming.", "Please choose the exact containing folder: " + disk->at("parent/B") + ". Your batch is unchanged."},
            // Where the sandbox may not write, the portal hands over a document of its store.
            {{}, {disk->url("Z/z.txt")}, false, {{disk->url("run/doc/5e1f/Z")}}, 1, {}, "Choose the containing folder to allow safe previews and renaming.", "Tessary's sandbox may not change files in " + disk->at("Z") + ", so it cannot rename there; allow Tessary that folder in the desktop's app permissions and try again. Your batch is unchanged."},
        };
        // clang-format on
        for (const auto& add : adds) {
            if (add.before)
                add.before();
            dialogs->openAnswers = add.answers;
            const qsizetype asked = dialogs->openRequests.size();
            model->add(add.items, add.chosen ? add.items : QList<QUrl>());
            QVERIFY(settled(*model));
            QVERIFY(!model->authorizingFolders());
            QCOMPARE(dialogs->openRequests.size() - asked, add.asked);
            QVERIFY(dialogs->openRequests.value(asked).message.startsWith(add.message));
            QCOMPARE(model->notice(), add.notice);
            QCOMPARE(model->error().value_or(""), add.error);
        }
        QVERIFY(model->importDetails().startsWith("Sub: "));
    }

    // Rows moved by hand, by the keyboard or a drag, stay where they were put
    // and the sequence follows; a file added later comes after them.
    void rowsArrangedAndNamedByHand() {
        QVERIFY(load("Trip", {"a.jpg", "b.jpg", "c.jpg", "d.jpg"}));
        model->setRules({.prefix = "t-", .sequence = true, .order = NameOrder::size});
        QVERIFY(settled(*model));
        // Each row as its file and new name, once the preview has settled.
        auto shown = [&] {
            QStringList names;
            for (const PreviewRow& row : settled(*model) ? model->rows() : QList<PreviewRow>())
                names.append(row.intent.source.name() + '>' + row.intent.filename);
            return names.join(' ');
        };
        auto select = [&](const QStringList& names) {
            QSet<QString> ids;
            for (const QString& name : names)
                ids.insert(disk->at("Trip/" + name));
            model->setSelection(ids);
        };
        // A block at the edge stays; the others move past their neighbour.
        select({"a.jpg", "c.jpg"});
        model->moveSelection(-1);
        QCOMPARE(shown(),
                 "a.jpg>t-a-001.jpg c.jpg>t-c-002.jpg b.jpg>t-b-003.jpg d.jpg>t-d-004.jpg");
        QCOMPARE(model->rules().order, NameOrder::arranged);
        select({"a.jpg", "c.jpg"});
        model->moveSelection(1);
        model->moveSelection(1);
        QCOMPARE(shown(),
                 "b.jpg>t-b-001.jpg d.jpg>t-d-002.jpg a.jpg>t-a-003.jpg c.jpg>t-c-004.jpg");
        model->moveRows({disk->at("Trip/d.jpg"), disk->at("Trip/c.jpg")}, 0);
        QCOMPARE(shown(),
                 "d.jpg>t-d-001.jpg c.jpg>t-c-002.jpg b.jpg>t-b-003.jpg a.jpg>t-a-004.jpg");
        QVERIFY(load("Trip", {"0.jpg"}));
        QCOMPARE(model->notice(), "5 files · as arranged");
        QVERIFY(shown().endsWith("a.jpg>t-a-004.jpg 0.jpg>t-0-005.jpg"));

        // A name typed for one file is judged like any other and lasts until
        // reset, or until the file leaves the batch.
        model->nameByHand(disk->at("Trip/d.jpg"), "first.jpg");
        model->nameByHand(disk->at("Trip/c.jpg"), "first.png");
        model->nameByHand(disk->at("Trip/b.jpg"), "t-a-004.jpg");
        QVERIFY(shown().startsWith("d.jpg>first.jpg c.jpg>first.png b.jpg>t-a-004.jpg"));
        QCOMPARE(model->rows()[0].note, "Named by hand.");
        QCOMPARE(model->rows()[1].problem,
                 "Keep the original extension exactly, including letter case.");
        QVERIFY(model->rows()[2].problem);
        QCOMPARE(model->previewReport()->entries[0].state, "Proposed change, named by hand");
        select({"b.jpg", "c.jpg"});
        model->resetSelectedNames();
        select({"d.jpg"});
        model->removeSelected();
        QVERIFY(load("Trip"));
        QCOMPARE(shown(), "c.jpg>t-c-001.jpg b.jpg>t-b-002.jpg a.jpg>t-a-003.jpg "
                          "0.jpg>t-0-004.jpg d.jpg>t-d-005.jpg");
    }

    // The count after an import names the order the batch is listed in, the
    // one in force as soon as the rules change it; and the sequence says when
    // its digits are too few for the batch.
    void importCountNamesTheOrderInForceAndTheDigitsTooFew() {
        disk->make({"Photos/a.jpg", "Photos/b.jpg", "Photos/c.jpg"});
        dialogs->openAnswers = {{disk->url("Photos")}};
        model->openFiles(true);
        QVERIFY(settled(*model));
        QCOMPARE(model->notice(), "3 files · naturally sorted by name");
        model->setRules({.order = NameOrder::taken});
        QCOMPARE(model->notice(), "3 files · sorted by date taken");
        model->setRules({.sequence = true, .sequenceStart = 998});
        QCOMPARE(model->notice(), "3 files · naturally sorted by name");
        QCOMPARE(model->digitsNote(), "3 files need 4 digits");
        model->setRules({.sequence = true, .sequenceStart = 997});
        QCOMPARE(model->digitsNote(), "");
        // Companions share a number: a.jpg and a.nef need one.
        QVERIFY(load("Photos", {"a.nef"}));
        model->setRules({.sequence = true, .sequenceStart = 998, .companions = true});
        QCOMPARE(model->digitsNote(), "3 names need 4 digits");
        // Another notice is not turned back into the count.
        urls.nothingOpens = true;
        model->showJournal();
        const QString other = model->notice();
        model->setRules({.order = NameOrder::size});
        QCOMPARE(model->notice(), other);
    }

    void recipesAreTrimmedCutAndKeptAcrossRunsAndTheDemoStartsFromOne() {
        model->setRules({.prefix = "c-"});

        // An emoji with a skin tone is one character of two code points.
        const QString emoji = u"👍🏽"_s;
        // clang-format off
        const struct { QString typed, stored; } names[] = {
            {"  Agency handoff  ", "Agency handoff"},
            {QString(45, 'n'), QString(40, 'n')},
            {emoji.repeated(42), emoji.repeated(40)},
            // Nothing to save: the panel stays open and the last recipe stays chosen.
            {" \n\t ", emoji.repeated(40)},
        };
        // clang-format on
        for (const auto& name : names) {
            model->setShowSaveRecipe(true);
            model->setRecipeName(name.typed);
            model->saveRecipe();
            QCOMPARE(model->recipeTitle(), name.stored);
            QCOMPARE(model->showSaveRecipe(), name.typed.trimmed().isEmpty());
        }
        model->setRules({.prefix = "edited-"});
        QCOMPARE(model->recipeTitle(), "Custom rules");

        // The window deletes by handing back an entry of the list it shows.
        model->apply(model->savedRecipes()[1]);
        QCOMPARE(model->recipeTitle(), QString(40, 'n'));
        model->deleteRecipe(model->savedRecipes()[1]);
        // Three saved (the blank name saved nothing), one deleted.
        QCOMPARE(model->savedRecipes().size(), 2);
        QVERIFY(model->rules() == RenameRules{.prefix = "c-"});
        QCOMPARE(model->recipeTitle(), "Custom rules");

        const QList<Recipe> kept = model->savedRecipes();
        model.reset();
        settings = std::make_unique<QSettingsStore>(disk->at("settings.ini"));
        QProcessEnvironment environment;
        environment.insert("TESSARY_DEMO_ROOT", disk->at("demo"));
        model = start({"tessary", "--demo"}, environment);
        QVERIFY(model->savedRecipes() == kept);
        QCOMPARE(model->files().size(), 8);
        QCOMPARE(model->recipeTitle(), "Client handoff");
        QCOMPARE(model->notice(), u"Demo files · safe sample workspace"_s);
        QVERIFY(settled(*model));
        QVERIFY(model->canRename());

        environment.insert("TESSARY_DEMO_ROOT", "relative/demo");
        QCOMPARE(AppModel::demoRoot(environment), QDir::tempPath() + "/Tessary-demo");
    }
};

QTEST_GUILESS_MAIN(AppModelTest)
#include "test_app_model.moc"
