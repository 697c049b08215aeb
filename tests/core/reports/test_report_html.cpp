#include "core/reports/rename_report.h"

#include <QFile>
#include <QTest>

namespace {

const QDateTime exported = QDateTime(QDate(2026, 5, 4), QTime(9, 30), Qt::UTC);

QString expected(const QString& name) {
    QFile file(QStringLiteral(TESSARY_TEST_DATA "/") + name);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll());
}

RenameReport::Entry entry(const char* original, const char* proposed, const char* state) {
    return {QString::fromUtf8(original), QString::fromUtf8(proposed), QString::fromUtf8(state)};
}

} // namespace

class ReportHtmlTest : public QObject {
    Q_OBJECT
private slots:
    void draftAndReceiptMatchTheirDocuments();
    void emptyDraft();
};

void ReportHtmlTest::draftAndReceiptMatchTheirDocuments() {
    RenameReport draft;
    draft.entries = {entry("a&b<c>.txt", "it's \"final\".txt", "Proposed change"),
                     entry("notes.txt", "notes.txt", "Unchanged"),
                     entry("x.pdf", "[Invalid filename: path omitted]", "Needs attention")};
    draft.changedCount = 1;
    draft.unchangedCount = 1;
    draft.blockedCount = 1;
    draft.mappingIssues = 2;
    QCOMPARE(draft.html(exported), expected("draft.html"));

    RenameReport receipt;
    receipt.entries = {entry("IMG_0042.jpg", "studio-north-001.jpg", "Renamed"),
                       entry("café.txt", "résumé.txt", "Renamed")};
    receipt.changedCount = 2;
    receipt.completed = true;
    receipt.batchID = QUuid::fromString(QStringLiteral("3f2504e0-4f89-11d3-9a0c-0305e82c3301"));
    QCOMPARE(receipt.html(exported), expected("receipt.html"));
}

void ReportHtmlTest::emptyDraft() {
    QString html = RenameReport::draft({}, 0, false).html();
    QVERIFY(html.contains("<caption>0 filename records</caption>"));
    QVERIFY(html.contains("<tbody></tbody>"));
    QVERIFY(html.contains("0 spreadsheet issues</div><p>Windows filename check: off."));
}

QTEST_GUILESS_MAIN(ReportHtmlTest)
#include "test_report_html.moc"
