#include "core/reports/rename_report.h"

#include <QTest>

namespace {

PreviewRow row(const QString& name, const QString& proposed, std::optional<QString> problem = {}) {
    FileRecord record{"/d/" + name, {1, 2, 3, 4}, {1, 1, 0, 0}};
    return {{record, proposed}, std::move(problem)};
}

} // namespace

class RenameReportTest : public QObject {
    Q_OBJECT
private slots:
    void draftStatesAndCounts();
};

void RenameReportTest::draftStatesAndCounts() {
    RenameReport empty = RenameReport::draft({}, 0, false);
    QVERIFY(empty.entries.isEmpty());
    QCOMPARE(empty.changedCount + empty.unchangedCount + empty.blockedCount, 0);
    QVERIFY(!empty.completed && !empty.batchID);

    RenameReport draft = RenameReport::draft(
        {row("a.txt", "b.txt"),
         row(QStringLiteral("caf\u00e9.txt"), QStringLiteral("cafe\u0301.txt")),
         row("c.txt", "x/y.pdf"), row("d.txt", "d.txt", QStringLiteral("Taken.")),
         row("e.txt", "e\\f.txt")},
        2, true);
    using Entry = RenameReport::Entry;
    QCOMPARE(draft.entries,
             (QList<Entry>{
                 {"a.txt", "b.txt", "Proposed change"},
                 {QStringLiteral("caf\u00e9.txt"), QStringLiteral("cafe\u0301.txt"), "Unchanged"},
                 {"c.txt", "[Invalid filename: path omitted]", "Proposed change"},
                 {"d.txt", "d.txt", "Needs attention"},
                 {"e.txt", "[Invalid filename: path omitted]", "Proposed change"}}));
    QCOMPARE(draft.changedCount, 3);
    QCOMPARE(draft.unchangedCount, 1);
    QCOMPARE(draft.blockedCount, 1);
    QCOMPARE(draft.mappingIssues, 2);
    QVERIFY(draft.checkWindows);
}

QTEST_GUILESS_MAIN(RenameReportTest)
#include "test_rename_report.moc"
