#include "core/mapping/mapping_parser.h"
#include "core/mapping/mapping_preview.h"

#include "temporary_folder.h"

#include <QTest>

namespace {

// clang-format off
const QString noFile = QStringLiteral("No selected file exactly matches this original filename. Check spelling and letter case, or remove this row.");
const QString noRow = QStringLiteral("No mapping for this selected file. Add its old and new filenames, or remove it from the batch.");
const QString twice = QStringLiteral("This original filename appears more than once in the spreadsheet. Keep one mapping per file.");
const QString folders = QStringLiteral("Multiple selected folders contain this filename. Use separate batches for these folders.");
const QString extension = QStringLiteral("Keep the original extension exactly, including letter case.");
const QString backslash = QStringLiteral("Use filenames only, without folder paths or backslashes.");
const QString fixSheet = QStringLiteral("Fix the spreadsheet before renaming.");
const QString device = QStringLiteral("Windows reserves this device name, even with an extension. Choose a different name.");
// clang-format on

QList<FileRecord> batch(TemporaryFolder& tree, const QStringList& files) {
    QList<FileRecord> records;
    for (const QString& file : files) {
        tree.file(file);
        records.append(FileRecord::make(tree.url(file)));
    }
    return records;
}

// A row as "relative path>proposed name", then ": problem" when it has one.
QStringList outline(const TemporaryFolder& tree, const QList<PreviewRow>& rows) {
    QStringList lines;
    for (const PreviewRow& row : rows) {
        lines.append(row.intent.source.path.mid(tree.path().size() + 1) + '>' +
                     row.intent.filename + (row.problem ? ": " + *row.problem : QString()));
    }
    return lines;
}

// A diagnostic as "row|name|message", with "-" for no row.
QStringList outline(const QList<MappingDiagnostic>& diagnostics) {
    QStringList lines;
    for (const MappingDiagnostic& diagnostic : diagnostics) {
        lines.append((diagnostic.row ? QString::number(*diagnostic.row) : "-") + '|' +
                     diagnostic.name.value_or(QString()) + '|' + diagnostic.message);
    }
    return lines;
}

// The batch's files, the spreadsheet, then its rows and diagnostics as outlined.
struct Mapped {
    QStringList files{};
    QByteArray sheet{};
    QStringList rows{}, diagnostics{};
    bool windows = false;
};

} // namespace

Q_DECLARE_METATYPE(Mapped)

class MappingPreviewTest : public QObject {
    Q_OBJECT
private slots:
    void compute_data() {
        QTest::addColumn<Mapped>("mapped");
        // clang-format off
        QTest::newRow("letter case differs") << Mapped{{"Report.pdf"}, "report.pdf,x.pdf", {"Report.pdf>Report.pdf: " + noRow}, {"1|report.pdf|" + noFile, "-|Report.pdf|" + noRow}};
        QTest::newRow("decomposed row, composed file") << Mapped{{"caf\u00e9.pdf"}, "cafe\u0301.pdf,x.pdf", {"caf\u00e9.pdf>x.pdf"}, {}};
        // The first row's new name stays in the intent, so the row still shows where it was going.
        QTest::newRow("rows 2 and 5 name one file") << Mapped{{"a.pdf", "c.pdf", "d.pdf"}, "old_name,new_name\na.pdf,b.pdf\nc.pdf,c2.pdf\nd.pdf,d2.pdf\na.pdf,e.pdf", {"a.pdf>b.pdf: " + twice, "c.pdf>c2.pdf", "d.pdf>d2.pdf"}, {"2|a.pdf|" + twice, "5|a.pdf|" + twice}};
        QTest::newRow("one name in two folders") << Mapped{{"one/a.pdf", "two/a.pdf"}, "a.pdf,b.pdf", {"one/a.pdf>b.pdf: " + folders, "two/a.pdf>b.pdf: " + folders}, {"1|a.pdf|" + folders}};
        QTest::newRow("extension case") << Mapped{{"a.pdf"}, "a.pdf,b.PDF", {"a.pdf>b.PDF: " + extension}, {"1|a.pdf|" + extension}};
        QTest::newRow("slash in new name") << Mapped{{"a.pdf"}, "a.pdf,sub/b.pdf", {"a.pdf>sub/b.pdf: New filename: Remove slashes, colons, or control characters."}, {"1|a.pdf|New filename: Remove slashes, colons, or control characters."}};
        QTest::newRow("backslash in new name") << Mapped{{"a.pdf"}, "a.pdf,b\\c.pdf", {"a.pdf>b\\c.pdf: " + backslash}, {"1|a.pdf|" + backslash}};
        // The old name is judged before the batch is consulted, and before duplicates are.
        QTest::newRow("backslash in old name") << Mapped{{"a.pdf"}, "x\\a.pdf,a.pdf", {"a.pdf>a.pdf: " + noRow}, {"1|x\\a.pdf|" + backslash, "-|a.pdf|" + noRow}};
        QTest::newRow("invalid old name twice") << Mapped{{}, ".x,a.pdf\n.x,b.pdf", {}, {"1|.x|Original filename: Hidden filenames and dot names are not supported.", "2|.x|Original filename: Hidden filenames and dot names are not supported."}};
        QTest::newRow("device name, Windows checks on") << Mapped{{"a.pdf"}, "a.pdf,con.pdf", {"a.pdf>con.pdf: " + device}, {"1|a.pdf|" + device}, true};
        QTest::newRow("device name, Windows checks off") << Mapped{{"a.pdf"}, "a.pdf,con.pdf", {"a.pdf>con.pdf"}, {}};
        QTest::newRow("sheet did not parse") << Mapped{{"a.pdf", "b.pdf"}, "a.pdf,b.pdf,c", {"a.pdf>a.pdf: " + fixSheet, "b.pdf>b.pdf: " + fixSheet}, {"1||Expected exactly two columns. Quote filenames containing the delimiter."}};
        QTest::newRow("empty batch") << Mapped{{}, "a.pdf,b.pdf\nc.pdf,d.pdf", {}, {"1|a.pdf|" + noFile, "2|c.pdf|" + noFile}};
        QTest::newRow("unchanged") << Mapped{{"a.pdf"}, "a.pdf,a.pdf", {"a.pdf>a.pdf"}, {}};
        // b.pdf's own collision gives way to its spreadsheet problem; a.pdf keeps its collision.
        QTest::newRow("sheet problem replaces the preview's") << Mapped{{"a.pdf", "b.pdf"}, "a.pdf,x.pdf\nb.pdf,X.PDF", {"a.pdf>x.pdf: Two files would have the same name (ignoring case and Unicode form).", "b.pdf>X.PDF: " + extension}, {"2|b.pdf|" + extension}};
        // Code-point order, not UTF-16 order (U+1F600 after U+FF21) nor file-manager order.
        QTest::newRow("diagnostic order") << Mapped{{"\U0001F600.pdf", "b.pdf", "\uFF21.pdf", "B.pdf", "a.pdf", "c.pdf"}, "a.pdf,a.PDF\nq.pdf,r.pdf\na.pdf,a2.pdf\nc.pdf,c2.pdf", {"\U0001F600.pdf>\U0001F600.pdf: " + noRow, "b.pdf>b.pdf: " + noRow, "\uFF21.pdf>\uFF21.pdf: " + noRow, "B.pdf>B.pdf: " + noRow, "a.pdf>a.PDF: " + twice, "c.pdf>c2.pdf"}, {"1|a.pdf|" + twice, "2|q.pdf|" + noFile, "3|a.pdf|" + twice, "-|B.pdf|" + noRow, "-|b.pdf|" + noRow, "-|\uFF21.pdf|" + noRow, "-|\U0001F600.pdf|" + noRow}};
        // clang-format on
    }

    void compute() {
        QFETCH(Mapped, mapped);
        auto [files, sheet, rows, diagnostics, windows] = mapped;
        TemporaryFolder tree;
        QList<FileRecord> records = batch(tree, files);
        MappingPreview preview = MappingPreview::compute(
            records, MappingParser::parse(sheet, MappingFormat::automatic), windows);
        QCOMPARE(outline(tree, preview.rows), rows);
        QCOMPARE(outline(preview.diagnostics), diagnostics);
    }

    // The parser never hands over entries beside a diagnostic, but the order of the
    // list must not lean on that: the document's own diagnostics lead.
    void documentDiagnosticsFirst() {
        TemporaryFolder tree;
        QList<FileRecord> records = batch(tree, {"a.pdf", "z.pdf"});
        MappingDocument document{{{4, "q.pdf", "r.pdf"}, {7, "a.pdf", "b.pdf"}},
                                 {{std::nullopt, std::nullopt, "Earlier problem."}}};
        MappingPreview preview = MappingPreview::compute(records, document, false);
        QCOMPARE(outline(tree, preview.rows),
                 (QStringList{"a.pdf>b.pdf", "z.pdf>z.pdf: " + fixSheet}));
        QCOMPARE(outline(preview.diagnostics),
                 (QStringList{"-||Earlier problem.", "4|q.pdf|" + noFile}));
    }
};

QTEST_GUILESS_MAIN(MappingPreviewTest)
#include "test_mapping_preview.moc"
