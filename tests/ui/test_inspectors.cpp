#include "scripted_services.h"

#include "app/app_model.h"
#include "app/qsettings_store.h"

#include "ui/mapping_text_editor.h"
#include "ui/rules_inspector.h"
#include "ui/spreadsheet_editor.h"
#include "ui/spreadsheet_inspector.h"
#include "ui/windows_check_control.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>

#include <functional>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr int patience = 10000;

// The open panel, with a look at the window while it is up.
class WatchedDialogs : public ScriptedDialogs {
public:
    std::function<void()> whileOpen;

    QList<QUrl> open(const OpenRequest& request) override {
        if (whileOpen)
            whileOpen();
        return ScriptedDialogs::open(request);
    }
};

bool settled(const AppModel& model) {
    return QTest::qWaitFor([&] { return !model.busy() && !model.previewing(); }, patience);
}

// Controls are found the way a person finds them: by what they show or what
// a screen reader says.
template <typename Widget> Widget* named(QWidget* root, const QString& accessibleName) {
    for (Widget* widget : root->findChildren<Widget*>())
        if (widget->accessibleName() == accessibleName)
            return widget;
    return nullptr;
}

QAbstractButton* button(QWidget* root, const QString& text) {
    for (QAbstractButton* candidate : root->findChildren<QAbstractButton*>())
        if (candidate->text() == text && candidate->isVisibleTo(root))
            return candidate;
    return nullptr;
}

QStringList items(const QComboBox* box) {
    QStringList texts;
    for (int index = 0; index < box->count(); ++index)
        texts.append(box->itemText(index));
    return texts;
}

bool shows(QWidget* root, const QString& text) {
    for (QLabel* label : root->findChildren<QLabel*>())
        if (label->text() == text && label->isVisibleTo(root))
            return true;
    return false;
}

void typeInto(QWidget* field, const QString& text) {
    field->setFocus();
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(field, Qt::Key_Backspace);
    QStringList lines = text.split(u'\n');
    for (qsizetype line = 0; line < lines.size(); ++line) {
        if (line > 0)
            QTest::keyClick(field, Qt::Key_Return);
        QTest::keyClicks(field, lines[line]);
    }
}

// Opens the list and clicks the item.
bool choose(QComboBox* box, const QString& item) {
    int index = box->findText(item);
    if (index < 0)
        return false;
    box->showPopup();
    QAbstractItemView* list = box->view();
    if (!QTest::qWaitForWindowExposed(list->window()))
        return false;
    QRect cell = list->visualRect(list->model()->index(index, 0));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, cell.center());
    return QTest::qWaitFor([&] { return !list->window()->isVisible(); }, patience);
}

} // namespace

class InspectorsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }
    void init();
    void cleanup();

    void textFieldsWriteEveryKeystroke_data();
    void textFieldsWriteEveryKeystroke();
    void startNumberIsClampedBeforeItIsStored_data();
    void startNumberIsClampedBeforeItIsStored();
    void choicesStoreTheirValues();
    void tokensPatternsAndSwitches();
    void rulesFromElsewhereFillTheFieldsWithoutEditing();
    void saveRecipeAndWindowsCheck();
    void spreadsheetCardFollowsTheList();
    void editorPastesOpensAndClears();
    void editorListsEachIssueWithItsRowAndName();
    void editorClosesEveryWayAndWaitsForFolderAccess();

private:
    std::unique_ptr<QTemporaryDir> disk;
    WatchedDialogs dialogs;
    ScriptedClipboard clipboard;
    RecordingUrlOpener urls;
    std::unique_ptr<QSettingsStore> settings;
    std::unique_ptr<AppModel> model;

    // Files on disk, added as if their folder had been chosen in the panel.
    bool load(const QStringList& names) {
        QString folder = disk->filePath(u"in"_s);
        QDir().mkpath(folder);
        for (const QString& name : names) {
            QFile file(folder + u'/' + name);
            if (!file.open(QIODevice::WriteOnly) || file.write("content") != 7)
                return false;
        }
        model->add({QUrl::fromLocalFile(folder)}, {QUrl::fromLocalFile(folder)});
        return settled(*model) && model->files().size() == names.size();
    }
};

void InspectorsTest::init() {
    disk = std::make_unique<QTemporaryDir>();
    dialogs = WatchedDialogs();
    clipboard.contents.clear();
    settings = std::make_unique<QSettingsStore>(disk->filePath(u"settings.ini"_s));
    model = std::make_unique<AppModel>(
        PlatformServices{dialogs, clipboard, *settings, urls},
        AppModel::Startup{disk->filePath(u"journal"_s), {}, QProcessEnvironment()});
}

void InspectorsTest::cleanup() {
    settled(*model);
    model.reset();
}

void InspectorsTest::textFieldsWriteEveryKeystroke_data() {
    QTest::addColumn<QString>("placeholder");
    QTest::addColumn<QString>("accessibleName");
    QTest::addColumn<QString RenameRules::*>("field");
    QTest::newRow("base name") << u"Keep original name"_s << u"Base name"_s
                               << &RenameRules::baseName;
    QTest::newRow("find") << u"Find"_s << u"Find"_s << &RenameRules::find;
    QTest::newRow("replace") << u"Replace with"_s << u"Replace with"_s << &RenameRules::replacement;
    QTest::newRow("prefix") << u"e.g. acme-"_s << u"Prefix"_s << &RenameRules::prefix;
    QTest::newRow("suffix") << u"e.g. -final"_s << u"Suffix"_s << &RenameRules::suffix;
}

void InspectorsTest::textFieldsWriteEveryKeystroke() {
    QFETCH(QString, placeholder);
    QFETCH(QString, accessibleName);
    QFETCH(QString RenameRules::*, field);
    RulesInspector inspector(*model);
    inspector.show();
    QVERIFY(shows(&inspector, u"Start fresh"_s));

    auto* edit = named<QLineEdit>(&inspector, accessibleName);
    QVERIFY(edit);
    QCOMPARE(edit->placeholderText(), placeholder);
    edit->setFocus();
    QTest::keyClicks(edit, u"Q"_s);
    QCOMPARE(model->rules().*field, u"Q"_s);
    QTest::keyClicks(edit, u"3 report"_s);
    QCOMPARE(model->rules().*field, u"Q3 report"_s);
    QVERIFY(shows(&inspector, u"Custom rules"_s));

    // Emptying the field again brings back the defaults, and with them the fresh start.
    QTest::keyClick(edit, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(edit, Qt::Key_Backspace);
    QVERIFY(model->rules() == RenameRules());
    QVERIFY(shows(&inspector, u"Start fresh"_s));
}

void InspectorsTest::startNumberIsClampedBeforeItIsStored_data() {
    QTest::addColumn<QString>("typed");
    QTest::addColumn<qint64>("stored");
    QTest::newRow("negative") << u"-12"_s << qint64(0);
    QTest::newRow("too large") << u"1000000000"_s << qint64(999'999'999);
    QTest::newRow("largest") << u"999999999"_s << qint64(999'999'999);
    QTest::newRow("zero") << u"0"_s << qint64(0);
    QTest::newRow("leading zeros") << u"0042"_s << qint64(42);
}

void InspectorsTest::startNumberIsClampedBeforeItIsStored() {
    QFETCH(QString, typed);
    QFETCH(qint64, stored);
    RulesInspector inspector(*model);
    inspector.show();
    auto* start = named<QLineEdit>(&inspector, u"Sequence start number"_s);
    QVERIFY(start);
    QCOMPARE(start->toolTip(), u"A whole number from 0 to 999,999,999"_s);
    QCOMPARE(start->text(), u"1"_s);
    QVERIFY(!start->isEnabled());

    QAbstractButton* sequence = button(&inspector, u"Add a sequence"_s);
    QVERIFY(sequence);
    QTest::mouseClick(sequence, Qt::LeftButton);
    QVERIFY(model->rules().sequence);
    QVERIFY(start->isEnabled());

    typeInto(start, typed);
    QCOMPARE(model->rules().sequenceStart, stored);
    QCOMPARE(start->text(), typed);
    // Leaving the field shows the number that was kept.
    QTest::keyClick(start, Qt::Key_Return);
    QCOMPARE(start->text(), QString::number(stored));
}

void InspectorsTest::choicesStoreTheirValues() {
    RulesInspector inspector(*model);
    inspector.show();
    QVERIFY(QTest::qWaitForWindowExposed(&inspector));
    QTest::mouseClick(button(&inspector, u"Add a sequence"_s), Qt::LeftButton);

    auto* digits = named<QComboBox>(&inspector, u"Sequence digits"_s);
    QVERIFY(digits);
    QCOMPARE(items(digits), (QStringList{"1", "01", "001", "0001", "00001", "000001"}));
    QVERIFY(choose(digits, u"00001"_s));
    QCOMPARE(model->rules().sequencePadding, 5);
    QVERIFY(choose(digits, u"001"_s));
    QCOMPARE(model->rules().sequencePadding, 3);

    auto* letterCase = named<QComboBox>(&inspector, u"Letter case"_s);
    QVERIFY(letterCase);
    QCOMPARE(letterCase->currentText(), u"Keep original"_s);
    QVERIFY(choose(letterCase, u"Title Case"_s));
    QCOMPARE(model->rules().nameCase, NameCase::title);

    auto* separators = named<QComboBox>(&inspector, u"Separators"_s);
    QVERIFY(separators);
    QCOMPARE(separators->toolTip(), u"Normalize spaces, hyphens, and underscores."_s);
    QCOMPARE(separators->itemData(0, Qt::AccessibleTextRole).toString(),
             u"Keep original separators"_s);
    QVERIFY(choose(separators, u"Underscores"_s));
    QCOMPARE(model->rules().separator, NameSeparator::underscore);
    QCOMPARE(model->recipeTitle(), u"Custom rules"_s);

    auto* order = named<QComboBox>(&inspector, u"Order"_s);
    QVERIFY(order);
    QCOMPARE(order->currentText(), u"Natural filename order"_s);
    QVERIFY(choose(order, u"Date taken"_s));
    QCOMPARE(model->rules().order, NameOrder::taken);
    QVERIFY(choose(named<QComboBox>(&inspector, u"Order direction"_s), u"Descending"_s));
    QVERIFY(model->rules().descending);
}

void InspectorsTest::tokensPatternsAndSwitches() {
    RulesInspector inspector(*model);
    inspector.show();
    QVERIFY(QTest::qWaitForWindowExposed(&inspector));
    QLineEdit* base = named<QLineEdit>(&inspector, u"Base name"_s);
    typeInto(base, u"{draft} "_s);
    QVERIFY(shows(&inspector, u"{draft} is not a token; kept as text"_s));

    base->actions().constFirst()->trigger();
    auto* menu = base->findChild<QMenu*>();
    QVERIFY(menu && menu->isVisible());
    for (QAction* item : menu->actions()) {
        if (item->text().startsWith(u"Date taken"_s))
            item->trigger();
    }
    menu->hide();
    QCOMPARE(model->rules().baseName, u"{draft} {taken:yyyy-MM-dd}"_s);
    typeInto(base, u"{folder}"_s);
    QVERIFY(!shows(&inspector, u"{draft} is not a token; kept as text"_s));
    // What is found is always literal, so its field offers no tokens.
    QLineEdit* find = named<QLineEdit>(&inspector, u"Find"_s);
    QVERIFY(find->actions().isEmpty());
    typeInto(find, u"^IMG_("_s);
    const QString mistake =
        u"This regular expression has a mistake at character 7: missing closing parenthesis."_s;
    QVERIFY(!shows(&inspector, mistake));
    QTest::mouseClick(button(&inspector, u"Regular expression"_s), Qt::LeftButton);
    QVERIFY(model->rules().regex);
    QVERIFY(shows(&inspector, mistake));
    // A named group in the replacement is no mistyped token.
    typeInto(find, u"(?<what>\\w+)"_s);
    typeInto(named<QLineEdit>(&inspector, u"Replace with"_s), u"${what}"_s);
    QVERIFY(!shows(&inspector, mistake));
    QVERIFY(!shows(&inspector, u"{what} is not a token; kept as text"_s));

    QTest::mouseClick(button(&inspector, u"Remove accents"_s), Qt::LeftButton);
    QVERIFY(model->rules().removeAccents);

    auto* format = named<QComboBox>(&inspector, u"Duplicate number format"_s);
    QVERIFY(!format->isEnabled());
    QTest::mouseClick(button(&inspector, u"Number duplicates"_s), Qt::LeftButton);
    QVERIFY(model->rules().numberDuplicates);
    QVERIFY(format->isEnabled());
    QCOMPARE(items(format), (QStringList{"name (2)", "name 2", "name-2", "name_2"}));
    QVERIFY(choose(format, u"name_2"_s));
    QCOMPARE(model->rules().duplicateFormat, DuplicateFormat::underscore);
}

void InspectorsTest::rulesFromElsewhereFillTheFieldsWithoutEditing() {
    RulesInspector inspector(*model);
    inspector.show();
    auto* base = named<QLineEdit>(&inspector, u"Base name"_s);
    auto* suffix = named<QLineEdit>(&inspector, u"Suffix"_s);

    const Recipe& handoff = Recipe::builtIn().front();
    model->apply(handoff);
    QCOMPARE(base->text(), u"Studio North"_s);
    QCOMPARE(named<QComboBox>(&inspector, u"Letter case"_s)->currentText(), u"lowercase"_s);
    QCOMPARE(named<QComboBox>(&inspector, u"Separators"_s)->currentText(), u"Hyphens"_s);
    QVERIFY(button(&inspector, u"Add a sequence"_s)->isChecked());
    QVERIFY(shows(&inspector, u"Client handoff"_s));
    // Showing the recipe wrote nothing back, so it is still the selected one.
    QCOMPARE(model->selectedRecipe(), std::optional<Recipe>(handoff));

    // A change elsewhere leaves the cursor of the field being typed in alone.
    base->setFocus();
    base->setCursorPosition(6);
    RenameRules rules = model->rules();
    rules.suffix = u"-v2"_s;
    model->setRules(rules);
    QCOMPARE(suffix->text(), u"-v2"_s);
    QCOMPARE(base->cursorPosition(), 6);
    QTest::keyClicks(base, u"X"_s);
    QCOMPARE(model->rules().baseName, u"StudioX North"_s);

    model->startFresh();
    QCOMPARE(base->text(), QString());
    QCOMPARE(suffix->text(), QString());
    QVERIFY(!button(&inspector, u"Add a sequence"_s)->isChecked());
    QCOMPARE(named<QComboBox>(&inspector, u"Sequence digits"_s)->currentText(), u"001"_s);
    QVERIFY(shows(&inspector, u"Start fresh"_s));
}

void InspectorsTest::saveRecipeAndWindowsCheck() {
    RulesInspector inspector(*model);
    inspector.show();
    QVERIFY(QTest::qWaitForWindowExposed(&inspector));

    QAbstractButton* save = button(&inspector, u"Save recipe"_s);
    QVERIFY(save);
    QCOMPARE(save->toolTip(), u"Save the current rules. Rules apply from top to bottom; "
                              "extensions stay unchanged."_s);
    QTest::mouseClick(save, Qt::LeftButton);
    QVERIFY(model->showSaveRecipe());

    QAbstractButton* check = button(&inspector, u"Check Windows filenames"_s);
    QVERIFY(check);
    QTest::mouseClick(check, Qt::LeftButton);
    QVERIFY(model->checkWindows());
    model->setCheckWindows(false);
    QVERIFY(!check->isChecked());

    auto* about = named<QAbstractButton>(&inspector, u"About Windows filename checks"_s);
    QVERIFY(about);
    QCOMPARE(about->toolTip(), u"What Windows filename checks cover"_s);
    QTest::mouseClick(about, Qt::LeftButton);
    auto* help = named<QFrame>(&inspector, u"Windows filename checks"_s);
    QVERIFY(help);
    QVERIFY(QTest::qWaitForWindowExposed(help));
    QCOMPARE(help->width(), 280);
    QVERIFY(shows(help, u"Windows filename checks"_s));
    QVERIFY(shows(help, u"Flags reserved characters, device names and trailing dots or spaces. "
                        "Names are never rewritten automatically."_s));
    QVERIFY(shows(help, u"Full paths, cloud-service policies and linked project references are "
                        "not checked."_s));
    help->close();
}

void InspectorsTest::spreadsheetCardFollowsTheList() {
    QVERIFY(load({u"a.txt"_s, u"b.txt"_s}));
    SpreadsheetInspector card(*model);
    card.show();
    QVERIFY(shows(&card, u"Spreadsheet"_s));
    QVERIFY(shows(&card, u"Paste two columns or open CSV / TSV."_s));
    QVERIFY(!shows(&card, u"Every file has a match"_s));
    for (const QString& step : {u"Add the original files or folder."_s,
                                u"Paste old and new filenames, or open CSV / TSV."_s,
                                u"Resolve issues, then confirm the preview."_s})
        QVERIFY2(shows(&card, step), qPrintable(step));

    QAbstractButton* add = button(&card, u"Add spreadsheet"_s);
    QVERIFY(add);
    QTest::mouseClick(add, Qt::LeftButton);
    QVERIFY(model->showMappingEditor());
    QCOMPARE(model->mode(), RenameMode::spreadsheet);
    QVERIFY(shows(&card, u"Checking the list…"_s));

    model->updateMappingText(u"a.txt,x.txt\nb.txt,y.txt"_s);
    QVERIFY(settled(*model));
    QVERIFY(shows(&card, u"2 mappings · 2 files"_s));
    QVERIFY(shows(&card, u"Every file has a match"_s));
    QVERIFY(button(&card, u"Edit spreadsheet"_s));

    model->updateMappingText(u"a.txt,x.txt"_s);
    QVERIFY(settled(*model));
    QVERIFY(shows(&card, u"1 mappings · 2 files"_s));
    QVERIFY(!shows(&card, u"Every file has a match"_s));
    model->setShowMappingEditor(false);
    QAbstractButton* review = button(&card, u"Review 1 spreadsheet issue"_s);
    QVERIFY(review);
    QTest::mouseClick(review, Qt::LeftButton);
    QVERIFY(model->showMappingEditor());

    model->updateMappingText(u"c.txt,x.txt"_s);
    QVERIFY(settled(*model));
    QVERIFY(button(&card, u"Review 3 spreadsheet issues"_s));
}

void InspectorsTest::editorPastesOpensAndClears() {
    model->editSpreadsheet();
    SpreadsheetEditor editor(*model);
    editor.show();
    QVERIFY(QTest::qWaitForWindowExposed(&editor));
    QCOMPARE(editor.size(), QSize(760, 660));
    QVERIFY(shows(&editor, u"OLD FILENAME  →  NEW FILENAME"_s));

    QVERIFY(settled(*model));
    QVERIFY(shows(&editor, u"1 spreadsheet issues to resolve"_s));
    auto* issues = named<QTextEdit>(&editor, u"Spreadsheet issues"_s);
    QVERIFY(issues && issues->isVisibleTo(&editor));
    QCOMPARE(issues->toPlainText(), u"Paste or open two columns: old filename and new filename."_s);

    auto* text = named<MappingTextEditor>(&editor, u"Spreadsheet mapping text"_s);
    QVERIFY(text);
    QTest::keyClicks(text, u"a.txt,b.txt"_s);
    QCOMPARE(model->mappingText(), u"a.txt,b.txt"_s);

    QTest::mouseClick(button(&editor, u"Paste columns"_s), Qt::LeftButton);
    QVERIFY(shows(&editor, u"Checking the newest text…"_s));
    QVERIFY(shows(&editor, u"Rename is disabled until the preview is current."_s));
    QVERIFY(settled(*model));
    QVERIFY(shows(&editor, u"1 spreadsheet issues to resolve"_s));
    QCOMPARE(issues->toPlainText(),
             u"Copy two columns as text from your spreadsheet, then choose Paste columns."_s);
    QCOMPARE(text->toPlainText(), u"a.txt,b.txt"_s);

    auto* format = named<QComboBox>(&editor, u"Spreadsheet format"_s);
    QVERIFY(format);
    QVERIFY(choose(format, u"TSV (tabs)"_s));
    QCOMPARE(model->mappingFormat(), MappingFormat::tsv);
    clipboard.contents = u"c.txt\td.txt"_s;
    QTest::mouseClick(button(&editor, u"Paste columns"_s), Qt::LeftButton);
    QCOMPARE(text->toPlainText(), u"c.txt\td.txt"_s);
    QCOMPARE(format->currentText(), u"Detect format"_s);

    QTest::mouseClick(button(&editor, u"Clear"_s), Qt::LeftButton);
    QCOMPARE(text->toPlainText(), QString());
    QCOMPARE(model->mappingText(), QString());
    QVERIFY(settled(*model));
    QCOMPARE(issues->toPlainText(), u"Paste or open two columns: old filename and new filename."_s);
    // A clear is undone like typing, and the model takes the text back.
    text->setFocus();
    QTest::keyClick(text, Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(model->mappingText(), u"c.txt\td.txt"_s);

    QFile list(disk->filePath(u"list.TSV"_s));
    QVERIFY(list.open(QIODevice::WriteOnly));
    list.write("e.txt\tf.txt\n");
    list.close();
    dialogs.openAnswers.append({QUrl::fromLocalFile(list.fileName())});
    QTest::mouseClick(button(&editor, u"Open CSV / TSV…"_s), Qt::LeftButton);
    QCOMPARE(text->toPlainText(), u"e.txt\tf.txt\n"_s);
    QCOMPARE(format->currentText(), u"TSV (tabs)"_s);
}

void InspectorsTest::editorListsEachIssueWithItsRowAndName() {
    QVERIFY(load({u"a.txt"_s, u"b.txt"_s}));
    model->editSpreadsheet();
    SpreadsheetEditor editor(*model);
    editor.show();
    typeInto(named<MappingTextEditor>(&editor, u"Spreadsheet mapping text"_s),
             u"a.txt,x.txt\nz.txt,y.txt"_s);
    QVERIFY(settled(*model));

    QVERIFY(shows(&editor, u"2 spreadsheet issues to resolve"_s));
    QString listed = named<QTextEdit>(&editor, u"Spreadsheet issues"_s)->toPlainText();
    QVERIFY2(listed.contains(u"Row 2 · z.txt\nNo selected file exactly matches this original "
                             "filename."_s),
             qPrintable(listed));
    QVERIFY2(listed.contains(u"\nb.txt\nNo mapping for this selected file."_s), qPrintable(listed));

    typeInto(named<MappingTextEditor>(&editor, u"Spreadsheet mapping text"_s),
             u"a.txt,x.txt\nb.txt,y.txt"_s);
    QVERIFY(settled(*model));
    QVERIFY(shows(&editor, u"2 mappings checked"_s));
    QVERIFY(shows(&editor, u"Return to the live preview to review proposed names and any "
                           "filesystem conflicts. Nothing changes until you confirm Rename."_s));
}

void InspectorsTest::editorClosesEveryWayAndWaitsForFolderAccess() {
    SpreadsheetEditor editor(*model);
    QCOMPARE(editor.windowModality(), Qt::WindowModal);
    auto reopen = [&] {
        model->editSpreadsheet();
        editor.show();
        return model->showMappingEditor() && QTest::qWaitForWindowExposed(&editor);
    };

    const std::function<void()> ways[] = {
        [&] { QTest::mouseClick(button(&editor, u"Done"_s), Qt::LeftButton); },
        [&] { QTest::keyClick(&editor, Qt::Key_Escape); }, [&] { editor.close(); }};
    for (const auto& close : ways) {
        QVERIFY(reopen());
        close();
        QVERIFY(!model->showMappingEditor());
        QVERIFY(!editor.isVisible());
    }

    QVERIFY(reopen());
    std::optional<bool> enabledWhileAsking;
    dialogs.whileOpen = [&] { enabledWhileAsking = editor.isEnabled(); };
    QVERIFY(!model->authorizeFolders({QUrl::fromLocalFile(disk->path())}, u"Test."_s));
    QCOMPARE(enabledWhileAsking, std::optional<bool>(false));
    QVERIFY(editor.isEnabled());
}

QTEST_MAIN(InspectorsTest)

#include "test_inspectors.moc"
