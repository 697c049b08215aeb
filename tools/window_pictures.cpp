// Renders the window offscreen to PNG in the states a person meets: the empty
// first run, the demo preview, a conflict with its details open, the
// spreadsheet editor with an issue, each tutorial step, the recovery banner,
// and a recovery that cannot find a file: the offer to restore the others, its
// confirmation and the set-aside record afterwards, photos named by the day
// they were taken and their camera, the clock shifted, with the token menu
// open, and names made by a pattern with accents removed and duplicates
// numbered, long names at three sizes, replacements in turn with text
// inserted by position, and a name typed by hand. Run by scripts/render-window;
// look at every picture.
//
//   window-pictures OUTPUT_DIR

#include "scripted_services.h"

#include "app/app_model.h"
#include "app/platform/portal_file_dialogs.h"
#include "app/platform/qt_file_dialogs.h"
#include "app/qsettings_store.h"
#include "core/naming/recipe.h"
#include "ui/main_window.h"
#include "ui/sheen.h"
#include "ui/tutorial_view.h"

#include <exiv2/exiv2.hpp>

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QProcess>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyleFactory>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <cstdio>

namespace {

QString output;

void save(QWidget* widget, const QString& name) {
    QApplication::processEvents();
    QTest::qWait(50);
    widget->grab().save(output + "/" + name + ".png");
    QTextStream(stdout) << output << "/" << name << ".png\n";
}

void waitUntil(const std::function<bool()>& done) {
    for (int waited = 0; !done() && waited < 15000; waited += 10)
        QTest::qWait(10);
}

void write(const QString& path, const QByteArray& content = {}) {
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(content);
}

void waitForPreview(AppModel& model) {
    waitUntil([&] { return !model.busy() && !model.previewing(); });
}

struct Session {
    explicit Session(const QString& folder, QStringList arguments = {},
                     QProcessEnvironment environment = {})
        : settings(folder + "/settings.ini"), model({dialogs, clipboard, settings, urls},
                                                    {folder + "/journal", arguments, environment}),
          window(model, settings, urls) {
        settings.setFlag("hasSeenTutorial", true);
        window.show();
        (void)QTest::qWaitForWindowExposed(&window);
    }
    ScriptedDialogs dialogs;
    ScriptedClipboard clipboard;
    RecordingUrlOpener urls;
    QSettingsStore settings;
    AppModel model;
    MainWindow window;
};

// One completed batch over the files in `folder`/files, each given `prefix`.
void renameAll(const QString& folder, const QString& prefix) {
    Session first(folder);
    first.dialogs.openAnswers.append({QUrl::fromLocalFile(folder + "/files")});
    first.model.openFiles(true);
    waitForPreview(first.model);
    RenameRules rules;
    rules.prefix = prefix;
    first.model.setRules(rules);
    waitForPreview(first.model);
    first.model.rename();
    waitUntil([&] { return !first.model.busy(); });
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    QApplication::setPalette(Sheen::lightPalette());
    output = QDir(application.arguments().value(1, ".")).absolutePath();
    QDir().mkpath(output);
    QTemporaryDir work;

    {
        Session empty(work.path() + "/empty");
        save(&empty.window, "01-empty");
    }
    {
        QProcessEnvironment environment;
        environment.insert("TESSARY_DEMO_ROOT", work.path() + "/demo");
        Session demo(work.path() + "/demo-session", {"--demo"}, environment);
        waitForPreview(demo.model);
        save(&demo.window, "02-demo-preview");

        RenameRules clash = demo.model.rules();
        clash.sequence = false;
        demo.model.setRules(clash);
        waitForPreview(demo.model);
        for (QAbstractButton* candidate : demo.window.findChildren<QAbstractButton*>()) {
            if (candidate->isVisible() && candidate->text().startsWith("Review "))
                candidate->click();
        }
        save(&demo.window, "03-conflict-details");

        demo.clipboard.contents = "Brand direction FINAL.pdf,direction.pdf\nmissing.pdf,x.pdf\n";
        demo.model.editSpreadsheet();
        demo.model.pasteMapping();
        waitForPreview(demo.model);
        for (QWidget* top : QApplication::topLevelWidgets()) {
            if (top->isVisible() && top != &demo.window && top->inherits("QDialog"))
                save(top, "04-spreadsheet-editor");
        }
        demo.model.setShowMappingEditor(false);
        waitForPreview(demo.model);
        save(&demo.window, "05-spreadsheet-mode");
    }
    {
        Session tutorial(work.path() + "/tutorial");
        TutorialView view(tutorial.model, tutorial.settings, tutorial.urls);
        view.show();
        (void)QTest::qWaitForWindowExposed(&view);
        save(&view, "06-tutorial-welcome");
        view.advance();
        save(&view, "07-tutorial-preview");
        view.confirmSampleRename();
        save(&view, "08-tutorial-undo");
        view.advance();
        save(&view, "09-tutorial-undone");
        view.advance();
        save(&view, "10-tutorial-finish");
    }
    {
        QString folder = work.path() + "/recovery";
        QDir().mkpath(folder + "/files");
        QFile file(folder + "/files/a.txt");
        file.open(QIODevice::WriteOnly);
        file.close();
        renameAll(folder, "new-");
        QFile::copy(folder + "/journal/undo.json", folder + "/journal/active.json");
        Session interrupted(folder);
        save(&interrupted.window, "11-recovery-banner");
        interrupted.window.resize(interrupted.window.minimumSize());
        save(&interrupted.window, "18-minimum-size");
    }
    {
        QString folder = work.path() + "/missing";
        QDir().mkpath(folder + "/files");
        for (const char* name : {"Budget 2026.xlsx", "Contract signed.pdf", "Team photo.jpg"})
            write(folder + "/files/" + name);
        renameAll(folder, "acme-");
        // Interrupted after every file had its new name; then another
        // program replaced one of them.
        QFile undo(folder + "/journal/undo.json");
        undo.open(QIODevice::ReadOnly);
        write(folder + "/journal/active.json",
              undo.readAll().replace(R"("completed":true)", R"("completed":false)"));
        undo.remove();
        write(folder + "/files/replacement", "other");
        std::rename(QString(folder + "/files/replacement").toUtf8(),
                    QString(folder + "/files/acme-Contract signed.pdf").toUtf8());

        Session stuck(folder);
        stuck.dialogs.openAnswers.append({QUrl::fromLocalFile(folder + "/files")});
        stuck.model.runRecoveryAction(true);
        waitUntil([&] { return !stuck.model.busy() && stuck.model.error(); });
        for (QWidget* top : QApplication::topLevelWidgets()) {
            if (auto* box = qobject_cast<QMessageBox*>(top); box && box->isVisible()) {
                save(box, "12-recovery-cannot-find");
                box->accept();
            }
        }
        waitForPreview(stuck.model);
        save(&stuck.window, "13-restore-offered");
        // And a sync client brought back a file under an original name.
        write(folder + "/files/Team photo.jpg", "synced");
        stuck.model.setShowRestoreConfirmation(true);
        for (QWidget* top : QApplication::topLevelWidgets()) {
            if (auto* box = qobject_cast<QMessageBox*>(top); box && box->isVisible()) {
                save(box, "14-restore-confirmation");
                for (QAbstractButton* button : box->buttons()) {
                    if (button->text() == "Restore found files")
                        button->click();
                }
            }
        }
        waitUntil([&] { return !stuck.model.busy() && !stuck.model.hasRecovery(); });
        save(&stuck.window, "15-set-aside");
    }
    {
        // The real access panel, as the model asks for a folder.
        QString photos = work.path() + "/Photos";
        QDir().mkpath(photos);
        QtFileDialogs dialogs;
        FileDialogs::OpenRequest request;
        request.title = "Allow access to Photos";
        request.prompt = "Allow this folder";
        request.message = "Adding these files requires their containing folder. Tessary needs "
                          "this exact folder to check existing filenames and rename in place: " +
                          photos + ". Only the selected files will be changed.";
        request.chooseFiles = false;
        request.chooseFolders = true;
        request.initialFolder = QUrl::fromLocalFile(photos);
        QTimer::singleShot(200, [] {
            QWidget* frame = QApplication::activeModalWidget();
            save(frame, "16-access-panel");
            qobject_cast<QDialog*>(frame)->reject();
        });
        dialogs.open(request);
        // In a sandbox the reason comes first, before the desktop's own chooser.
        PortalFileDialogs portal(QDBusConnection(QStringLiteral("none")), dialogs);
        QTimer::singleShot(200, [] {
            QWidget* box = QApplication::activeModalWidget();
            save(box, "29-sandbox-reason");
            qobject_cast<QDialog*>(box)->reject();
        });
        portal.open(request);
    }
    {
        // A card of photos named by the day they were taken, by a camera
        // whose clock was an hour slow, and its model, numbered in that
        // order; one has no date taken, and one field holds a mistyped
        // token. Then the token menu, open.
        QString folder = work.path() + "/photos/Lisbon";
        QDir().mkpath(folder);
        const char* photos[][2] = {{"IMG_4821.JPG", "2026:05:04 18:02:11"},
                                   {"IMG_4822.JPG", "2026:05:04 09:15:40"},
                                   {"IMG_4823.JPG", ""},
                                   {"IMG_4830.JPG", "2026:05:05 11:20:00"}};
        for (const auto& [name, taken] : photos) {
            auto image = Exiv2::ImageFactory::create(Exiv2::ImageType::jpeg,
                                                     QString(folder + "/" + name).toStdString());
            Exiv2::ExifData exif;
            if (*taken)
                exif["Exif.Photo.DateTimeOriginal"] = taken;
            exif["Exif.Image.Make"] = "Canon";
            exif["Exif.Image.Model"] = "Canon EOS R6";
            image->setExifData(exif);
            image->writeMetadata();
        }
        Session dated(work.path() + "/photos-session");
        // Wide and tall enough for whole names and the date shift.
        dated.window.resize(1400, 900);
        dated.dialogs.openAnswers.append({QUrl::fromLocalFile(folder)});
        dated.model.openFiles(true);
        waitUntil([&] { return !dated.model.busy() && !dated.model.readingProgress(); });
        RenameRules rules;
        rules.baseName = "{taken} {camera} {folder}";
        rules.suffix = "{draft}";
        rules.shiftDates = "+01:00";
        rules.separator = NameSeparator::space;
        rules.sequence = true;
        rules.order = NameOrder::taken;
        dated.model.setRules(rules);
        waitForPreview(dated.model);
        save(&dated.window, "19-photo-dates");
        for (QLineEdit* field : dated.window.findChildren<QLineEdit*>()) {
            if (field->accessibleName() != "Base name")
                continue;
            field->actions().constFirst()->trigger();
            QMenu* menu = field->findChild<QMenu*>();
            save(menu, "20-token-menu");
            menu->hide();
        }
        // A sequence that starts where three digits run out says so beside
        // its digits.
        rules.sequenceStart = 998;
        dated.model.setRules(rules);
        waitForPreview(dated.model);
        for (auto* area : dated.window.findChildren<QScrollArea*>())
            area->verticalScrollBar()->setValue(area->verticalScrollBar()->maximum());
        save(&dated.window, "24-sequence-digits");
        // The last photo moved up by hand: the order is as arranged, and the
        // sequence follows.
        dated.model.setSelection({dated.model.rows().back().id()});
        dated.model.moveSelection(-1);
        waitForPreview(dated.model);
        save(&dated.window, "25-as-arranged");
    }
    {
        // A pattern whose groups make the names, accents removed, and the two
        // cafés that meet numbered; then a pattern with a mistake, named
        // under the find field and on every row.
        QString folder = work.path() + "/text/Trip";
        QDir().mkpath(folder);
        for (const char* name : {"IMG_4821 Café.jpg", "IMG_4822 café.jpg", "IMG_4823 Ærø.jpg",
                                 "IMG_4824 Łódź.jpg", "IMG_4825 Nguyễn.jpg"})
            write(folder + "/" + QString::fromUtf8(name));
        Session text(work.path() + "/text-session");
        // Tall enough for every rule at once.
        text.window.resize(text.window.width(), 900);
        text.dialogs.openAnswers.append({QUrl::fromLocalFile(folder)});
        text.model.openFiles(true);
        waitForPreview(text.model);
        RenameRules rules;
        rules.regex = true;
        rules.find = R"(^IMG_(\d+) (.+)$)";
        rules.replacement = R"(\L$2)";
        rules.removeAccents = true;
        rules.numberDuplicates = true;
        text.model.setRules(rules);
        waitForPreview(text.model);
        save(&text.window, "22-text-power");
        rules.find = R"(^IMG_(\d+ (.+)$)";
        text.model.setRules(rules);
        waitForPreview(text.model);
        save(&text.window, "23-invalid-pattern");
    }
    {
        // Long names, up to 60 characters, read whole from the default size
        // up and cut in the middle below it; one photo has no date taken,
        // which its row says.
        QString folder = work.path() + "/long/Lisbon";
        QDir().mkpath(folder);
        const char* photos[][2] = {
            {"IMG_4821 Lisbon harbour, ferry leaving Cais do Sodré.JPG", "2026:05:04 18:02:11"},
            {"IMG_4822 Tram 28 climbing Rua da Conceição past the Sé.JPG", "2026:05:04 09:15:40"},
            {"IMG_4823 Miradouro de Santa Luzia, tiles in the sun.JPG", ""},
            {"IMG_4830 Belém tower from the river at low tide.JPG", "2026:05:05 11:20:00"}};
        for (const auto& [name, taken] : photos) {
            auto image = Exiv2::ImageFactory::create(
                Exiv2::ImageType::jpeg, (folder + "/" + QString::fromUtf8(name)).toStdString());
            Exiv2::ExifData exif;
            if (*taken)
                exif["Exif.Photo.DateTimeOriginal"] = taken;
            image->setExifData(exif);
            image->writeMetadata();
        }
        Session named(work.path() + "/long-session");
        named.dialogs.openAnswers.append({QUrl::fromLocalFile(folder)});
        named.model.openFiles(true);
        waitUntil([&] { return !named.model.busy() && !named.model.readingProgress(); });
        RenameRules rules;
        rules.regex = true;
        rules.find = R"(^IMG_\d+ )";
        rules.replacement = "{taken} ";
        named.model.setRules(rules);
        waitForPreview(named.model);
        for (QSize size : {QSize(900, 600), QSize(1000, 680), QSize(1400, 900)}) {
            named.window.resize(size);
            save(&named.window, QString("26-whole-names-%1").arg(size.width()));
        }
        // A second replacement and text inserted after the date, then one
        // name typed by hand and the next open for typing.
        named.window.resize(1000, 680);
        rules.moreReplacements = {{" the ", " "}};
        rules.insertion = "Lisbon · ";
        rules.insertAt = 11;
        named.model.setRules(rules);
        waitForPreview(named.model);
        save(&named.window, "27-replacements-and-positions");
        named.model.nameByHand(named.model.rows()[1].id(), "2026-05-04 Tram 28 to the castle.JPG");
        waitForPreview(named.model);
        auto* table = named.window.findChild<QTableView*>();
        table->selectRow(2);
        table->edit(table->model()->index(2, 1));
        save(&named.window, "28-named-by-hand");
    }
    {
        // A long rename while it runs, drawn the moment its count passes
        // 1,000: on tmpfs the whole batch takes under a second.
        QTemporaryDir fast(QDir("/dev/shm").exists() ? "/dev/shm/tessary-XXXXXX"
                                                     : work.path() + "/progress-XXXXXX");
        QDir().mkpath(fast.path() + "/files");
        for (int number = 1; number <= 5000; ++number)
            write(fast.path() + QString("/files/IMG_%1.jpg").arg(number));
        Session running(fast.path());
        running.dialogs.openAnswers.append({QUrl::fromLocalFile(fast.path() + "/files")});
        running.model.openFiles(true);
        waitForPreview(running.model);
        RenameRules rules;
        rules.prefix = "studio-";
        running.model.setRules(rules);
        waitForPreview(running.model);
        bool drawn = false;
        QObject::connect(&running.model, &AppModel::noticeChanged, [&] {
            if (drawn || !running.model.progress() || running.model.progress()->done < 1000)
                return;
            drawn = true;
            // Once the notice line and the footer have both taken the count.
            QTimer::singleShot(0, [&] { save(&running.window, "17-rename-progress"); });
        });
        running.model.rename();
        waitUntil([&] { return !running.model.busy(); });
    }
    {
        // Files on a FUSE volume, as on a NAS: the summary says so. Needs root
        // and bindfs; the picture is left out without them.
        const QString source = work.path() + "/nas-source/Photos";
        const QString mounted = work.path() + "/nas";
        QDir().mkpath(source);
        QDir().mkpath(mounted);
        for (int number = 1; number <= 12; ++number)
            write(source + QString("/IMG_%1.JPG").arg(4820 + number), "photo");
        if (QProcess::execute("bindfs", {work.path() + "/nas-source", mounted}) == 0) {
            {
                Session nas(work.path() + "/nas-session");
                nas.dialogs.openAnswers.append({QUrl::fromLocalFile(mounted + "/Photos")});
                nas.model.openFiles(true);
                waitForPreview(nas.model);
                nas.model.setRules(Recipe::builtIn()[1].rules);
                waitForPreview(nas.model);
                save(&nas.window, "21-network-volume");
            }
            QProcess::execute("umount", {mounted});
        }
    }
    return 0;
}
