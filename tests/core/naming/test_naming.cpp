#include "core/base/rename_failure.h"
#include "core/naming/filename.h"
#include "core/naming/recipe.h"
#include "core/naming/rename_rules.h"
#include "core/naming/windows_filename.h"

#include <nlohmann/json.hpp>

#include <QSet>
#include <QTest>

using Json = nlohmann::ordered_json;

namespace {

const QString dotName = QStringLiteral("Hidden filenames and dot names are not supported.");
const QString badCharacter = QStringLiteral("Remove slashes, colons, or control characters.");
const QString tooLong = QStringLiteral("The filename exceeds 255 UTF-8 bytes.");

const QString windowsCharacter =
    QStringLiteral("Windows filenames cannot contain < > : \" / \\ | ? * or control characters.");
const QString windowsEnding = QStringLiteral("Windows filenames cannot end in a period or space.");
const QString windowsDevice = QStringLiteral(
    "Windows reserves this device name, even with an extension. Choose a different name.");

// The keys rules always had, all required, then those added later, which
// rules saved before them lack.
const char* const ruleKeys[] = {"baseName",      "find",           "replacement", "prefix",
                                "suffix",        "nameCase",       "separator",   "sequence",
                                "sequenceStart", "sequencePadding"};
const char* const laterKeys[] = {
    "order",           "descending", "regex",      "removeAccents",    "numberDuplicates",
    "duplicateFormat", "shiftDates", "companions", "moreReplacements", "removeStart",
    "removeEnd",       "insertion",  "insertAt"};

// What is known of the file: nothing, its modified date only, or also the date it was taken.
enum Facts { noFacts, modifiedOnly, taken };

// Rules given as the stored JSON keys that differ from the defaults.
RenameRules rules(const QString& changes) {
    Json json = RenameRules();
    json.merge_patch(Json::parse(changes.toStdString()));
    return json.get<RenameRules>();
}

std::optional<FileFacts> facts(int known, int minutesEarlier = 0) {
    if (known == noFacts)
        return std::nullopt;
    FileFacts facts;
    if (known == taken) {
        facts.taken = QDateTime(QDate(2026, 5, 4), QTime(9, 30)).addSecs(-60 * minutesEarlier);
        facts.camera = "D850";
        facts.lens = "24-70mm";
        facts.width = 6048;
        facts.height = 4024;
        facts.artist = "Björk";
        facts.album = "Homogenic";
        facts.title = "Jóga";
        facts.track = 3;
        facts.year = 1997;
    }
    facts.modified = QDateTime(QDate(2026, 6, 1), QTime(18, 5)).addSecs(-60 * minutesEarlier);
    return facts;
}

// The rules' proposal for `name`, numbered `index`, with facts `known`.
struct Proposal {
    QString name{}, changes{}, expected{}, problem{};
    qint64 index = 0;
    int known = noFacts;
    QString leftOut{};
};

} // namespace

Q_DECLARE_METATYPE(Proposal)

class NamingTest : public QObject {
    Q_OBJECT
private slots:
    void problem_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("expected");
        // clang-format off
        QTest::newRow("empty") << QString() << "The filename is empty.";
        QTest::newRow("dot") << "." << dotName;
        QTest::newRow("hidden") << ".profile" << dotName;
        // Checks stop at the first failure, so these pin the order.
        QTest::newRow("hidden beats slash") << ".a/b" << dotName;
        QTest::newRow("colon beats length") << QString("a").repeated(299) + ":" << badCharacter;
        // The edges of the controls below U+0100, which are answered without Unicode's tables.
        for (const char* name : {"a/b", "a:b", "a\tb", "a\x1f" "b", "a\u007fb", "a\u009fb", "a\u00adb", "a\u200bb", "a\ufeffb", "a\u202eb"})
            QTest::addRow("refused %s", qPrintable(Filename::shown(name))) << QString(name) << badCharacter;
        for (const char* name : {"a b", "a\u00a0b", "a\\b", "a.", "a~b"})
            QTest::addRow("allowed %s", name) << QString(name) << QString();
        QTest::newRow("255 ascii") << QString("a").repeated(255) << QString();
        QTest::newRow("256 ascii") << QString("a").repeated(256) << tooLong;
        QTest::newRow("85 three-byte") << QString("\u20ac").repeated(85) << QString();
        QTest::newRow("128 two-byte") << QString("\u00e9").repeated(128) << tooLong;
        // Measured on the name as given: composed, this would be 172 bytes.
        QTest::newRow("decomposed not normalised first") << QString("e\u0301").repeated(86) << tooLong;
        QTest::newRow("64 four-byte") << QString("\U0001F600").repeated(64) << tooLong;
        // clang-format on
    }

    void problem() {
        QFETCH(QString, name);
        QFETCH(QString, expected);
        // A name a file already has may keep colons and control characters,
        // never a slash; and it is shown with its control characters written out.
        QString current = expected;
        if (expected == badCharacter && !name.contains(u'/'))
            current = name.toUtf8().size() > 255 ? tooLong : QString();
        QCOMPARE(Filename::currentProblem(name).value_or(QString()), current);
        QCOMPARE(Filename::shown("a\tb\nc\x1b[2Jd\u0085\x7f \x1f\u00a0\u009f\r"),
                 QString("a\\tb\\nc\\x1b[2Jd\\x85\\x7f \\x1f\u00a0\\x9f\\r"));
        QCOMPARE(Filename::problem(name).value_or(QString()), expected);
    }

    void collisionKey() {
        // clang-format off
        for (auto [left, right, collide] : {std::tuple{"Report.txt", "report.TXT", true},
                                            {"AZ@[.txt", "az@[.txt", true}, // the first and last capitals
                                            {"Caf\u00e9.txt", "CAFE\u0301.TXT", true}, // composed and decomposed
                                            {"resume.txt", "r\u00e9sum\u00e9.txt", false}, // accents kept
                                            {"\uff41\uff42\uff43.txt", "abc.txt", false}, // full width kept
                                            // Case-insensitive Linux folders fold fully, so these are one name there.
                                            {"stra\u00dfe.txt", "STRASSE.txt", true},
                                            {"\ufb01le.txt", "FILE.txt", true}})
            QVERIFY2((Filename::collisionKey(left) == Filename::collisionKey(right)) == collide, left);
        // clang-format on
    }

    void windowsProblem_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("expected");
        // clang-format off
        for (const char* character : {"<", ">", ":", "\"", "/", "\\", "|", "?", "*", "\t", "\u200b"})
            QTest::addRow("forbidden %s", character) << QString("a%1b").arg(character) << windowsCharacter;
        QTest::newRow("forbidden beats trailing period") << "report?.pdf." << windowsCharacter;
        QTest::newRow("trailing period") << "report." << windowsEnding;
        QTest::newRow("trailing space") << "report " << windowsEnding;
        QTest::newRow("trailing period beats device") << "CON." << windowsEnding;
        // Windows compares the text before the first period, upper-cased, without trailing spaces.
        for (const char* name : {"con.txt", "Con", "nul.tar.gz", "CON .txt", "conin$.log", "CONOUT$", "com1.log", "com\u00b9.log", "Lpt\u00b3"})
            QTest::addRow("device %s", name) << QString(name) << windowsDevice;
        for (const char* name : {"report.pdf", "report\u00a0", "COM10.txt", "COM0.txt", "LPT\u2074.txt", "CONSOLE.txt", " CON.txt"})
            QTest::addRow("allowed %s", name) << QString(name) << QString();
        // clang-format on
    }

    void windowsProblem() {
        QFETCH(QString, name);
        QFETCH(QString, expected);
        QCOMPARE(WindowsFilename::problem(name).value_or(QString()), expected);
    }

    void proposal_data();
    void proposal() {
        QFETCH(Proposal, proposed);
        auto [name, changes, expected, problem, index, known, leftOut] = proposed;
        const RenameRules named = rules(changes);
        NameTokens::Expansion proposal = named.proposal(name, index, "Lisbon", facts(known));
        QCOMPARE(proposal.text, expected);
        QCOMPARE(proposal.problem.value_or(QString()), problem);
        QCOMPARE(proposal.usedModifiedDate, known == modifiedOnly);
        QCOMPARE(proposal.leftOut.join(' '), leftOut);
        // Dates written through the memory of the last one read the same right
        // after another moment of the same day.
        NameTokens::DateTexts dateTexts;
        named.proposal("IMG_4820.JPG", index, "Lisbon", facts(known, 1), &dateTexts);
        QCOMPARE(named.proposal(name, index, "Lisbon", facts(known), &dateTexts).text, expected);
        QCOMPARE(NameTokens::unknown("{draft} {name} {draft} {x:y}"),
                 QStringList({"{draft}", "{x:y}"}));
    }

    void jsonRoundTrip();

    void jsonRefused_data() {
        QTest::addColumn<bool>("recipe"); // or else rules alone
        QTest::addColumn<QString>("pointer");
        QTest::addColumn<QString>("value"); // empty: the key is removed
        for (const char* key : ruleKeys)
            QTest::addRow("missing %s", key) << false << QString("/") + key << QString();
        for (const char* key : {"/id", "/name", "/symbol", "/rules", "/rules/sequencePadding"})
            QTest::addRow("recipe missing %s", key) << true << QString(key) << QString();
        // clang-format off
        QTest::newRow("float start") << false << "/sequenceStart" << "1.0";
        QTest::newRow("string start") << false << "/sequenceStart" << "\"1\"";
        QTest::newRow("start beyond 64 bits") << false << "/sequenceStart" << "9223372036854775808";
        QTest::newRow("number for sequence") << false << "/sequence" << "1";
        QTest::newRow("unknown case") << false << "/nameCase" << "\"Lower\"";
        QTest::newRow("unknown separator") << false << "/separator" << "\"dash\"";
        QTest::newRow("unknown order") << false << "/order" << "\"date\"";
        QTest::newRow("string for descending") << false << "/descending" << "\"true\"";
        QTest::newRow("number for regex") << false << "/regex" << "1";
        QTest::newRow("unknown duplicate format") << false << "/duplicateFormat" << "\" (2)\"";
        QTest::newRow("number for date shift") << false << "/shiftDates" << "60";
        QTest::newRow("replacement not a list") << false << "/moreReplacements" << R"({"find":"a","replacement":"b"})";
        QTest::newRow("replacement without its find") << false << "/moreReplacements" << R"([{"replacement":"b"}])";
        QTest::newRow("not a uuid") << true << "/id" << "\"not-a-uuid\"";
        QTest::newRow("non-hex digit") << true << "/id" << "\"0F8FAD5B-D9CB-469F-A165-70867728950G\"";
        QTest::newRow("full-width digit") << true << "/id" << "\"0F8FAD5B-D9CB-469F-A165-70867728950\uff10\"";
        QTest::newRow("rules not an object") << true << "/rules" << "[]";
        // clang-format on
    }

    void jsonRefused() {
        QFETCH(bool, recipe);
        QFETCH(QString, pointer);
        QFETCH(QString, value);
        Json json = recipe ? Json(Recipe{QUuid::createUuid(), "Mine", "globe", RenameRules()})
                           : Json(RenameRules());
        Json::json_pointer at(pointer.toStdString());
        if (value.isEmpty())
            json.at(at.parent_pointer()).erase(at.back());
        else
            json[at] = Json::parse(value.toStdString());
        QVERIFY_THROWS_EXCEPTION(RenameFailure,
                                 recipe ? (void)json.get<Recipe>() : (void)json.get<RenameRules>());
    }
};

void NamingTest::proposal_data() {
    QTest::addColumn<Proposal>("proposed");
    auto photo = [](const char* tag, const char* changes, const char* expected,
                    const char* problem = "", int known = taken, const char* leftOut = "") {
        QTest::newRow(tag) << Proposal{"IMG_4821.JPG", changes, expected, problem, 0,
                                       known,          leftOut};
    };
    const char* numbered = R"({"sequence":true})";
    const char* upper = R"({"nameCase":"upper"})";
    const char* accents = R"({"removeAccents":true})";
    const char* dated = R"({"baseName":"{taken} {folder}","separator":"space","sequence":true})";
    // clang-format off
    QTest::newRow("defaults") << Proposal{"Report.PDF", "{}", "Report.PDF"};
    QTest::newRow("all steps, at index 41") << Proposal{"IMG 1234.JPG", R"({"baseName":"Studio North","nameCase":"lower","separator":"hyphen","sequence":true})", "studio-north-042.JPG", "", 41};
    QTest::newRow("separator runs collapse") << Proposal{"My Photo__Final .jpeg", R"({"nameCase":"lower","separator":"hyphen"})", "my-photo-final.jpeg"};
    QTest::newRow("number outgrows padding") << Proposal{"a.txt", R"({"sequence":true,"sequenceStart":998,"sequencePadding":2})", "a-1001.txt", "", 3};
    QTest::newRow("index clamped to 5000") << Proposal{"a.txt", numbered, "a-5001.txt", "", 9000};
    QTest::newRow("padding 0 counts as 1") << Proposal{"a.txt", R"({"sequence":true,"sequencePadding":0})", "a-1.txt"};
    QTest::newRow("only the last extension") << Proposal{"archive.tar.gz", upper, "ARCHIVE.TAR.gz"};
    QTest::newRow("a final period is no extension") << Proposal{"notes.", numbered, "notes.-001"};
    QTest::newRow("a first period is no extension") << Proposal{".bashrc", numbered, ".bashrc-001"};
    QTest::newRow("blank base name") << Proposal{"notes.txt", R"({"baseName":" ","separator":"hyphen"})", ".txt"};
    QTest::newRow("every period found, in the stem only") << Proposal{"a.b.c.txt", R"({"find":".","replacement":"_"})", "a_b_c.txt"};
    QTest::newRow("find is case-sensitive") << Proposal{"Copy.txt", R"({"find":"copy","replacement":"x"})", "Copy.txt"};
    QTest::newRow("find ignores canonical equivalence") << Proposal{"caf\u00e9.txt", R"({"find":"e\u0301","replacement":"e"})", "caf\u00e9.txt"};
    QTest::newRow("find only in the stem") << Proposal{"txt.txt", R"({"find":"txt","replacement":"X","prefix":"txt","suffix":"txt"})", "txtXtxt.txt"};
    QTest::newRow("title covers prefix and suffix") << Proposal{"quarterly REPORT.PDF", R"({"prefix":"draft ","suffix":" FINAL","nameCase":"title"})", "Draft Quarterly Report Final.PDF"};
    // A letter outside the Basic Multilingual Plane is two UTF-16 units.
    QTest::newRow("title by code point") << Proposal{"\U00010428\U00010428.txt", R"({"nameCase":"title"})", "\U00010400\U00010428.txt"};
    QTest::newRow("upper lengthens") << Proposal{"stra\u00dfe.txt", upper, "STRASSE.txt"};
    QTest::newRow("space separator") << Proposal{"a_b-c  d.txt", R"({"separator":"space"})", "a b c d.txt"};
    QTest::newRow("underscore trims ends") << Proposal{"  a  b  .txt", R"({"separator":"underscore"})", "a_b.txt"};
    QTest::newRow("unicode spaces separate") << Proposal{"a\u3000b\u00a0c\u2028d.txt", R"({"separator":"hyphen"})", "a-b-c-d.txt"};
    QTest::newRow("unchanged keeps runs") << Proposal{"a  b.txt", numbered, "a  b-001.txt"};
    QTest::newRow("number joined by separator") << Proposal{"a.txt", R"({"sequence":true,"separator":"space"})", "a 001.txt"};
    QTest::newRow("negative start counts from 0") << Proposal{"a.txt", R"({"sequence":true,"sequenceStart":-5})", "a-000.txt"};
    QTest::newRow("negative index counts as 0") << Proposal{"a.txt", numbered, "a-001.txt", "", -4};
    QTest::newRow("largest number kept whole") << Proposal{"a.txt", R"({"sequence":true,"sequenceStart":9223372036854775807})", "a-1000004999.txt", "", 9000};
    QTest::newRow("padding clamped to 9") << Proposal{"a.txt", R"({"sequence":true,"sequencePadding":40})", "a-000000001.txt"};
    QTest::newRow("no extension, no period") << Proposal{"README", numbered, "README-001"};
    QTest::newRow("groups with case") << Proposal{"IMG_4821 holiday.JPG", R"x({"regex":true,"find":"^IMG_(\\d+) (\\w+)$","replacement":"\\U$2\\E-$1"})x", "HOLIDAY-4821.JPG"};
    QTest::newRow("named group, lower case to the end") << Proposal{"Holiday PHOTO.jpg", R"x({"regex":true,"find":"(?<what>\\w+) (\\w+)","replacement":"${what}_\\L$2"})x", "Holiday_photo.jpg"};
    QTest::newRow("tokens first, then groups, dollar kept") << Proposal{"IMG_4821.jpg", R"x({"regex":true,"find":"(\\d+)","replacement":"{folder}-$$$1"})x", "IMG_Lisbon-$4821.jpg"};
    QTest::newRow("a period is any character") << Proposal{"a.b.txt", R"({"regex":true,"find":".","replacement":"_"})", "___.txt"};
    QTest::newRow("empty matches") << Proposal{"ab.txt", R"({"regex":true,"find":"x*","replacement":"-"})", "-a-b-.txt"};
    QTest::newRow("word characters of every script") << Proposal{"café Ωμέγα.txt", R"({"regex":true,"find":"\\w+","replacement":"w"})", "w w.txt"};
    QTest::newRow("missing group") << Proposal{"a1.txt", R"x({"regex":true,"find":"(\\d)","replacement":"$2"})x", "a$2.txt", "The regular expression has no group $2; use one of its groups in parentheses."};
    QTest::newRow("invalid pattern") << Proposal{"a(b.txt", R"x({"regex":true,"find":"a(b"})x", "a(b.txt", "This regular expression has a mistake at character 4: missing closing parenthesis."};
    QTest::newRow("own limit refused") << Proposal{"aaa.txt", R"x({"regex":true,"find":"(*LIMIT_MATCH=99999999)a"})x", "aaa.txt", "This regular expression cannot begin with a setting such as (*LIMIT_MATCH=…); remove it."};
    QTest::newRow("Latin letters of many languages, and decomposed") << Proposal{"Café crème à l'été Straße über Öl Ærø Åbenrå øl Łódź Gdańsk żółć Nguyễn Đặng phở e\u0301cole.txt", accents, "Cafe creme a l'ete Strasse uber Ol AEro Abenra ol Lodz Gdansk zolc Nguyen Dang pho ecole.txt"};
    QTest::newRow("Greek, Cyrillic, Japanese kept") << Proposal{"Ελληνικά ёлка йод がぎ 漢字.txt", accents, "Ελληνικά ёлка йод がぎ 漢字.txt"};
    QTest::newRow("after replace, with prefix, never the extension") << Proposal{"tete.é", R"({"removeAccents":true,"find":"e","replacement":"ê","prefix":"Été "})", "Ete tete.é"};
    QTest::newRow("before letter case") << Proposal{"Ærø.txt", R"({"removeAccents":true,"nameCase":"lower"})", "aero.txt"};
    QTest::newRow("replacements in turn, each on what the last left") << Proposal{"a-b.txt", R"({"find":"a","replacement":"b","moreReplacements":[{"find":"b","replacement":"c"},{"find":"","replacement":"x"},{"find":"-","replacement":""}]})", "cc.txt"};
    QTest::newRow("each pattern its own groups") << Proposal{"IMG_12.jpg", R"x({"regex":true,"find":"IMG_","replacement":"","moreReplacements":[{"find":"(\\d)(\\d)","replacement":"$2$1"},{"find":"(","replacement":""}]})x", "21.jpg", "This regular expression has a mistake at character 2: missing closing parenthesis."};
    QTest::newRow("removed from both ends by character, after replacing") << Proposal{"xét😀.txt", R"({"find":"x","replacement":"ab","removeStart":1,"removeEnd":1})", "bét.txt"};
    QTest::newRow("inserted after the first characters, before the prefix") << Proposal{"abcd.txt", R"({"insertion":"-","insertAt":1,"prefix":"p"})", "pa-bcd.txt"};
    QTest::newRow("insert before the last characters") << Proposal{"abcd.txt", R"({"insertion":"-","insertAt":-1})", "abc-d.txt"};
    QTest::newRow("counts beyond the stem take it whole") << Proposal{"ab.txt", R"({"removeStart":9223372036854775807,"insertion":"x","insertAt":-9223372036854775808})", "x.txt"};
    photo("taken, folder, sequence", dated, "2026-05-04 Lisbon 001.JPG");
    photo("no date taken: the modified date", dated, "2026-06-01 Lisbon 001.JPG", "", modifiedOnly);
    photo("dates keep their format under case and separators", R"({"baseName":"{modified:d MMM yy} {name}","nameCase":"upper","separator":"hyphen"})", "1 Jun 26-IMG-4821.JPG");
    photo("prefix, suffix and replacement", R"({"prefix":"{folder}_","suffix":"_{taken:yyyy}","find":"IMG","replacement":"{name}"})", "Lisbon_IMG_4821_4821_2026.JPG");
    photo("unknown token stays text", R"({"baseName":"{draft} {Name} {{name}} {name"})", "{draft} {Name} {IMG_4821} {name.JPG");
    photo("format without a date", R"({"baseName":"{taken:Rio}"})", "{taken:Rio}.JPG", "The format in {taken:Rio} shows no part of a date; use letters such as yyyy-MM-dd.");
    photo("format on a token that takes none", R"({"suffix":"{folder:yyyy}"})", "IMG_4821{folder:yyyy}.JPG", "{folder} takes no format; remove what follows its colon.");
    photo("time of day", R"({"baseName":"{taken:yyyy-MM-dd HH.mm 'at'}"})", "2026-05-04 09.30 at.JPG");
    photo("tokens in find stay literal", R"({"find":"{name}","replacement":"x"})", "IMG_4821.JPG");
    // A camera clock that was off: the shift moves the day, and the month, with the time.
    photo("date shift past midnight", R"({"baseName":"{taken:yyyy-MM-dd HH.mm}","shiftDates":"+14:45"})", "2026-05-05 00.15.JPG");
    photo("date shift back a month", R"({"baseName":"{modified:yyyy-MM-dd HH.mm}","shiftDates":" -1d 18:10"})", "2026-05-30 23.55.JPG");
    photo("date shift in days", R"({"baseName":"{taken}","shiftDates":"+2d"})", "2026-05-06.JPG");
    photo("unreadable date shift", R"({"baseName":"{taken}","shiftDates":"+1:5"})", "{taken}.JPG", "“+1:5” is not a date shift; write it as +01:00, -00:30 or +1d 02:00.");
    photo("camera, lens and size", R"({"baseName":"{camera} {lens} {width}x{height}"})", "D850 24-70mm 6048x4024.JPG");
    photo("what a file does not record is left out, and said", R"({"baseName":"{taken} {lens}{camera}{lens}"})", "2026-06-01 .JPG", "", modifiedOnly, "This file records no lens; {lens} was left out. This file records no camera model; {camera} was left out.");
    QTest::newRow("song tags") << Proposal{"01.mp3", R"j({"baseName":"{track:00} {artist} - {title} ({album}, {year})"})j", "03 Björk - Jóga (Homogenic, 1997).mp3", "", 0, taken};
    QTest::newRow("track width") << Proposal{"01.mp3", R"({"baseName":"{track:0000}.{track}"})", "0003.3.mp3", "", 0, taken};
    QTest::newRow("track format that is no width") << Proposal{"01.mp3", R"({"baseName":"{track:#}"})", "{track:#}.mp3", "{track} takes zeros after its colon, one for each digit, as in {track:00}.", 0, taken};
    photo("metadata not read yet", R"({"baseName":"{width}"})", "{width}.JPG", "The metadata of this file has not been read yet.", noFacts);
    photo("date shift without a date", R"({"baseName":"{name}","shiftDates":"1h"})", "IMG_4821.JPG");
    photo("a date counts by its characters", R"({"baseName":"{taken} {name}","removeStart":5,"nameCase":"lower"})", "05-04 img_4821.JPG");
    // clang-format on
}

void NamingTest::jsonRoundTrip() {
    RenameRules original = rules(R"({"baseName":"B\u00e4se","prefix":"p/","suffix":"\"s\"",
        "nameCase":"title","separator":"space","sequence":true,
        "sequenceStart":-9223372036854775808,"sequencePadding":-7,
        "order":"taken","descending":true,"regex":true,"removeAccents":true,
        "numberDuplicates":true,"duplicateFormat":"underscore","shiftDates":"+1d 02:00",
        "companions":true,"moreReplacements":[{"find":"a","replacement":"{name}"}],
        "removeStart":-1,"removeEnd":2,"insertion":"i","insertAt":-3})");
    Json json = original;
    std::vector<std::string> keys, expected(std::begin(ruleKeys), std::end(ruleKeys));
    expected.insert(expected.end(), std::begin(laterKeys), std::end(laterKeys));
    for (const auto& item : json.items())
        keys.push_back(item.key());
    QCOMPARE(keys, expected);
    QCOMPARE(json.get<RenameRules>(), original);
    // Keys written by a newer version are ignored, not refused.
    json["comment"] = 1;
    QCOMPARE(json.get<RenameRules>(), original);
    // Rules saved before the later keys existed load as the defaults patched with what they hold.
    for (const char* key : laterKeys)
        json.erase(key);
    QCOMPARE(json.get<RenameRules>(), rules(QString::fromStdString(json.dump())));

    // Recipes keep their ids in capitals without braces; two of one name stay two.
    Recipe recipe{QUuid::createUuid(), "Same name", "", original};
    Recipe twin{QUuid::createUuid(), "Same name", "", rules(R"({"sequence":true})")};
    Json list = Json::array({recipe, twin});
    QCOMPARE(QString::fromStdString(list[0]["id"].get<std::string>()),
             recipe.id.toString(QUuid::WithoutBraces).toUpper());
    QCOMPARE(list.get<std::vector<Recipe>>(), (std::vector<Recipe>{recipe, twin}));

    // The built-in recipes are chosen by id, so their ids differ and last the whole run.
    const auto& builtIn = Recipe::builtIn();
    QSet<QUuid> ids{QUuid(), builtIn[0].id, builtIn[1].id, builtIn[2].id};
    QCOMPARE(ids.size(), 4);
    QCOMPARE(Recipe::builtIn(), builtIn);
}

QTEST_GUILESS_MAIN(NamingTest)
#include "test_naming.moc"
