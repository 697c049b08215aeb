#include "scripted_services.h"
#include "temporary_folder.h"

#include "app/app_model.h"
#include "app/platform/portal_file_dialogs.h"
#include "app/platform/qt_file_dialogs.h"
#include "app/qsettings_store.h"
#include "ui/launch_channel.h"
#include "ui/main_window.h"
#include "ui/mapping_text_editor.h"
#include "ui/rules_inspector.h"
#include "ui/spreadsheet_editor.h"
#include "ui/spreadsheet_inspector.h"
#include "ui/tutorial_view.h"
#include "ui/window_launches.h"

#include <QTest>
#include <QtDBus>
#include <QtWidgets>

#include <cstdio>
#include <functional>

using namespace Qt::StringLiterals;
using Step = TutorialView::Step;

// Written as designated initializers, rules and requests keep the defaults of the fields left out.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace {

constexpr int patience = 10000;

bool settled(const AppModel& model, int timeout = patience) {
    return QTest::qWaitFor([&] { return !model.busy() && !model.previewing(); }, timeout);
}

// Controls are found the way a person finds them: by what they show or what
// a screen reader says.
template <typename Widget> Widget* named(QWidget* root, const QString& accessibleName) {
    for (Widget* widget : root->findChildren<Widget*>())
        if (widget->accessibleName() == accessibleName)
            return widget;
    return nullptr;
}

template <typename Widget = QAbstractButton> Widget* withText(QObject* root, const QString& text) {
    for (Widget* widget : root->findChildren<Widget*>())
        if (widget->text() == text && widget->isVisible())
            return widget;
    return nullptr;
}

// Whether labels on screen show all of `texts`.
bool shows(QWidget* root, QStringList texts) {
    for (QLabel* label : root->findChildren<QLabel*>())
        if (label->isVisible())
            texts.removeAll(label->text());
    return texts.isEmpty();
}

bool canPress(QWidget* root, const QString& text) {
    QAbstractButton* button = withText(root, text);
    return button && button->isEnabled();
}

// The model's request for one folder, as it asks for Photos.
FileDialogs::OpenRequest accessTo(const QString& photos) {
    return {.title = "Allow access to Photos",
            .prompt = "Allow this folder",
            .message = "Tessary needs this exact folder: " + photos + ".",
            .chooseFolders = true,
            .initialFolder = QUrl::fromLocalFile(photos)};
}

// The title and text of the last message box answered.
QString lastAlert;

// Answers the next message box with the button labelled `choice`. One that
// opens later, after work in the background, is waited for; otherwise the
// answer is spent if no box is open when the event loop next turns.
void answerNextMessageBox(const QString& choice, bool waitForIt = true) {
    QTimer::singleShot(0, [=] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (QAbstractButton* button = box ? withText(box, choice) : nullptr) {
            lastAlert = box->windowTitle() + u'\n' + box->informativeText();
            button->click();
        } else if (waitForIt) {
            answerNextMessageBox(choice);
        }
    });
}

// False when no such button is on screen or it cannot be pressed.
bool press(QWidget* root, const QString& text, const QString& answer = {}) {
    if (!canPress(root, text))
        return false;
    if (!answer.isEmpty())
        answerNextMessageBox(answer, false);
    QTest::mouseClick(withText(root, text), Qt::LeftButton);
    QCoreApplication::processEvents();
    return true;
}

void typeInto(QWidget* field, const QString& text) {
    field->setFocus();
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(field, Qt::Key_Backspace);
    for (char key : text.toLatin1())
        key == '\n' ? QTest::keyClick(field, Qt::Key_Return) : QTest::keyClick(field, key);
}

// What a control shows: a list's choice, a field's or a count's text, or a
// switch's "on" or "off".
QString state(QWidget* root, const QString& control) {
    if (auto* box = named<QComboBox>(root, control))
        return box->currentText();
    if (auto* field = named<QWidget>(root, control))
        return field->property("text").toString();
    return withText(root, control)->isChecked() ? u"on"_s : u"off"_s;
}

// Opens the list and clicks the item.
bool choose(QComboBox* box, const QString& item) {
    box->showPopup();
    QAbstractItemView* list = box->view();
    if (!QTest::qWaitForWindowExposed(list->window()))
        return false;
    QRect cell = list->visualRect(list->model()->index(box->findText(item), 0));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, cell.center());
    return QTest::qWaitFor([&] { return !list->window()->isVisible(); }, patience);
}

const QStringList acmeLaunch = {"acme-launch-001.pdf", "acme-launch-002.jpg",
                                "acme-launch-003.png"};
const QStringList fromSpreadsheet = {"north-deck.pdf", "north-photo.jpg", "north-logo.png"};
const QString noProjectName = u"Enter a project name to try this recipe."_s;

// A value a call carries, as text: arrays in brackets after their signature,
// structures in parentheses.
QString text(const QVariant& value) {
    if (value.metaType() != QMetaType::fromType<QDBusArgument>())
        return value.toString();
    const auto argument = value.value<QDBusArgument>();
    const bool array = argument.currentType() == QDBusArgument::ArrayType;
    const QString opening = array ? argument.currentSignature() + u'[' : u"("_s;
    array ? argument.beginArray() : argument.beginStructure();
    QStringList items;
    while (!argument.atEnd())
        items << text(argument.asVariant());
    array ? argument.endArray() : argument.endStructure();
    return opening + items.join(u' ') + (array ? u']' : u')');
}

} // namespace

// The desktop's file-chooser portal as a sandboxed program meets it, on its
// own connection to the bus: it writes down each request's title and options
// and answers with the next of `answers`, an empty one being a cancel.
class StandInPortal : public QDBusVirtualObject {
public:
    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "portal");
    QList<QStringList> answers;
    QStringList asked;

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& call, const QDBusConnection&) override {
        // Any other call is refused, as the portal would refuse it.
        if (call.interface() != "org.freedesktop.portal.FileChooser" ||
            call.signature() != "ssa{sv}")
            return false;
        auto options = qdbus_cast<QVariantMap>(call.arguments()[2]);
        const QString request = "/org/freedesktop/portal/desktop/request/" +
                                call.service().mid(1).replace('.', '_') + '/' +
                                options.take("handle_token").toString();
        QStringList words{call.member(), call.arguments()[1].toString()};
        for (const auto& [key, value] : options.asKeyValueRange())
            words << key + '=' + text(value);
        asked << words.join(" | ");
        QDBusMessage response =
            QDBusMessage::createSignal(request, "org.freedesktop.portal.Request", "Response");
        const QStringList uris = answers.takeFirst();
        response << uint(uris.isEmpty() ? 1 : 0) << QVariantMap{{"uris", uris}};
        return bus.send(call.createReply(QVariant::fromValue(QDBusObjectPath(request)))) &&
               bus.send(response);
    }
};

class UiTest : public QObject {
    Q_OBJECT

    std::unique_ptr<TemporaryFolder> disk;
    ScriptedDialogs dialogs;
    ScriptedClipboard clipboard;
    RecordingUrlOpener urls;
    std::unique_ptr<QSettingsStore> settings;
    std::unique_ptr<AppModel> model;
    std::unique_ptr<MainWindow> window;
    std::unique_ptr<TutorialView> view;

    QAction* command(const QString& title) { return withText<QAction>(window.get(), title); }
    static bool onScreen(QWidget* w) { return w->show(), QTest::qWaitForWindowExposed(w); }

    void addFolder(const QString& folder) {
        dialogs.openAnswers.append({disk->url(folder)});
        command("Add Folder…")->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(!model->files().isEmpty() && !model->previewing(), patience);
    }

    // A new run of the app on the same journal and settings.
    void launch(bool withWindow = true, const QProcessEnvironment& environment = {}) {
        window.reset();
        model = std::make_unique<AppModel>(PlatformServices{dialogs, clipboard, *settings, urls},
                                           AppModel::Startup{disk->at("journal"), {}, environment});
        if (!withWindow)
            return;
        window = std::make_unique<MainWindow>(*model, *settings, urls);
        QVERIFY(onScreen(window.get()));
    }

    // The window of someone who has seen the tutorial, over a folder of two photos.
    void openWindow() {
        disk->make({"shoot/IMG_2.jpg", "shoot/IMG_10.jpg"});
        settings->setFlag("hasSeenTutorial", true);
        launch();
    }

    void openTutorial() {
        model->presentTutorial();
        view = std::make_unique<TutorialView>(*model, *settings, urls);
        QVERIFY(onScreen(view.get()));
    }

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init() {
        lastAlert.clear();
        disk = std::make_unique<TemporaryFolder>();
        dialogs = ScriptedDialogs();
        urls = RecordingUrlOpener();
        settings = std::make_unique<QSettingsStore>(disk->at("settings.ini"));
        launch(false);
    }

    void cleanup() {
        settled(*model);
        view.reset();
        window.reset();
        model.reset();
    }

    void rulesInspectorStoresAndShowsEveryRule() {
        RulesInspector inspector(*model);
        QVERIFY(onScreen(&inspector));

        // Each control changes its own rule and no other, at every keystroke or click.
        using Rules = RenameRules&;
        // clang-format off
        const struct { QString control, value; std::function<void(Rules)> change; } steps[] = {
            {u"Base name"_s, u"Q3"_s, [](Rules r) { r.baseName = u"Q3"_s; }},
            {u"Find"_s, u"IMG"_s, [](Rules r) { r.find = u"IMG"_s; }},
            {u"Replace with"_s, u"Photo"_s, [](Rules r) { r.replacement = u"Photo"_s; }},
            {u"Prefix"_s, u"acme-"_s, [](Rules r) { r.prefix = u"acme-"_s; }},
            {u"Suffix"_s, u"-final"_s, [](Rules r) { r.suffix = u"-final"_s; }},
            {u"Add a sequence"_s, u"on"_s, [](Rules r) { r.sequence = true; }},
            {u"Sequence digits"_s, u"00001"_s, [](Rules r) { r.sequencePadding = 5; }},
            {u"Letter case"_s, u"Title Case"_s, [](Rules r) { r.nameCase = NameCase::title; }},
            {u"Separators"_s, u"Underscores"_s, [](Rules r) { r.separator = NameSeparator::underscore; }},
            {u"Order"_s, u"Date taken"_s, [](Rules r) { r.order = NameOrder::taken; }},
            {u"Order direction"_s, u"Descending"_s, [](Rules r) { r.descending = true; }},
            {u"Shift dates"_s, u"-00:30"_s, [](Rules r) { r.shiftDates = u"-00:30"_s; }},
            {u"Regular expression"_s, u"on"_s, [](Rules r) { r.regex = true; }},
            {u"Remove accents"_s, u"on"_s, [](Rules r) { r.removeAccents = true; }},
            {u"Number duplicates"_s, u"on"_s, [](Rules r) { r.numberDuplicates = true; }},
            {u"Duplicate number format"_s, u"name_2"_s, [](Rules r) { r.duplicateFormat = DuplicateFormat::underscore; }},
            {u"Keep companion files together"_s, u"on"_s, [](Rules r) { r.companions = true; }},
            {u"Characters removed from the start"_s, u"2"_s, [](Rules r) { r.removeStart = 2; }},
            {u"Characters removed from the end"_s, u"1"_s, [](Rules r) { r.removeEnd = 1; }},
            {u"Insert"_s, u"-"_s, [](Rules r) { r.insertion = u"-"_s; }},
            {u"Insert at position"_s, u"-3"_s, [](Rules r) { r.insertAt = -3; }},
        };
        // clang-format on
        RenameRules expected;
        for (const auto& step : steps) {
            if (auto* box = named<QComboBox>(&inspector, step.control))
                QVERIFY2(choose(box, step.value), qPrintable(step.control));
            else if (QWidget* field = named<QWidget>(&inspector, step.control))
                typeInto(field, step.value);
            else
                QTest::mouseClick(withText(&inspector, step.control), Qt::LeftButton);
            step.change(expected);
            QVERIFY2(model->rules() == expected, qPrintable(step.control));
        }

        // The start number is clamped before it is stored. Each entry is typed key
        // by key into an emptied field, so each one is stored anew.
        auto* start = named<QLineEdit>(&inspector, u"Sequence start number"_s);
        // clang-format off
        const struct { QString typed; qint64 stored; } entries[] = {
            {u"0042"_s, 42}, {u"0"_s, 0}, {u"999999999"_s, 999'999'999}, {u"1000000000"_s, 999'999'999},
            {u"-12"_s, 0}};
        // clang-format on
        for (const auto& [typed, stored] : entries) {
            typeInto(start, typed);
            QCOMPARE(model->rules().sequenceStart, stored);
            QCOMPARE(start->text(), typed);
            // Leaving the field shows the number that was kept.
            QTest::keyClick(start, Qt::Key_Return);
            QCOMPARE(start->text(), QString::number(stored));
        }

        // The same controls show the rules the model holds: the defaults, then these.
        for (const RenameRules& shown : {RenameRules(), expected}) {
            model->setRules(shown);
            for (const auto& step : steps)
                QVERIFY2((state(&inspector, step.control) == step.value) == (shown == expected),
                         qPrintable(step.control));
            QCOMPARE(named<QComboBox>(&inspector, u"Duplicate number format"_s)->isEnabled(),
                     shown == expected);
            QCOMPARE(start->isEnabled(), shown == expected);
            QVERIFY(shows(&inspector, {shown == expected ? u"Custom rules"_s : u"Start fresh"_s}));
        }
        const Recipe& handoff = Recipe::builtIn().front();
        model->apply(handoff);
        QVERIFY(shows(&inspector, {u"Client handoff"_s}));
        // Showing the recipe wrote nothing back, so it is still the selected one.
        QCOMPARE(model->selectedRecipe(), std::optional<Recipe>(handoff));
        // A change elsewhere leaves the cursor of the field being typed in alone.
        auto* base = named<QLineEdit>(&inspector, u"Base name"_s);
        base->setFocus();
        base->setCursorPosition(6);
        model->setRules({.baseName = u"Studio North"_s, .suffix = u"-v2"_s});
        QTest::keyClicks(base, u"X"_s);
        QCOMPARE(model->rules().baseName, u"StudioX North"_s);

        // Tokens and pattern mistakes are pointed out as they are typed.
        model->setRules(RenameRules());
        const QString notAToken = u"{draft} is not a token; kept as text"_s;
        typeInto(base, u"{draft} "_s);
        QVERIFY(shows(&inspector, {notAToken}));
        QTest::keyClick(base, Qt::Key_Space, Qt::ControlModifier);
        auto* menu = base->findChild<QMenu*>();
        QVERIFY(menu && menu->isVisible());
        for (QAction* item : menu->actions())
            if (item->text().startsWith(u"Date taken"_s))
                item->trigger();
        menu->hide();
        QCOMPARE(model->rules().baseName, u"{draft} {taken:yyyy-MM-dd}"_s);
        typeInto(base, u"{folder}"_s);
        QVERIFY(!shows(&inspector, {notAToken}));
        QLineEdit* find = named<QLineEdit>(&inspector, u"Find"_s);
        typeInto(find, u"^IMG_("_s);
        const QString mistake =
            u"This regular expression has a mistake at character 7: missing closing parenthesis."_s;
        QVERIFY(!shows(&inspector, {mistake}));
        QVERIFY(press(&inspector, u"Regular expression"_s));
        QVERIFY(shows(&inspector, {mistake}));
        // A named group in the replacement is no mistyped token.
        typeInto(find, u"(?<what>\\w+)"_s);
        typeInto(named<QLineEdit>(&inspector, u"Replace with"_s), u"${what}"_s);
        QVERIFY(!shows(&inspector, {mistake}));
        QVERIFY(!shows(&inspector, {u"{what} is not a token; kept as text"_s}));
        // Further replacements come and go; the new one takes the cursor.
        QVERIFY(press(&inspector, u"Add a replacement"_s));
        QTest::keyClicks(QApplication::focusWidget(), u"a"_s);
        typeInto(named<QLineEdit>(&inspector, u"Replace with, step 2"_s), u"b"_s);
        QCOMPARE(model->rules().moreReplacements, (QList<Replacement>{{u"a"_s, u"b"_s}}));
        QTest::mouseClick(named<QToolButton>(&inspector, u"Remove replacement, step 2"_s),
                          Qt::LeftButton);
        QVERIFY(model->rules().moreReplacements.isEmpty());
        typeInto(named<QLineEdit>(&inspector, u"Shift dates"_s), u"+1h"_s);
        QVERIFY(shows(&inspector,
                      {u"“+1h” is not a date shift; write it as +01:00, -00:30 or +1d 02:00."_s}));

        QVERIFY(press(&inspector, u"Save recipe"_s));
        QVERIFY(model->showSaveRecipe());
        QVERIFY(press(&inspector, u"Check Windows filenames"_s));
        QVERIFY(model->checkWindows());
        model->setCheckWindows(false);
        QVERIFY(!withText(&inspector, u"Check Windows filenames"_s)->isChecked());
        QTest::mouseClick(named<QAbstractButton>(&inspector, u"About Windows filename checks"_s),
                          Qt::LeftButton);
        QVERIFY(
            QTest::qWaitForWindowExposed(named<QFrame>(&inspector, u"Windows filename checks"_s)));
    }

    void spreadsheetCardAndEditorFollowTheList() {
        // Confined as in a Flatpak, where a folder is used only once the person
        // chose it; unconfined, as elsewhere here, nothing is asked.
        QProcessEnvironment flatpak;
        flatpak.insert("FLATPAK_ID", "org.tessary.Tessary");
        launch(false, flatpak);
        // Files on disk, added as if their folder had been chosen in the panel.
        disk->make({"shoot/a.txt", "shoot/b.txt"});
        model->add({disk->url("shoot")}, {disk->url("shoot")});
        QVERIFY(settled(*model) && model->files().size() == 2);
        SpreadsheetInspector card(*model);
        card.show();
        QVERIFY(shows(&card, {u"Paste two columns or open CSV / TSV."_s}));
        QVERIFY(press(&card, u"Add spreadsheet"_s));
        QVERIFY(model->showMappingEditor());
        QVERIFY(shows(&card, {u"Checking the list…"_s}));
        SpreadsheetEditor editor(*model);
        QVERIFY(onScreen(&editor));
        auto* issues = named<QTextEdit>(&editor, u"Spreadsheet issues"_s);
        auto* text = named<MappingTextEditor>(&editor, u"Spreadsheet mapping text"_s);
        auto* format = named<QComboBox>(&editor, u"Spreadsheet format"_s);

        typeInto(text, u"a.txt,x.txt\nz.txt,y.txt\nq.txt,w.txt"_s);
        QVERIFY(shows(&editor, {u"Checking the newest text…"_s}));
        QVERIFY(settled(*model));
        QVERIFY(shows(&editor, {u"3 spreadsheet issues to resolve"_s}));
        for (const QString& issue :
             {u"Row 2 · z.txt\nNo selected file exactly matches this original filename."_s,
              u"\nb.txt\nNo mapping for this selected file."_s})
            QVERIFY2(issues->toPlainText().contains(issue), qPrintable(issues->toPlainText()));
        QVERIFY(shows(&card, {u"3 mappings · 2 files"_s}));
        QVERIFY(canPress(&card, u"Review 3 spreadsheet issues"_s));
        QVERIFY(!shows(&card, {u"Every file has a match"_s}));
        // Tab types a tab; Ctrl+Tab leaves for the issues, where Tab and Return,
        // or a click, go to an issue's line.
        text->setFocus();
        QTest::keyClick(text, Qt::Key_Tab, Qt::ControlModifier);
        QVERIFY(issues->hasFocus());
        QTest::keyClick(issues, Qt::Key_Tab);
        QTest::keyClick(issues, Qt::Key_Return);
        QVERIFY(text->hasFocus() && text->textCursor().blockNumber() == 1);
        QRect row3 = issues->cursorRect(issues->document()->find(u"Row 3"_s));
        QTest::mouseClick(issues->viewport(), Qt::LeftButton, {}, row3.center());
        QTest::keyClick(text, Qt::Key_Tab);
        QCOMPARE(text->toPlainText(), u"a.txt,x.txt\nz.txt,y.txt\n\tq.txt,w.txt"_s);
        QTest::keyClick(text, Qt::Key_Tab, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(withText(&editor, u"Clear"_s)->hasFocus());

        typeInto(text, u"a.txt,x.txt\nb.txt,y.txt"_s);
        QVERIFY(settled(*model));
        QVERIFY(!issues->isVisibleTo(&editor));
        QVERIFY(
            shows(&editor, {u"2 mappings checked"_s,
                            u"Return to the live preview to review proposed names and any "
                            "filesystem conflicts. Nothing changes until you confirm Rename."_s}));
        QVERIFY(shows(&card, {u"2 mappings · 2 files"_s, u"Every file has a match"_s}));

        QVERIFY(press(&editor, u"Clear"_s));
        QVERIFY(settled(*model));
        QCOMPARE(issues->toPlainText(),
                 u"Paste or open two columns: old filename and new filename."_s);
        model->setShowMappingEditor(false);
        QVERIFY(press(&card, u"Review 1 spreadsheet issue"_s));
        QVERIFY(model->showMappingEditor());
        // A clear is undone like typing, and the model takes the text back.
        text->setFocus();
        QTest::keyClick(text, Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(model->mappingText(), u"a.txt,x.txt\nb.txt,y.txt"_s);
        QVERIFY(canPress(&card, u"Edit spreadsheet"_s));

        dialogs.openAnswers.append({QUrl::fromLocalFile(disk->file("list.TSV", "e.txt\tf.txt\n"))});
        QVERIFY(press(&editor, u"Open CSV / TSV…"_s));
        QCOMPARE(text->toPlainText(), u"e.txt\tf.txt\n"_s);
        QCOMPARE(format->currentText(), u"TSV (tabs)"_s);
        QVERIFY(choose(format, u"CSV (commas)"_s));
        QCOMPARE(model->mappingFormat(), MappingFormat::csv);

        // Every way of closing the editor tells the model.
        const std::function<void()> ways[] = {
            [&] { press(&editor, u"Done"_s); },
            [&] {
                withText(&editor, u"Done"_s)->setFocus();
                QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
            },
            [&] { QTest::keyClick(&editor, Qt::Key_Escape); }, [&] { editor.close(); }};
        for (const auto& close : ways) {
            model->editSpreadsheet();
            QVERIFY(model->showMappingEditor() && onScreen(&editor));
            close();
            QVERIFY(!model->showMappingEditor());
            QVERIFY(!editor.isVisible());
        }
        // And it waits while folder access is asked for.
        model->editSpreadsheet();
        editor.show();
        std::optional<bool> enabledWhileAsking;
        connect(model.get(), &AppModel::authorizingFoldersChanged, &editor, [&] {
            if (model->authorizingFolders())
                enabledWhileAsking = editor.isEnabled();
        });
        QVERIFY(!model->authorizeFolders({QUrl::fromLocalFile(disk->path())}, u"Test."_s));
        QCOMPARE(enabledWhileAsking, std::optional<bool>(false));
        QVERIFY(editor.isEnabled());
    }

    void dropRenameUndoQuitAndRecoverAsAPersonWould() {
        openWindow();
        QWidget* win = window.get();
        QVERIFY(!command("Undo Last Rename Batch")->isEnabled());
        QMimeData data;
        data.setUrls({disk->url("shoot")});
        auto drop = [&] {
            QDragEnterEvent enter({200, 200}, Qt::CopyAction, &data, Qt::LeftButton,
                                  Qt::NoModifier);
            QApplication::sendEvent(win, &enter);
            QDropEvent dropped({200, 200}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(win, &dropped);
            return enter.isAccepted() && dropped.isAccepted();
        };
        model->setShowSaveRecipe(true);
        QVERIFY(!drop());
        model->setShowSaveRecipe(false);
        // Outside a sandbox a dropped folder, and its undo below, need no
        // request.
        QVERIFY(drop());
        QTRY_VERIFY_WITH_TIMEOUT(shows(win, {"2 files · naturally sorted by name"}), patience);

        // One base name for two files: both rows collide, and the window says why.
        QTest::keyClicks(named<QLineEdit>(win, "Base name"), "Shoot");
        QTRY_VERIFY_WITH_TIMEOUT(canPress(win, "Review 2 conflicts"), patience);
        QVERIFY(!canPress(win, "Rename 0 files"));
        QVERIFY(press(win, "Review 2 conflicts"));
        QTRY_VERIFY(shows(win, {"Resolve conflicts before renaming"}));
        // A conflict's name selects every file it collides with.
        for (QLabel* conflict : win->findChildren<QLabel*>())
            if (conflict->text().contains("Proposed:"))
                emit conflict->linkActivated("0");
        QTRY_VERIFY(withText(win, "Remove 2"));

        QVERIFY(press(win, "Add a sequence"));
        QTRY_VERIFY_WITH_TIMEOUT(canPress(win, "Rename 2 files"), patience);
        QVERIFY(press(win, "Rename 2 files", "Rename files"));
        QTRY_VERIFY_WITH_TIMEOUT(shows(win, {"2 names saved for undo"}), patience);

        QVERIFY(press(win, "Undo last batch"));
        QTRY_VERIFY_WITH_TIMEOUT(
            shows(win, {"The last batch was undone. Original names restored."}), patience);
        QVERIFY(dialogs.openRequests.isEmpty());

        // The keyboard moves rows and leaves the table, a drag moves them too,
        // and either key removes them.
        addFolder("shoot");
        auto* table = win->findChild<QTableView*>();
        win->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(win));
        table->setFocus();
        auto rowNames = [&] {
            return QStringList{table->model()->index(0, 0).data().toString(),
                               table->model()->index(1, 0).data().toString()};
        };
        // At the default size a new name of 60 characters has room to be read
        // whole, however the columns are arranged.
        model->setRules({.suffix = u" tram 28 climbing Rua da Conceição past the Sé, May"_s});
        QVERIFY(settled(*model));
        for (int column : {0, 1}) {
            const QModelIndex cell = table->model()->index(0, column);
            QVERIFY(table->isColumnHidden(column) ||
                    table->sizeHintForIndex(cell).width() <= table->visualRect(cell).width());
        }
        model->setRules({});
        QVERIFY(settled(*model));
        const QStringList before = rowNames();
        table->selectRow(0);
        // Alt+Down opens a list of the rules, and moves rows only from the rows.
        auto* order = named<QComboBox>(win, "Order");
        order->setFocus();
        QTest::keyClick(order, Qt::Key_Down, Qt::AltModifier);
        QVERIFY(settled(*model) && rowNames() == before && order->view()->isVisible());
        order->hidePopup();
        win->activateWindow();
        QTRY_COMPARE(QApplication::activeWindow(), win);
        table->setFocus();
        QTest::keyClick(table, Qt::Key_Down, Qt::AltModifier);
        QTRY_COMPARE(rowNames(), (QStringList{before[1], before[0]}));
        QVERIFY(shows(win, {"2 files · as arranged"}));
        std::unique_ptr<QMimeData> dragged(table->model()->mimeData({table->model()->index(1, 0)}));
        QVERIFY(table->model()->dropMimeData(dragged.get(), Qt::MoveAction, 0, 0, {}));
        QTRY_COMPARE(rowNames(), before);
        // F2 opens a new name with its stem chosen to be typed over; a command
        // gives the rules' name back.
        table->selectRow(0);
        QTest::keyClick(table, Qt::Key_F2);
        QTRY_VERIFY(qobject_cast<QLineEdit*>(QApplication::focusWidget()));
        auto* editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
        QTRY_COMPARE(editor->selectedText(), before[0].section('.', 0, 0));
        QTest::keyClicks(editor, u"mine"_s);
        QTest::keyClick(editor, Qt::Key_Return);
        QTRY_COMPARE(model->rows()[0].intent.filename, "mine." + before[0].section('.', 1));
        command(u"Reset New Names"_s)->trigger();
        QTRY_VERIFY(!model->rows()[0].namedByHand);
        table->selectRow(0);
        QTest::keyClick(table, Qt::Key_Tab);
        QVERIFY(!table->hasFocus());
        table->setFocus();
        QTest::keyClick(table, Qt::Key_Delete);
        QTRY_COMPARE(table->model()->rowCount(), 1);
        // The View menu's shortcuts jump to the rules and back to the rows.
        QTest::keyClick(table, Qt::Key_1, Qt::ControlModifier);
        QTRY_COMPARE(QApplication::focusWidget()->accessibleName(), "Base name");
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_2, Qt::ControlModifier);
        QTRY_COMPARE(QApplication::focusWidget(), table);
        // Tab goes from the rows to the first rule and on through every control
        // of the rules, all the way round; Return presses a focused button.
        QSet<QWidget*> reached;
        for (QWidget* at = table; reached.size() < 60;) {
            QTest::keyClick(at, Qt::Key_Tab);
            at = QApplication::focusWidget();
            if (at == table)
                break;
            reached.insert(at);
        }
        auto* rules = win->findChild<RulesInspector*>();
        for (QWidget* control : rules->findChildren<QWidget*>())
            QVERIFY2(reached.contains(control) || !control->isVisible() || !control->isEnabled() ||
                         !(control->focusPolicy() & Qt::TabFocus) || control->focusProxy(),
                     qPrintable(control->accessibleName()));
        withText(rules, u"Add a replacement"_s)->setFocus();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        QTRY_COMPARE(model->rules().moreReplacements.size(), 1);
        model->setRules({});
        table->setFocus();
        // A key without Ctrl, so that the next click selects rather than toggles.
        QTest::keyClick(table, Qt::Key_Escape);
        table->selectRow(0);
        QTest::keyClick(table, Qt::Key_Backspace);
        QTRY_COMPARE(table->model()->rowCount(), 0);

        // A batch named by spreadsheet, which quitting waits for.
        addFolder("shoot");
        QVERIFY(press(win, "Spreadsheet"));
        QVERIFY(press(win, "Add spreadsheet"));
        QTRY_VERIFY(canPress(win, "Paste columns"));
        clipboard.contents = "IMG_2.jpg,first.jpg\nIMG_10.jpg,second.jpg\n";
        QVERIFY(press(win, "Paste columns"));
        QVERIFY(press(win, "Done"));
        QTRY_VERIFY_WITH_TIMEOUT(canPress(win, "Rename 2 files"), patience);
        model->rename();
        // Quitting waits for the rename.
        answerNextMessageBox("OK");
        QVERIFY(!window->close());
        QVERIFY(window->isVisible());
        QTRY_VERIFY_WITH_TIMEOUT(!model->busy(), patience);
        QVERIFY(window->close());
        // Interrupted after both files had their new names; then another program
        // replaced one of them.
        const QString journal = disk->at("journal");
        disk->file(
            "journal/active.json",
            disk->read("journal/undo.json").replace(R"("completed":true)", R"("completed":false)"));
        QVERIFY(QFile::remove(journal + "/undo.json"));
        const QString replacement = disk->file("shoot/replacement");
        QCOMPARE(std::rename(qPrintable(replacement), qPrintable(disk->at("shoot/second.jpg"))), 0);

        launch();
        win = window.get();
        QVERIFY(!withText(win, "Restore the files that can be found…"));
        answerNextMessageBox("OK");
        QVERIFY(press(win, "Recover original names"));
        QTRY_VERIFY_WITH_TIMEOUT(withText(win, "Restore the files that can be found…"), patience);
        QTRY_VERIFY(!model->error());

        QVERIFY(press(win, "Restore the files that can be found…", "Restore found files"));
        QTRY_COMPARE_WITH_TIMEOUT(model->setAsideCount(), qsizetype(1), patience);
        QTRY_VERIFY(!withText(win, "Recover original names"));
        // The record stays findable: its line opens the journal folder.
        for (QLabel* label : win->findChildren<QLabel*>())
            if (label->isVisible() && label->text().contains("1 set-aside batch record</a>"))
                emit label->linkActivated("journal");
        QCOMPARE(urls.opened, QList<QUrl>{QUrl::fromLocalFile(journal)});
        urls.nothingOpens = true;
        model->showJournal();
        QTRY_VERIFY(
            shows(win, {"No file manager could open the journal folder: " + journal + "."}));
        // The ampersand is part of the title, not a keyboard mnemonic.
        command("Privacy && Support")->trigger();
        QTRY_VERIFY(shows(
            win, {"No browser could open this page: " + urls.opened.last().toLocalFile() + "."}));
    }

    // Adding, renaming and undoing 5000 files: the footer and the notice count
    // them, at once and then about 30 times a second.
    void longBatchesShowTheirCountWithoutFloodingTheWindow() {
        openWindow();
        // On tmpfs where there is one: 20,000 folder flushes on a disk take minutes.
        QTemporaryDir fast(QDir("/dev/shm").exists() ? "/dev/shm/tessary-XXXXXX"
                                                     : disk->path() + "/fast-XXXXXX");
        for (int number = 1; number <= 5000; ++number)
            QVERIFY(
                QFile(fast.filePath(QString("IMG_%1.jpg").arg(number))).open(QIODevice::WriteOnly));
        QList<RenameProgress> reports;
        connect(model.get(), &AppModel::progressChanged, window.get(), [&] {
            if (model->progress())
                reports.append(*model->progress());
        });
        auto* bar = window->findChild<QProgressBar*>();
        // Whenever the window gets to draw: the count in the footer, and whether
        // the notice above says the same instead of what it said before.
        QStringList counts;
        auto look = [&] {
            if (!bar->isVisible())
                return;
            QString count = bar->parentWidget()->findChild<QLabel*>()->text();
            int showing = 0;
            bool hint = false;
            for (QLabel* label : window->findChildren<QLabel*>()) {
                showing += label->isVisible() && label->text() == count;
                hint = hint || (label->isVisible() && label->text().endsWith("Rename when ready."));
            }
            // No word of what to do next while a batch runs.
            counts.append(count + (showing == 2 ? "" : " (not in the notice)") +
                          (hint && model->busy() ? " (beside a hint)" : ""));
        };
        QTimer drawing;
        connect(&drawing, &QTimer::timeout, look);
        drawing.start(1);
        // A loaded machine may deliver every count between two of the timer's
        // looks, as it would between two frames; so each changed notice is also
        // looked at once the window has taken it in.
        bool noticed = false;
        connect(model.get(), &AppModel::noticeChanged, window.get(), [&] { noticed = true; });
        connect(model.get(), &AppModel::changed, window.get(), [&] {
            if (std::exchange(noticed, false))
                look();
        });
        model->setRules({.prefix = "done-"});
        dialogs.openAnswers = {{QUrl::fromLocalFile(fast.path())}};
        // The sanitizer build is many times slower.
        const int longer = 6 * patience;

        using enum RenameProgress::Phase;
        // clang-format off
        const struct { RenameProgress::Phase phase; std::function<void()> start; QString notice; qsizetype undoable; QString example, counts; } operations[] = {
            {adding, [&] { command("Add Folder…")->trigger(); }, "5000 files · naturally sorted by name", 0, "IMG_5000.jpg", R"(^(Adding (files|\d+ of 5000 files)…|Reading (dates|\d+ of 5000 dates)… \(not in the notice\))$)"},
            {renaming, [&] { QVERIFY(canPress(window.get(), "Rename 5000 files")); model->rename(); }, "5000 files renamed. You can undo this batch, even after reopening Tessary.", 5000, "done-IMG_5000.jpg", R"(^Renaming (files|\d+ of 5000 files)…$)"},
            {undoing, [&] { command("Undo Last Rename Batch")->trigger(); }, "The last batch was undone. Original names restored.", 0, "IMG_5000.jpg", R"(^Undoing (files|\d+ of 5000 files)…$)"},
        };
        // clang-format on
        for (const auto& operation : operations) {
            reports.clear();
            counts.clear();
            QElapsedTimer timer;
            timer.start();
            operation.start();
            QCOMPARE(model->mutatingFiles(), operation.phase != adding);
            // The notice shows the count at once, in place of what it said before.
            QCOMPARE(model->notice(), (RenameProgress{operation.phase, 0, 0}.text()));
            QVERIFY(settled(*model, longer));
            QVERIFY(!model->progress());
            QVERIFY(shows(window.get(), {operation.notice}));
            QCOMPARE(model->undoCount(), operation.undoable);
            QVERIFY(QFile::exists(fast.filePath(operation.example)));
            QVERIFY2(reports.size() >= 3, "the engine's counts did not reach the model");
            QCOMPARE(reports.last(), (RenameProgress{operation.phase, 5000, 5000}));
            for (qsizetype index = 1; index < reports.size(); ++index) {
                QCOMPARE(reports[index].phase, operation.phase);
                QVERIFY(reports[index].done >= reports[index - 1].done);
            }
            // About 30 a second, beside the first and the last count.
            QVERIFY2(reports.size() <= timer.elapsed() / 33 + 3,
                     qPrintable(QString::number(reports.size())));
            // The files' dates are read beside the adding, and only the footer counts them;
            // that is over before the next count is watched.
            QTRY_VERIFY_WITH_TIMEOUT(!model->readingProgress(), longer);
            QVERIFY(!bar->isVisible());
            QVERIFY2(!counts.filter(" of 5000 files…").isEmpty(), qPrintable(counts.join('\n')));
            QCOMPARE(counts.filter(QRegularExpression(operation.counts)), counts);
        }
        // Choosing the folder in the add panel is its grant: no second panel.
        QCOMPARE(dialogs.openRequests.size(), 1);
    }

    // The real dialogs: the reason for an access request is on screen, the folder
    // asked for is already chosen, the next panel starts where the person chose,
    // and a folder chooser answered with nothing chosen adds nothing.
    void folderChoosersSayWhyAndStartWhereThePersonIs() {
        const QString photos = disk->folder("Photos");
        QtFileDialogs dialogs;
        const FileDialogs::OpenRequest access = accessTo(photos);
        QStringList seen;
        auto answer = [&](const QString& button) {
            QTimer::singleShot(0, [&seen, button] {
                QWidget* frame = QApplication::activeModalWidget();
                auto* message = frame->findChild<QLabel*>("dialogMessage");
                seen << frame->windowTitle() << (message ? message->text() : QString())
                     << frame->findChild<QFileDialog*>()->directory().absolutePath();
                withText(frame, button)->click();
            });
        };
        answer("Allow this folder");
        QCOMPARE(dialogs.open(access), QList<QUrl>{QUrl::fromLocalFile(photos)});
        answer("Cancel");
        QVERIFY(dialogs.open({.prompt = "Add files"}).isEmpty());
        // Return in the folder chooser with nothing chosen adds nothing, not
        // the folder it happens to show.
        answer("Add folder");
        QVERIFY(dialogs.open({.prompt = "Add folder", .chooseFolders = true, .multiple = true})
                    .isEmpty());
        QCOMPARE(seen, (QStringList{access.title, access.message, disk->path(), "Add files", "",
                                    photos, "Add folder", "", photos}));
    }

    // In a sandbox the choosers are the desktop's, through its portal: an
    // access request gives its reason first, then opens the portal's panel at
    // the folder asked for; filters and a proposed name go with the request;
    // with no portal on the bus, Qt's panel asks instead.
    void sandboxedChoosersAreThePortals() {
        if (!qEnvironmentVariableIsSet("TESSARY_TEST_BUS"))
            QSKIP("Needs the private session bus of test_ui_bus.");
        StandInPortal portal;
        QVERIFY(portal.bus.registerService("org.freedesktop.portal.Desktop"));
        QVERIFY(portal.bus.registerVirtualObject("/org/freedesktop/portal/desktop", &portal));
        ScriptedDialogs qtPanels;
        PortalFileDialogs dialogs(QDBusConnection::sessionBus(), qtPanels);
        const QString photos = disk->folder("Photos");
        const QString report = disk->at("report.html");
        const FileDialogs::OpenRequest access = accessTo(photos);
        portal.answers = {
            {QUrl::fromLocalFile(photos).toString()}, {}, {QUrl::fromLocalFile(report).toString()}};

        answerNextMessageBox("Choose Folder…");
        QCOMPARE(dialogs.open(access), QList<QUrl>{QUrl::fromLocalFile(photos)});
        QCOMPARE(lastAlert, access.title + '\n' + access.message);
        answerNextMessageBox("Cancel");
        QVERIFY(dialogs.open(access).isEmpty());
        QVERIFY(dialogs
                    .open({.prompt = "Open",
                           .multiple = true,
                           .nameFilters = {"Spreadsheet (*.csv *.tsv)"}})
                    .isEmpty());
        QCOMPARE(dialogs.save({.title = "Export Draft Report",
                               .proposedName = "report.html",
                               .nameFilters = {"HTML document (*.html)"}}),
                 report);
        QCOMPARE(
            portal.asked,
            (QStringList{"OpenFile | Allow access to Photos | accept_label=Allow this folder | "
                         "current_folder=" +
                             photos + QChar(0) + " | directory=true | multiple=false",
                         "OpenFile | Open | accept_label=Open | directory=false | "
                         "filters=a(sa(us))[(Spreadsheet a(us)[(0 *.csv) (0 *.tsv)])] | "
                         "multiple=true",
                         "SaveFile | Export Draft Report | current_name=report.html | "
                         "filters=a(sa(us))[(HTML document a(us)[(0 *.html)])]"}));
        QVERIFY(qtPanels.openRequests.isEmpty() && qtPanels.saveRequests.isEmpty());

        QVERIFY(portal.bus.unregisterService("org.freedesktop.portal.Desktop"));
        QVERIFY(dialogs.open({.prompt = "Add folder", .chooseFolders = true}).isEmpty());
        QCOMPARE(qtPanels.openRequests.size(), 1);
    }

    // The spreadsheet loop needs no project name, and Back undoes its rename;
    // the rules loop renames, undoes and finishes, all on screen only.
    void tutorialLoopsRenameAndUndoOnScreenOnly() {
        openTutorial();
        QWidget* v = view.get();
        QVERIFY(!press(v, u"Back"_s));
        QVERIFY(press(v, u"Try sample files"_s));
        QVERIFY(shows(v, TutorialPractice::sampleNames() +
                             QStringList{"studio-north-001.pdf", "studio-north-002.jpg",
                                         "studio-north-003.png",
                                         "3 ready · extensions stay the same"}));
        for (auto [typed, problem] :
             {std::pair(u"North/South"_s, u"Remove slashes, colons, or control characters."_s),
              std::pair(u"   "_s, noProjectName)}) {
            typeInto(v->findChild<QLineEdit*>(), typed);
            QVERIFY(shows(v, {problem}));
            QVERIFY(!press(v, u"Rename sample files"_s));
        }
        view->confirmSampleRename();
        QCOMPARE(view->step(), Step::preview);

        QVERIFY(press(v, u"Spreadsheet"_s));
        QVERIFY(!shows(v, {noProjectName}));
        QVERIFY(shows(v, fromSpreadsheet + QStringList{TutorialPractice::spreadsheetSample()}));

        // Return is the primary button's key.
        answerNextMessageBox(u"Rename samples"_s, false);
        QTest::keyClick(v, Qt::Key_Return);
        QVERIFY(shows(v, QStringList{"A fresh set of names."} + fromSpreadsheet));

        QVERIFY(press(v, u"Back"_s));
        QCOMPARE(view->step(), Step::preview);
        QVERIFY(!view->practice().renamedNames);
        QVERIFY(press(v, u"Naming rules"_s));
        QVERIFY(shows(v, {noProjectName}));
        QVERIFY(press(v, u"Back"_s));
        view->goBack();
        QCOMPARE(view->step(), Step::welcome);

        QVERIFY(press(v, u"Try sample files"_s));
        typeInto(v->findChild<QLineEdit*>(), u"Acme Launch"_s);
        QVERIFY(shows(v, acmeLaunch));
        // The alert asks first, and Cancel leaves the samples as they are.
        QVERIFY(press(v, u"Rename sample files"_s, u"Cancel"_s));
        QVERIFY(lastAlert.startsWith(u"Rename these 3 sample files?\nThis practice changes sample "
                                     "names on screen only."_s));
        QCOMPARE(view->step(), Step::preview);
        QVERIFY(press(v, u"Rename sample files"_s, u"Rename samples"_s));
        QVERIFY(shows(v, QStringList{"A fresh set of names."} + acmeLaunch));

        QVERIFY(press(v, u"Undo sample rename"_s));
        QVERIFY(shows(v, {"Back to the originals."}));
        QVERIFY(!shows(v, {acmeLaunch.front()}));

        QVERIFY(press(v, u"Continue"_s));
        QVERIFY(named<QWidget>(v, u"Tutorial step 4 of 4"_s));
        QVERIFY(press(v, u"Full guide ↗"_s));
        QCOMPARE(urls.opened, QList<QUrl>{TutorialView::userGuide()});
        QVERIFY(TutorialView::userGuide().isLocalFile());

        QVERIFY(press(v, u"Start using Tessary"_s));
        QVERIFY(!view->isVisible());
        QVERIFY(model->files().isEmpty());
        QVERIFY(!QFile::exists(disk->at(u"journal/undo.json"_s)));
    }

    // Also after the samples were renamed.
    void everyWayOutRecordsTheTutorialAsSeen() {
        const std::function<void(QWidget*)> ways[] = {
            [](QWidget* v) { QVERIFY(press(v, u"Skip tutorial"_s)); },
            [](QWidget* v) {
                QVERIFY(press(v, u"Try sample files"_s));
                QVERIFY(press(v, u"Rename sample files"_s, u"Rename samples"_s));
                QVERIFY(press(v, u"Skip tutorial"_s));
            },
            [](QWidget* v) { QTest::keyClick(v, Qt::Key_Escape); },
            [](QWidget* v) { v->close(); },
            [this](QWidget*) { model->setShowTutorial(false); },
        };
        for (const auto& way : ways) {
            settings->setFlag(u"hasSeenTutorial"_s, false);
            openTutorial();
            way(view.get());
            // A shortcut clicks its button after a short press animation.
            QTRY_VERIFY(!view->isVisible());
            QVERIFY(settings->flag(u"hasSeenTutorial"_s));
            QVERIFY(!model->showTutorial());
        }
    }

    // The real `tessary`, launched as a shell or a file manager launches it, while
    // a window is open: its items go to that window, which comes to the front,
    // and no second window opens. Runs once without a session bus (the local
    // socket) and, where dbus-run-session exists, once on a private session bus.
    // It is the last test, as it changes the environment the programs it starts
    // inherit.
    void laterLaunchesAndTheCliReachTheOpenWindow() {
        // Runs `program` from the temporary folder, as a person at a shell would.
        auto run = [&](const QString& program, const QStringList& arguments) {
            auto* process = new QProcess(this);
            process->setWorkingDirectory(disk->path());
            process->start(program, arguments);
            return process;
        };
        // Waits with the event loop running: the window in this process must answer.
        auto endsWell = [](QProcess* process, int milliseconds = patience) {
            return QTest::qWaitFor([&] { return process->state() == QProcess::NotRunning; },
                                   milliseconds) &&
                   process->exitCode() == 0;
        };
        // Never the person's own session: a window of theirs must not receive
        // the test's files, nor the test's launches reach their journal.
        const bool onBus = qEnvironmentVariableIsSet("TESSARY_TEST_BUS");
        if (!onBus)
            qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qunsetenv("DISPLAY");
        qunsetenv("WAYLAND_DISPLAY");
        // The channel's socket must be where the launched programs look for it.
        QStandardPaths::setTestModeEnabled(false);
        QFile(disk->folder("runtime"))
            .setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", disk->at("runtime").toUtf8());
        qputenv("XDG_DATA_HOME", disk->at("data").toUtf8());
        qputenv("XDG_CONFIG_HOME", disk->at("config").toUtf8());
        qputenv("TESSARY_DEMO_ROOT", disk->at("demo").toUtf8());
        qputenv("QT_QPA_PLATFORM", "offscreen");
        disk->make(
            {"My Trip/day #1.jpg", "My Trip/day #2.jpg", "My Trip/day #3.jpg", "loose/notes.txt"});
        openWindow();
        LaunchChannel channel("org.tessary.Tessary");
        QVERIFY(channel.claim({}, disk->path()));
        if (onBus)
            QVERIFY(QDBusConnection::sessionBus().interface()->isServiceRegistered(
                "org.tessary.Tessary"));
        WindowLaunches launches(*model, *window);
        connect(&channel, &LaunchChannel::opened, &launches, &WindowLaunches::open);
        // Another window of the desktop has the focus when the launch comes.
        QWidget elsewhere;
        elsewhere.show();
        elsewhere.activateWindow();
        QTRY_VERIFY(elsewhere.isActiveWindow());

        // A relative path, a percent-encoded URI as Nemo and Nautilus pass them,
        // and a folder.
        const QString trip = disk->url("My Trip/day #1.jpg").toString(QUrl::FullyEncoded);
        QVERIFY(endsWell(run(TESSARY_APP, {"shoot/IMG_10.jpg", trip, disk->at("loose")})));
        QTRY_COMPARE_WITH_TIMEOUT(model->files().size(), qsizetype(3), patience);
        // Outside a sandbox the program already has the person's access:
        // nothing is asked before the files are in.
        QVERIFY(dialogs.openRequests.isEmpty());
        QTRY_VERIFY(window->isActiveWindow());

        // Items that are not on this computer are refused with a sentence.
        QVERIFY(endsWell(run(TESSARY_APP, {"sftp://host/a.jpg"})));
        QTRY_COMPARE(model->error().value_or(""), "Only files and folders on this computer can be "
                                                  "added, so sftp://host/a.jpg was not added.");
        model->setError(std::nullopt);

        // While an editor is open the items wait, and are added when it closes.
        model->setShowSaveRecipe(true);
        QVERIFY(endsWell(run(TESSARY_APP, {disk->at("shoot/IMG_2.jpg")})));
        QTest::qWait(200);
        QCOMPARE(model->files().size(), qsizetype(3));
        model->setShowSaveRecipe(false);
        QTRY_COMPARE_WITH_TIMEOUT(model->files().size(), qsizetype(4), patience);

        // Two launches at the same moment: neither opens a window, and neither's
        // items are lost.
        QProcess* first = run(TESSARY_APP, {"My Trip/day #2.jpg"});
        QProcess* second = run(TESSARY_APP, {"My Trip/day #3.jpg"});
        QVERIFY(endsWell(first) && endsWell(second));
        QTRY_COMPARE_WITH_TIMEOUT(model->files().size(), qsizetype(6), patience);

        // A demonstration opens a window of its own instead.
        QProcess* launch = run(TESSARY_APP, {"--demo"});
        QVERIFY(!endsWell(launch, 1500) && launch->state() == QProcess::Running);
        QVERIFY(QDir(disk->at("demo/Journal")).exists());
        launch->kill();
        launch->waitForFinished();
        QCOMPARE(model->files().size(), qsizetype(6));

        // tessary-cli undoes the window's batch: the window stops offering the undo.
        model->setRules({.prefix = "x-"});
        QTRY_VERIFY_WITH_TIMEOUT(model->canRename(), patience);
        model->rename();
        QTRY_VERIFY_WITH_TIMEOUT(shows(window.get(), {"6 names saved for undo"}), patience);
        QVERIFY(endsWell(run(TESSARY_CLI, {"undo", "--journal", disk->at("journal")})));
        QTRY_COMPARE_WITH_TIMEOUT(model->undoCount(), qsizetype(0), patience);
        QVERIFY(!shows(window.get(), {"6 names saved for undo"}));
        QCOMPARE(QDir(disk->at("shoot")).entryList(QDir::Files),
                 (QStringList{"IMG_10.jpg", "IMG_2.jpg"}));
    }
};

QTEST_MAIN(UiTest)
#include "test_ui.moc"
