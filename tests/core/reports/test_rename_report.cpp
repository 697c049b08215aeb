#include "core/reports/rename_report.h"

#include <QFile>
#include <QTest>

namespace {

const QDateTime exported = QDateTime(QDate(2026, 5, 4), QTime(9, 30), Qt::UTC);

QString expected(const QString& name) {
    QFile file(QStringLiteral(TESSARY_TEST_DATA "/") + name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

PreviewRow row(const QString& name, const QString& proposed, std::optional<QString> problem = {}) {
    FileRecord record{"/d/" + name, {1, 2, 3, 4}, {1, 1, 0, 0}};
    return {{record, proposed}, std::move(problem)};
}

} // namespace

class RenameReportTest : public QObject {
    Q_OBJECT
private slots:
    void draftStatesAndCounts() {
        RenameReport empty = RenameReport::draft({}, 0, false);
        QCOMPARE(empty, RenameReport());
        QString html = empty.html();
        QVERIFY(html.contains("<caption>0 filename records</caption>"));
        QVERIFY(html.contains("<tbody></tbody>"));
        QVERIFY(html.contains("0 spreadsheet issues</div><p>Windows filename check: off."));

        const QString composed = QStringLiteral("caf\u00e9.txt");
        const QString decomposed = QStringLiteral("cafe\u0301.txt");
        const QString invalid = "[Invalid filename: path omitted]";
        RenameReport draft = RenameReport::draft(
            {row("a.txt", "b.txt"), row(composed, decomposed), row("c.txt", "x/y.pdf"),
             row("d.txt", "d.txt", QStringLiteral("Taken.")), row("e.txt", "e\\f.txt")},
            2, true);
        QCOMPARE(draft.entries,
                 (QList<RenameReport::Entry>{{"a.txt", "b.txt", "Proposed change"},
                                             {composed, decomposed, "Unchanged"},
                                             {"c.txt", invalid, "Proposed change"},
                                             {"d.txt", "d.txt", "Needs attention"},
                                             {"e.txt", invalid, "Proposed change"}}));
        QCOMPARE(draft, (RenameReport{draft.entries, 3, 1, 1, false, std::nullopt, 2, true}));
    }

    // Reports are compared byte for byte with documents checked in beside the test.
    void draftAndReceiptMatchTheirDocuments() {
        RenameReport draft;
        draft.entries = {{"a&b<c>.txt", "it's \"final\".txt", "Proposed change"},
                         {"notes.txt", "notes.txt", "Unchanged"},
                         {"x.pdf", "[Invalid filename: path omitted]", "Needs attention"}};
        draft.changedCount = draft.unchangedCount = draft.blockedCount = 1;
        draft.mappingIssues = 2;
        QCOMPARE(draft.html(exported), expected("draft.html"));

        RenameReport receipt;
        receipt.entries = {{"IMG_0042.jpg", "studio-north-001.jpg", "Renamed"},
                           {"café.txt", "résumé.txt", "Renamed"}};
        receipt.changedCount = 2;
        receipt.completed = true;
        receipt.batchID = QUuid::fromString(QStringLiteral("3f2504e0-4f89-11d3-9a0c-0305e82c3301"));
        QCOMPARE(receipt.html(exported), expected("receipt.html"));
    }
};

QTEST_GUILESS_MAIN(RenameReportTest)
#include "test_rename_report.moc"
