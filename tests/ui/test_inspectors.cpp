#include "scripted_services.h"

#include "app/app_model.h"
#include "app/qsettings_store.h"

#include "ui/mapping_text_editor.h"
#include "ui/rules_inspector.h"
#include "ui/spreadsheet_editor.h"
#include "ui/spreadsheet_inspector.h"

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

bool shows(QWidget* root, const QString& text) {
    for (QLabel* label : root->findChildren<QLabel*>())
        if (label->text() == text && label->isVisibleTo(root))
            return true;
    return false;
}

void click(QWidget* root, const QString& text) {
    QTest::mouseClick(button(root, text), Qt::LeftButton);
}

void typeInto(QWidget* field, const QString& text) {
    field->setFocus();
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(field, Qt::Key_Backspace);
    for (char key : text.toLatin1()) {
        if (key == '\n')
            QTest::keyClick(field, Qt::Key_Return);
        else
            QTest::keyClick(field, key);
    }
}

// What a control shows: a field's text, a list's choice, or a switch's "on" or "off".
QString state(QWidget* root, const QString& control) {
    if (auto* field = named<QLineEdit>(root, control))
        return field->text();
    if (auto* box = named<QComboBox>(root, control))
        return box->currentText();
    return button(root, control)->isChecked() ? u"on"_s : u"off"_s;
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

    void startNumberIsClampedBeforeItIsStored();
    void everyControlStoresItsRuleAndShowsTheModels();
    void tokensAndPatternMistakesAreShown();
    void cardAndEditorFollowTheList();
    void editorClosesEveryWayAndWaitsForFolderAccess();

private:
    std::unique_ptr<QTemporaryDir> disk;
    ScriptedDialogs dialogs;
    ScriptedClipboard clipboard;
    RecordingUrlOpener urls;
    std::unique_ptr<QSettingsStore> settings;
    std::unique_ptr<AppModel> model;
};

void InspectorsTest::init() {
    disk = std::make_unique<QTemporaryDir>();
    dialogs = ScriptedDialogs();
    settings = std::make_unique<QSettingsStore>(disk->filePath(u"settings.ini"_s));
    model = std::make_unique<AppModel>(
        PlatformServices{dialogs, clipboard, *settings, urls},
        AppModel::Startup{disk->filePath(u"journal"_s), {}, QProcessEnvironment()});
}

void InspectorsTest::cleanup() {
    settled(*model);
    model.reset();
}

void InspectorsTest::startNumberIsClampedBeforeItIsStored() {
    RulesInspector inspector(*model);
    inspector.show();
    auto* start = named<QLineEdit>(&inspector, u"Sequence start number"_s);
    QVERIFY(!start->isEnabled());
    click(&inspector, u"Add a sequence"_s);
    QVERIFY(start->isEnabled());
    // Each entry is typed key by key into an emptied field, so each one is stored anew.
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
}

void InspectorsTest::everyControlStoresItsRuleAndShowsTheModels() {
    RulesInspector inspector(*model);
    inspector.show();
    QVERIFY(QTest::qWaitForWindowExposed(&inspector));

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
        {u"Regular expression"_s, u"on"_s, [](Rules r) { r.regex = true; }},
        {u"Remove accents"_s, u"on"_s, [](Rules r) { r.removeAccents = true; }},
        {u"Number duplicates"_s, u"on"_s, [](Rules r) { r.numberDuplicates = true; }},
        {u"Duplicate number format"_s, u"name_2"_s, [](Rules r) { r.duplicateFormat = DuplicateFormat::underscore; }},
    };
    // clang-format on
    RenameRules expected;
    for (const auto& step : steps) {
        if (auto* field = named<QLineEdit>(&inspector, step.control))
            typeInto(field, step.value);
        else if (auto* box = named<QComboBox>(&inspector, step.control))
            QVERIFY2(choose(box, step.value), qPrintable(step.control));
        else
            click(&inspector, step.control);
        step.change(expected);
        QVERIFY2(model->rules() == expected, qPrintable(step.control));
    }

    // The same controls show the rules the model holds: the defaults, then these.
    for (const RenameRules& shown : {RenameRules(), expected}) {
        model->setRules(shown);
        for (const auto& step : steps)
            QVERIFY2((state(&inspector, step.control) == step.value) == (shown == expected),
                     qPrintable(step.control));
        QCOMPARE(named<QComboBox>(&inspector, u"Duplicate number format"_s)->isEnabled(),
                 shown == expected);
        QVERIFY(shows(&inspector, shown == expected ? u"Custom rules"_s : u"Start fresh"_s));
    }
    const Recipe& handoff = Recipe::builtIn().front();
    model->apply(handoff);
    QVERIFY(shows(&inspector, u"Client handoff"_s));
    // Showing the recipe wrote nothing back, so it is still the selected one.
    QCOMPARE(model->selectedRecipe(), std::optional<Recipe>(handoff));
    // A change elsewhere leaves the cursor of the field being typed in alone.
    auto* base = named<QLineEdit>(&inspector, u"Base name"_s);
    base->setFocus();
    base->setCursorPosition(6);
    RenameRules rules = model->rules();
    rules.suffix = u"-v2"_s;
    model->setRules(rules);
    QTest::keyClicks(base, u"X"_s);
    QCOMPARE(model->rules().baseName, u"StudioX North"_s);

    click(&inspector, u"Save recipe"_s);
    QVERIFY(model->showSaveRecipe());
    QAbstractButton* check = button(&inspector, u"Check Windows filenames"_s);
    QTest::mouseClick(check, Qt::LeftButton);
    QVERIFY(model->checkWindows());
    model->setCheckWindows(false);
    QVERIFY(!check->isChecked());
    QTest::mouseClick(named<QAbstractButton>(&inspector, u"About Windows filename checks"_s),
                      Qt::LeftButton);
    auto* help = named<QFrame>(&inspector, u"Windows filename checks"_s);
    QVERIFY(QTest::qWaitForWindowExposed(help));
}

void InspectorsTest::tokensAndPatternMistakesAreShown() {
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

    QLineEdit* find = named<QLineEdit>(&inspector, u"Find"_s);
    typeInto(find, u"^IMG_("_s);
    const QString mistake =
        u"This regular expression has a mistake at character 7: missing closing parenthesis."_s;
    QVERIFY(!shows(&inspector, mistake));
    click(&inspector, u"Regular expression"_s);
    QVERIFY(shows(&inspector, mistake));
    // A named group in the replacement is no mistyped token.
    typeInto(find, u"(?<what>\\w+)"_s);
    typeInto(named<QLineEdit>(&inspector, u"Replace with"_s), u"${what}"_s);
    QVERIFY(!shows(&inspector, mistake));
    QVERIFY(!shows(&inspector, u"{what} is not a token; kept as text"_s));
}

void InspectorsTest::cardAndEditorFollowTheList() {
    // Files on disk, added as if their folder had been chosen in the panel.
    const QUrl in = QUrl::fromLocalFile(disk->filePath(u"in"_s));
    QDir().mkpath(in.toLocalFile());
    for (const QString& name : {u"a.txt"_s, u"b.txt"_s})
        QVERIFY(QFile(in.toLocalFile() + u'/' + name).open(QIODevice::WriteOnly));
    model->add({in}, {in});
    QVERIFY(settled(*model) && model->files().size() == 2);
    SpreadsheetInspector card(*model);
    card.show();
    QVERIFY(shows(&card, u"Paste two columns or open CSV / TSV."_s));
    click(&card, u"Add spreadsheet"_s);
    QVERIFY(model->showMappingEditor());
    QVERIFY(shows(&card, u"Checking the list…"_s));
    SpreadsheetEditor editor(*model);
    editor.show();
    QVERIFY(QTest::qWaitForWindowExposed(&editor));
    auto* issues = named<QTextEdit>(&editor, u"Spreadsheet issues"_s);
    auto* text = named<MappingTextEditor>(&editor, u"Spreadsheet mapping text"_s);
    auto* format = named<QComboBox>(&editor, u"Spreadsheet format"_s);

    typeInto(text, u"a.txt,x.txt\nz.txt,y.txt\nq.txt,w.txt"_s);
    QVERIFY(shows(&editor, u"Checking the newest text…"_s));
    QVERIFY(settled(*model));
    QVERIFY(shows(&editor, u"3 spreadsheet issues to resolve"_s));
    QString listed = issues->toPlainText();
    QVERIFY2(listed.contains(u"Row 2 · z.txt\nNo selected file exactly matches this original "
                             "filename."_s),
             qPrintable(listed));
    QVERIFY2(listed.contains(u"\nb.txt\nNo mapping for this selected file."_s), qPrintable(listed));
    QVERIFY(shows(&card, u"3 mappings · 2 files"_s));
    QVERIFY(button(&card, u"Review 3 spreadsheet issues"_s));
    QVERIFY(!shows(&card, u"Every file has a match"_s));

    typeInto(text, u"a.txt,x.txt\nb.txt,y.txt"_s);
    QVERIFY(settled(*model));
    QVERIFY(!issues->isVisibleTo(&editor));
    QVERIFY(shows(&editor, u"2 mappings checked"_s));
    QVERIFY(shows(&editor, u"Return to the live preview to review proposed names and any "
                           "filesystem conflicts. Nothing changes until you confirm Rename."_s));
    QVERIFY(shows(&card, u"2 mappings · 2 files"_s));
    QVERIFY(shows(&card, u"Every file has a match"_s));

    click(&editor, u"Clear"_s);
    QVERIFY(settled(*model));
    QCOMPARE(issues->toPlainText(), u"Paste or open two columns: old filename and new filename."_s);
    model->setShowMappingEditor(false);
    click(&card, u"Review 1 spreadsheet issue"_s);
    QVERIFY(model->showMappingEditor());
    // A clear is undone like typing, and the model takes the text back.
    text->setFocus();
    QTest::keyClick(text, Qt::Key_Z, Qt::ControlModifier);
    QCOMPARE(model->mappingText(), u"a.txt,x.txt\nb.txt,y.txt"_s);
    QVERIFY(button(&card, u"Edit spreadsheet"_s));

    QFile list(disk->filePath(u"list.TSV"_s));
    QVERIFY(list.open(QIODevice::WriteOnly) && list.write("e.txt\tf.txt\n") == 12);
    list.close();
    dialogs.openAnswers.append({QUrl::fromLocalFile(list.fileName())});
    click(&editor, u"Open CSV / TSV…"_s);
    QCOMPARE(text->toPlainText(), u"e.txt\tf.txt\n"_s);
    QCOMPARE(format->currentText(), u"TSV (tabs)"_s);
    QVERIFY(choose(format, u"CSV (commas)"_s));
    QCOMPARE(model->mappingFormat(), MappingFormat::csv);
}

void InspectorsTest::editorClosesEveryWayAndWaitsForFolderAccess() {
    SpreadsheetEditor editor(*model);
    auto reopen = [&] {
        model->editSpreadsheet();
        editor.show();
        return model->showMappingEditor() && QTest::qWaitForWindowExposed(&editor);
    };
    const std::function<void()> ways[] = {[&] { click(&editor, u"Done"_s); },
                                          [&] { QTest::keyClick(&editor, Qt::Key_Escape); },
                                          [&] { editor.close(); }};
    for (const auto& close : ways) {
        QVERIFY(reopen());
        close();
        QVERIFY(!model->showMappingEditor());
        QVERIFY(!editor.isVisible());
    }

    QVERIFY(reopen());
    std::optional<bool> enabledWhileAsking;
    connect(model.get(), &AppModel::authorizingFoldersChanged, &editor, [&] {
        if (model->authorizingFolders())
            enabledWhileAsking = editor.isEnabled();
    });
    QVERIFY(!model->authorizeFolders({QUrl::fromLocalFile(disk->path())}, u"Test."_s));
    QCOMPARE(enabledWhileAsking, std::optional<bool>(false));
    QVERIFY(editor.isEnabled());
}

QTEST_MAIN(InspectorsTest)

#include "test_inspectors.moc"
