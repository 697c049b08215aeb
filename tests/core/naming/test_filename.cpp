#include "core/naming/filename.h"
#include "core/naming/windows_filename.h"

#include <QTest>

namespace {

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
};

QTEST_GUILESS_MAIN(FilenameTest)
#include "test_filename.moc"
