#include "core/naming/filename.h"
#include "core/naming/windows_filename.h"

#include <QTest>

namespace {

const QString empty = QStringLiteral("The filename is empty.");
const QString dotName = QStringLiteral("Hidden filenames and dot names are not supported.");
const QString badCharacter = QStringLiteral("Remove slashes, colons, or control characters.");
const QString tooLong = QStringLiteral("The filename exceeds 255 UTF-8 bytes.");

const QString windowsCharacter =
    QStringLiteral("Windows filenames cannot contain < > : \" / \\ | ? * or control characters.");
const QString windowsEnding = QStringLiteral("Windows filenames cannot end in a period or space.");
const QString windowsDevice = QStringLiteral(
    "Windows reserves this device name, even with an extension. Choose a different name.");

} // namespace

class FilenameTest : public QObject {
    Q_OBJECT
private slots:
    void problem_data();
    void problem();
    void collisionKey_data();
    void collisionKey();
    void windowsProblem_data();
    void windowsProblem();
};

void FilenameTest::problem_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");
    QTest::newRow("empty") << QString() << empty;
    QTest::newRow("dot") << "." << dotName;
    QTest::newRow("hidden") << ".profile" << dotName;
    // Checks stop at the first failure, so these pin the order.
    QTest::newRow("hidden beats slash") << ".a/b" << dotName;
    QTest::newRow("colon beats length") << QString("a").repeated(299) + ":" << badCharacter;
    QTest::newRow("slash") << "a/b" << badCharacter;
    QTest::newRow("colon") << "a:b" << badCharacter;
    QTest::newRow("tab") << "a\tb" << badCharacter;
    QTest::newRow("zero width space") << "a\u200bb" << badCharacter;
    QTest::newRow("byte order mark") << "a\ufeffb" << badCharacter;
    QTest::newRow("right-to-left override") << "a\u202eb" << badCharacter;
    // The edges of the controls below U+0100, which are answered without Unicode's tables.
    QTest::newRow("delete") << "a\u007fb" << badCharacter;
    QTest::newRow("last C1 control") << "a\u009fb" << badCharacter;
    QTest::newRow("soft hyphen") << "a\u00adb" << badCharacter;
    QTest::newRow("no-break space") << "a\u00a0b" << QString();
    QTest::newRow("backslash") << "a\\b" << QString();
    QTest::newRow("trailing period") << "a." << QString();
    QTest::newRow("255 ascii") << QString("a").repeated(255) << QString();
    QTest::newRow("256 ascii") << QString("a").repeated(256) << tooLong;
    QTest::newRow("85 three-byte") << QString("\u20ac").repeated(85) << QString();
    QTest::newRow("128 two-byte") << QString("\u00e9").repeated(128) << tooLong;
    // Measured on the name as given: composed, this would be 172 bytes.
    QTest::newRow("decomposed not normalised first") << QString("e\u0301").repeated(86) << tooLong;
    QTest::newRow("64 four-byte") << QString("\U0001F600").repeated(64) << tooLong;
}

void FilenameTest::problem() {
    QFETCH(QString, name);
    QFETCH(QString, expected);
    // A name a file already has may keep colons and control characters,
    // never a slash; and it is shown with its control characters written out.
    QString current = expected;
    if (expected == badCharacter && !name.contains(u'/'))
        current = name.toUtf8().size() > 255 ? tooLong : QString();
    QCOMPARE(Filename::currentProblem(name).value_or(QString()), current);
    QCOMPARE(Filename::shown("a\tb\nc\x1b[2Jd\u0085\x7f"), QString("a\\tb\\nc\\x1b[2Jd\\x85\\x7f"));
    QCOMPARE(Filename::problem(name).value_or(QString()), expected);
}

// clang-format off
void FilenameTest::collisionKey_data() {
    QTest::addColumn<QString>("left");
    QTest::addColumn<QString>("right");
    QTest::addColumn<bool>("collide");
    QTest::newRow("letter case") << "Report.txt" << "report.TXT" << true;
    QTest::newRow("composed and decomposed") << "Caf\u00e9.txt" << "CAFE\u0301.TXT" << true;
    QTest::newRow("accents kept") << "resume.txt" << "r\u00e9sum\u00e9.txt" << false;
    QTest::newRow("full-width kept") << "\uff41\uff42\uff43.txt" << "abc.txt" << false;
    // Case-insensitive Linux folders fold fully, so these are one name there.
    QTest::newRow("sharp s") << "stra\u00dfe.txt" << "STRASSE.txt" << true;
    QTest::newRow("fi ligature") << "\ufb01le.txt" << "FILE.txt" << true;
}
// clang-format on

void FilenameTest::collisionKey() {
    QFETCH(QString, left);
    QFETCH(QString, right);
    QFETCH(bool, collide);
    QCOMPARE(Filename::collisionKey(left) == Filename::collisionKey(right), collide);
}

void FilenameTest::windowsProblem_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plain") << "report.pdf" << QString();
    for (const char* character : {"<", ">", ":", "\"", "/", "\\", "|", "?", "*", "\t", "\u200b"})
        QTest::addRow("forbidden %s", character)
            << QString("a%1b").arg(character) << windowsCharacter;
    QTest::newRow("forbidden beats trailing period") << "report?.pdf." << windowsCharacter;
    QTest::newRow("trailing period") << "report." << windowsEnding;
    QTest::newRow("trailing space") << "report " << windowsEnding;
    QTest::newRow("trailing period beats device") << "CON." << windowsEnding;
    QTest::newRow("trailing no-break space") << "report\u00a0" << QString();
    QTest::newRow("con.txt") << "con.txt" << windowsDevice;
    QTest::newRow("Con") << "Con" << windowsDevice;
    QTest::newRow("nul.tar.gz") << "nul.tar.gz" << windowsDevice;
    QTest::newRow("space before period") << "CON .txt" << windowsDevice;
    QTest::newRow("conin$") << "conin$.log" << windowsDevice;
    QTest::newRow("CONOUT$") << "CONOUT$" << windowsDevice;
    QTest::newRow("com1") << "com1.log" << windowsDevice;
    QTest::newRow("com superscript one") << "com\u00b9.log" << windowsDevice;
    QTest::newRow("lpt superscript three") << "Lpt\u00b3" << windowsDevice;
    QTest::newRow("com10") << "COM10.txt" << QString();
    QTest::newRow("com0") << "COM0.txt" << QString();
    QTest::newRow("lpt superscript four") << "LPT\u2074.txt" << QString();
    QTest::newRow("console") << "CONSOLE.txt" << QString();
    QTest::newRow("leading space") << " CON.txt" << QString();
}

void FilenameTest::windowsProblem() {
    QFETCH(QString, name);
    QFETCH(QString, expected);
    QCOMPARE(WindowsFilename::problem(name).value_or(QString()), expected);
}

QTEST_GUILESS_MAIN(FilenameTest)
#include "test_filename.moc"
