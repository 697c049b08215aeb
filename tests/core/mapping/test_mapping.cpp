#include "core/mapping/mapping_parser.h"
#include "core/mapping/mapping_preview.h"

#include "failure_of.h"
#include "temporary_folder.h"

#include <QTest>

namespace {

// clang-format off
const QString twoColumns = QStringLiteral("Expected exactly two columns: old filename and new filename. Choose the matching CSV or TSV format.");
const QString thirdColumn = QStringLiteral("Expected exactly two columns. Quote filenames containing the delimiter.");
const QString emptyCell = QStringLiteral("Both filename cells must contain a full filename, including its extension.");
const QString unclosed = QStringLiteral("This quoted field is not closed.");
const QString notUtf8 = QStringLiteral("Use UTF-8 CSV or TSV. This file uses an unsupported encoding.");
const QString emptyText = QStringLiteral("Paste or open two columns: old filename and new filename.");
const QString tooLarge = QStringLiteral("The spreadsheet exceeds 4 MiB. Use a smaller UTF-8 CSV or TSV file.");
const QString notRegular = QStringLiteral("Choose a regular CSV or TSV file.");
const QString noFile = QStringLiteral("No selected file exactly matches this original filename. Check spelling and letter case, or remove this row.");
const QString noRow = QStringLiteral("No mapping for this selected file. Add its old and new filenames, or remove it from the batch.");
const QString twice = QStringLiteral("This original filename appears more than once in the spreadsheet. Keep one mapping per file.");
const QString folders = QStringLiteral("Multiple selected folders contain this filename. Use separate batches for these folders.");
const QString extension = QStringLiteral("Keep the original extension exactly, including letter case.");
const QString backslash = QStringLiteral("Use filenames only, without folder paths or backslashes.");
const QString fixSheet = QStringLiteral("Fix the spreadsheet before renaming.");
const QString device = QStringLiteral("Windows reserves this device name, even with an extension. Choose a different name.");
// clang-format on

// A row as "relative path>proposed name", then ": problem" when it has one.
QStringList outline(const TemporaryFolder& tree, const QList<PreviewRow>& rows) {
    QStringList lines;
    for (const PreviewRow& row : rows)
        lines.append(row.intent.source.path.mid(tree.path().size() + 1) + '>' +
                     row.intent.filename + (row.problem ? ": " + *row.problem : QString()));
    return lines;
}

// A diagnostic as "row|name|message", with "-" for no row.
QStringList outline(const QList<MappingDiagnostic>& diagnostics) {
    QStringList lines;
    for (const MappingDiagnostic& diagnostic : diagnostics)
        lines.append((diagnostic.row ? QString::number(*diagnostic.row) : "-") + '|' +
                     diagnostic.name.value_or(QString()) + '|' + diagnostic.message);
    return lines;
}

// An entry as "row|old|new", then each diagnostic outlined after a "!".
QStringList outline(const MappingDocument& document) {
    QStringList lines;
    for (const MappingEntry& entry : document.entries)
        lines.append(QString::number(entry.row) + '|' + entry.oldName + '|' + entry.newName);
    for (const QString& diagnostic : outline(document.diagnostics))
        lines.append('!' + diagnostic);
    return lines;
}

QString failure(const QString& message, int row = 0) {
    return '!' + (row ? QString::number(row) : "-") + "||" + message;
}

// The batch's files, the spreadsheet, then its rows and diagnostics as outlined; with
// `document`, the spreadsheet as parsed instead, even in a form the parser never makes.
struct Mapped {
    QStringList files{};
    QByteArray sheet{};
    QStringList rows{}, diagnostics{};
    bool windows = false;
    std::optional<MappingDocument> document{};
};

} // namespace

Q_DECLARE_METATYPE(Mapped)

class MappingTest : public QObject {
    Q_OBJECT
private slots:
    void parse_data() {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<MappingFormat>("format");
        QTest::addColumn<QStringList>("expected");

        const auto automatic = MappingFormat::automatic;
        // A header and 5,000 rows, and their outline.
        QByteArray fiveThousand = "old_name,new_name\n";
        QStringList accepted;
        for (int index = 0; index < 5000; ++index) {
            fiveThousand += "f" + QByteArray::number(index) + ".pdf,g.pdf\n";
            accepted.append(QStringLiteral("%1|f%2.pdf|g.pdf").arg(index + 2).arg(index));
        }
        const QByteArray fullSize = "a," + QByteArray(MappingParser::maximumBytes - 2, 'b');
        // clang-format off
        QTest::newRow("CR LF counts once, a lone CR too") << QByteArray("a,b\r\nc,d\re,f\r\n") << automatic << QStringList{"1|a|b", "2|c|d", "3|e|f"};
        QTest::newRow("LF CR is two endings") << QByteArray("a,b\n\rc,d") << automatic << QStringList{failure(twoColumns, 2)};
        QTest::newRow("quoted LF, and CR LF kept as written") << QByteArray("\"x\ny\",b\n\"x\r\ny\",b\r\nc,d") << automatic << QStringList{"1|x\ny|b", "3|x\r\ny|b", "5|c|d"};
        // A header after the first line is a row, and nothing in a cell means more than its text.
        QTest::newRow("delimiter and doubled quote in quotes, anything literal") << QByteArray("\"draft,1.pdf\",\"a\"\"b\"\n=SUM(A1),a/b:c\x01\nold_name,new_name") << automatic << QStringList{"1|draft,1.pdf|a\"b", "2|=SUM(A1)|a/b:c\x01", "3|old_name|new_name"};
        QTest::newRow("one BOM removed") << QByteArray("\xEF\xBB\xBF" "old_name,new_name\na,b") << automatic << QStringList{"2|a|b"};
        QTest::newRow("second BOM kept") << QByteArray("\xEF\xBB\xBF\xEF\xBB\xBF" "a,b") << automatic << QStringList{"1|\uFEFFa|b"};
        QTest::newRow("BOM only") << QByteArray("\xEF\xBB\xBF") << automatic << QStringList{failure(emptyText)};
        QTest::newRow("empty") << QByteArray() << automatic << QStringList{failure(emptyText)};
        QTest::newRow("header only") << QByteArray("old_name,new_name\n") << automatic << QStringList{failure("Add at least one mapping below the optional old_name,new_name header.")};
        QTest::newRow("header in capitals is a row") << QByteArray("Old_Name,New_Name\n") << automatic << QStringList{"1|Old_Name|New_Name"};
        QTest::newRow("header with blanks is a row") << QByteArray("old_name, new_name") << automatic << QStringList{"1|old_name| new_name"};
        QTest::newRow("whitespace kept") << QByteArray(" a.pdf ,\tb.pdf ") << MappingFormat::csv << QStringList{"1| a.pdf |\tb.pdf "};
        QTest::newRow("two trailing line endings") << QByteArray("a,b\n\n") << automatic << QStringList{failure(twoColumns, 2)};
        QTest::newRow("blank line, earlier rows dropped") << QByteArray("a,b\n\nc,d") << automatic << QStringList{failure(twoColumns, 2)};
        QTest::newRow("three columns") << QByteArray("a,b\nc,d,e") << automatic << QStringList{failure(thirdColumn, 2)};
        QTest::newRow("empty first cell") << QByteArray(",b") << automatic << QStringList{failure(emptyCell, 1)};
        QTest::newRow("empty second cell") << QByteArray("a,\"\"\n") << automatic << QStringList{failure(emptyCell, 1)};
        QTest::newRow("quote in unquoted cell") << QByteArray("ab\"c,d") << automatic << QStringList{failure("A quote inside an unquoted field is invalid. Quote the whole field and double embedded quotes.", 1)};
        QTest::newRow("text after closing quote") << QByteArray("\"ab\"c,d") << automatic << QStringList{failure("Unexpected text after a closing quote. A delimiter or line ending must follow it.", 1)};
        QTest::newRow("unclosed quote") << QByteArray("\"ab") << automatic << QStringList{failure(unclosed, 1)};
        QTest::newRow("unclosed after opening quote") << QByteArray("a,\"") << automatic << QStringList{failure(unclosed, 1)};
        QTest::newRow("unclosed after doubled quote") << QByteArray("a,\"x\"\"") << automatic << QStringList{failure(unclosed, 1)};
        QTest::newRow("unclosed reported on its first line") << QByteArray("a,b\nc,\"d\ne") << automatic << QStringList{failure(unclosed, 2)};
        QTest::newRow("tab in first record") << QByteArray("a\tb\nc,d") << automatic << QStringList{failure(twoColumns, 2)};
        QTest::newRow("tab in quotes or a later record does not count") << QByteArray("\"a\tb\",c\nc,d\te") << automatic << QStringList{"1|a\tb|c", "2|c|d\te"};
        QTest::newRow("tsv ignores commas") << QByteArray("a,b\tc") << MappingFormat::tsv << QStringList{"1|a,b|c"};
        QTest::newRow("truncated at the end") << QByteArray("a,\xE2\x82") << automatic << QStringList{failure(notUtf8)};
        QTest::newRow("5,000 after a header") << fiveThousand << automatic << accepted;
        QTest::newRow("5,001 after a header") << fiveThousand + "f5000.pdf,g.pdf\n" << automatic << QStringList{failure("A spreadsheet can contain at most 5,000 mappings. Split it into separate batches.", 5002)};
        QTest::newRow("exactly 4 MiB") << fullSize << automatic << QStringList{"1|a|" + QString(MappingParser::maximumBytes - 2, 'b')};
        QTest::newRow("one byte over 4 MiB") << fullSize + "b" << automatic << QStringList{failure(tooLarge)};
        // Size is judged on bytes, before any decoding.
        QTest::newRow("one byte over, not UTF-8") << fullSize + "\xFF" << automatic << QStringList{failure(tooLarge)};
        // clang-format on
    }
    void parse() {
        QFETCH(QByteArray, text);
        QFETCH(MappingFormat, format);
        QFETCH(QStringList, expected);
        QCOMPARE(outline(MappingParser::parse(text, format)), expected);
    }

    void readText_data() {
        // "file", "missing", "remote", or what TemporaryFolder::make makes of it and the name
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("expected"); // the text, or the failure's sentence

        // clang-format off
        QTest::newRow("BOM kept") << "file" << QByteArray("\xEF\xBB\xBF" "a,b\n") << QStringLiteral("\uFEFFa,b\n");
        QTest::newRow("exactly 4 MiB") << "file" << QByteArray(MappingParser::maximumBytes, 'a') << QString(MappingParser::maximumBytes, 'a');
        QTest::newRow("over 4 MiB") << "file" << QByteArray(MappingParser::maximumBytes + 1, 'a') << "The spreadsheet exceeds 4 MiB. Split it into smaller files.";
        QTest::newRow("not UTF-8") << "file" << QByteArray("caf\xE9,b\n") << notUtf8;
        QTest::newRow("missing") << "missing" << QByteArray() << "The spreadsheet could not be opened. Check its permissions.";
        QTest::newRow("folder") << "d:" << QByteArray() << notRegular;
        // Opening a pipe that has no writer must not wait for one.
        QTest::newRow("pipe") << "p:" << QByteArray() << notRegular;
        QTest::newRow("not local") << "remote" << QByteArray() << "Choose a local UTF-8 CSV or TSV file.";
        // clang-format on
    }

    void readText() {
        QFETCH(QString, kind);
        QFETCH(QByteArray, content);
        QFETCH(QString, expected);
        TemporaryFolder tree;
        QUrl url = kind == "remote" ? QUrl("https://example.com/sheet.csv") : tree.url("sheet.csv");
        if (kind == "file")
            tree.file("sheet.csv", content);
        else if (kind.endsWith(':'))
            tree.make({kind + "sheet.csv"});
        QString text;
        const QString refused = failureOf([&] { text = MappingParser::readText(url); });
        QCOMPARE(refused.isEmpty() ? text : refused, expected);
    }

    void compute_data() {
        QTest::addColumn<Mapped>("mapped");
        // clang-format off
        QTest::newRow("letter case differs") << Mapped{{"Report.pdf"}, "report.pdf,x.pdf", {"Report.pdf>Report.pdf: " + noRow}, {"1|report.pdf|" + noFile, "-|Report.pdf|" + noRow}};
        QTest::newRow("decomposed row, composed file") << Mapped{{"caf\u00e9.pdf"}, "cafe\u0301.pdf,x.pdf", {"caf\u00e9.pdf>x.pdf"}, {}};
        // The first row's new name stays in the intent, so the row still shows where it was going.
        QTest::newRow("rows 2 and 5 name one file") << Mapped{{"a.pdf", "c.pdf", "d.pdf"}, "old_name,new_name\na.pdf,b.pdf\nc.pdf,c2.pdf\nd.pdf,d2.pdf\na.pdf,e.pdf", {"a.pdf>b.pdf: " + twice, "c.pdf>c2.pdf", "d.pdf>d2.pdf"}, {"2|a.pdf|" + twice, "5|a.pdf|" + twice}};
        QTest::newRow("one name in two folders") << Mapped{{"one/a.pdf", "two/a.pdf"}, "a.pdf,b.pdf", {"one/a.pdf>b.pdf: " + folders, "two/a.pdf>b.pdf: " + folders}, {"1|a.pdf|" + folders}};
        QTest::newRow("slash in new name") << Mapped{{"a.pdf"}, "a.pdf,sub/b.pdf", {"a.pdf>sub/b.pdf: New filename: Remove slashes, colons, or control characters."}, {"1|a.pdf|New filename: Remove slashes, colons, or control characters."}};
        QTest::newRow("backslash in new name") << Mapped{{"a.pdf"}, "a.pdf,b\\c.pdf", {"a.pdf>b\\c.pdf: " + backslash}, {"1|a.pdf|" + backslash}};
        // The old name is judged before the batch is consulted, and before duplicates are.
        QTest::newRow("backslash in old name") << Mapped{{"a.pdf"}, "x\\a.pdf,a.pdf", {"a.pdf>a.pdf: " + noRow}, {"1|x\\a.pdf|" + backslash, "-|a.pdf|" + noRow}};
        QTest::newRow("invalid old name twice") << Mapped{{}, ".x,a.pdf\n.x,b.pdf", {}, {"1|.x|Original filename: Hidden filenames and dot names are not supported.", "2|.x|Original filename: Hidden filenames and dot names are not supported."}};
        QTest::newRow("device name, Windows checks on") << Mapped{{"a.pdf"}, "a.pdf,con.pdf", {"a.pdf>con.pdf: " + device}, {"1|a.pdf|" + device}, true};
        QTest::newRow("device name, Windows checks off") << Mapped{{"a.pdf"}, "a.pdf,con.pdf", {"a.pdf>con.pdf"}, {}};
        QTest::newRow("sheet did not parse") << Mapped{{"a.pdf", "b.pdf"}, "a.pdf,b.pdf,c", {"a.pdf>a.pdf: " + fixSheet, "b.pdf>b.pdf: " + fixSheet}, {"1||" + thirdColumn}};
        QTest::newRow("empty batch") << Mapped{{}, "a.pdf,b.pdf\nc.pdf,d.pdf", {}, {"1|a.pdf|" + noFile, "2|c.pdf|" + noFile}};
        QTest::newRow("unchanged") << Mapped{{"a.pdf"}, "a.pdf,a.pdf", {"a.pdf>a.pdf"}, {}};
        // b.pdf's own collision gives way to its spreadsheet problem; a.pdf keeps its collision.
        QTest::newRow("sheet problem replaces the preview's") << Mapped{{"a.pdf", "b.pdf"}, "a.pdf,x.pdf\nb.pdf,X.PDF", {"a.pdf>x.pdf: Two files would have the same name (ignoring case and Unicode form).", "b.pdf>X.PDF: " + extension}, {"2|b.pdf|" + extension}};
        // Code-point order, not UTF-16 order (U+1F600 after U+FF21) nor file-manager order.
        QTest::newRow("diagnostic order") << Mapped{{"\U0001F600.pdf", "b.pdf", "\uFF21.pdf", "B.pdf", "a.pdf", "c.pdf"}, "a.pdf,a.PDF\nq.pdf,r.pdf\na.pdf,a2.pdf\nc.pdf,c2.pdf", {"\U0001F600.pdf>\U0001F600.pdf: " + noRow, "b.pdf>b.pdf: " + noRow, "\uFF21.pdf>\uFF21.pdf: " + noRow, "B.pdf>B.pdf: " + noRow, "a.pdf>a.PDF: " + twice, "c.pdf>c2.pdf"}, {"1|a.pdf|" + twice, "2|q.pdf|" + noFile, "3|a.pdf|" + twice, "-|B.pdf|" + noRow, "-|b.pdf|" + noRow, "-|\uFF21.pdf|" + noRow, "-|\U0001F600.pdf|" + noRow}};
        // Entries beside a diagnostic: the order must not lean on the parser never making them.
        QTest::newRow("document's own diagnostics first") << Mapped{{"a.pdf", "z.pdf"}, {}, {"a.pdf>b.pdf", "z.pdf>z.pdf: " + fixSheet}, {"-||Earlier problem.", "4|q.pdf|" + noFile}, false, MappingDocument{{{4, "q.pdf", "r.pdf"}, {7, "a.pdf", "b.pdf"}}, {{std::nullopt, std::nullopt, "Earlier problem."}}}};
        // clang-format on
    }

    void compute() {
        QFETCH(Mapped, mapped);
        auto [files, sheet, rows, diagnostics, windows, document] = mapped;
        TemporaryFolder tree;
        QList<FileRecord> records;
        for (const QString& file : files)
            records.append(FileRecord::make(QUrl::fromLocalFile(tree.file(file))));
        MappingPreview preview = MappingPreview::compute(
            records, document.value_or(MappingParser::parse(sheet, MappingFormat::automatic)),
            windows);
        QCOMPARE(outline(tree, preview.rows), rows);
        QCOMPARE(outline(preview.diagnostics), diagnostics);
    }
};

QTEST_GUILESS_MAIN(MappingTest)
#include "test_mapping.moc"
