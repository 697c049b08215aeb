#include "cli_process.h"

#include <nlohmann/json.hpp>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class CliMappingTest : public QObject {
    Q_OBJECT
private slots:
    void init();
    void spreadsheetDiagnosticsBlockTheBatch();
    void standardInputRenamesAndReportsSaveBothKinds();

private:
    std::unique_ptr<QTemporaryDir> folder;
    QString at(const QString& name) const { return folder->path() + QLatin1Char('/') + name; }
    QStringList files() const { return QDir(at("shoot")).entryList(QDir::Files, QDir::Name); }
    void write(const QString& name, const QByteArray& content) {
        QFile file(at(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
};

void CliMappingTest::init() {
    folder = std::make_unique<QTemporaryDir>();
    QVERIFY(folder->isValid());
    QDir(folder->path()).mkdir("shoot");
    write("shoot/a.pdf", "a");
    write("shoot/Report.pdf", "r");
}

void CliMappingTest::spreadsheetDiagnosticsBlockTheBatch() {
    write("map.csv", "old_name,new_name\na.pdf,b.pdf\nreport.pdf,x.pdf\n");
    CliOutcome run = cli({"preview", "--mapping", at("map.csv"), at("shoot")});
    QCOMPARE(run.exitCode, 1);
    QVERIFY(run.out.contains("  Row 3 · report.pdf: No selected file exactly matches this original "
                             "filename. Check spelling and letter case, or remove this row.\n"));
    QVERIFY(run.out.contains("  Report.pdf: No mapping for this selected file. Add its old and new "
                             "filenames, or remove it from the batch.\n"));
    QVERIFY(run.out.endsWith(
        "1 file ready to rename · 0 unchanged · 1 conflict · 2 spreadsheet issues\n"));

    run = cli({"preview", "--json", "--format", "tsv", "--mapping", at("map.csv"), at("shoot")});
    auto json = nlohmann::json::parse(run.out.toStdString());
    // As tab-separated text the header line is one cell: the parse fails on row 1.
    QCOMPARE(json["diagnostics"].size(), 1u);
    QCOMPARE(json["diagnostics"][0]["row"].get<int>(), 1);
    QVERIFY(json["diagnostics"][0]["name"].is_null());
    QCOMPARE(json["rows"][0]["problem"].get<std::string>(),
             std::string("Fix the spreadsheet before renaming."));

    run = cli(
        {"rename", "--yes", "--journal", at("journal"), "--mapping", at("map.csv"), at("shoot")});
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(files(), (QStringList{"Report.pdf", "a.pdf"}));

    run = cli({"preview", "--mapping", at("map.csv"), "--prefix", "x", at("shoot")});
    QCOMPARE(run.exitCode, 2);
    QVERIFY(run.errors.startsWith("Use either --mapping or naming-rule options, not both.\n"));
}

void CliMappingTest::standardInputRenamesAndReportsSaveBothKinds() {
    CliOutcome run =
        cli({"report", "--receipt", "-o", at("receipt.html"), "--journal", at("journal")});
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.errors, "There is no completed rename batch to report.\n");

    run = cli({"report", "--draft", "-o", at("draft.html"), "--case", "upper", at("shoot")});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.out, "Draft preview saved. No files were renamed by this export.\n");
    QVERIFY(QFile::exists(at("draft.html")));

    QProcess process;
    process.start(QStringLiteral(TESSARY_CLI),
                  {"rename", "--yes", "--journal", at("journal"), "--mapping", "-", at("shoot")});
    process.write("a.pdf,b.pdf\nReport.pdf,Final.pdf\n");
    process.closeWriteChannel();
    QVERIFY(process.waitForFinished(60000));
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(files(), (QStringList{"Final.pdf", "b.pdf"}));

    run = cli({"report", "--receipt", "-o", at("receipt.html"), "--journal", at("journal")});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.out, "Rename receipt saved. It records the last completed batch.\n");
    QFile receipt(at("receipt.html"));
    QVERIFY(receipt.open(QIODevice::ReadOnly));
    const QByteArray html = receipt.readAll();
    QVERIFY(html.contains("<td class=\"name\">Report.pdf</td><td class=\"name\">Final.pdf</td>"));
    QVERIFY(!html.contains(folder->path().toUtf8()));

    run = cli({"report", "--receipt", "-o", at("missing-folder/receipt.html"), "--journal",
               at("journal")});
    QCOMPARE(run.exitCode, 1);
    QVERIFY(run.errors.startsWith("The report could not be saved: "));
}

QTEST_GUILESS_MAIN(CliMappingTest)
#include "test_cli_mapping.moc"
