#include "core/reports/rename_report.h"

RenameReport RenameReport::draft(const QList<PreviewRow>& rows, qsizetype mappingIssues,
                                 bool checkWindows) {
    RenameReport report;
    report.mappingIssues = mappingIssues;
    report.checkWindows = checkWindows;
    report.entries.reserve(rows.size());
    for (const PreviewRow& row : rows) {
        Entry entry;
        entry.original = row.intent.source.name();
        // A report names files, never places: a proposal that looks like a path
        // is not repeated.
        const QString& proposed = row.intent.filename;
        bool pathLike = proposed.contains(QLatin1Char('/')) || proposed.contains(QLatin1Char('\\'));
        entry.proposed = pathLike ? QStringLiteral("[Invalid filename: path omitted]") : proposed;
        if (row.problem) {
            entry.state = QStringLiteral("Needs attention");
            ++report.blockedCount;
        } else if (!row.changed()) {
            entry.state = QStringLiteral("Unchanged");
            ++report.unchangedCount;
        } else if (row.namedByHand) {
            entry.state = QStringLiteral("Proposed change, named by hand");
            ++report.changedCount;
        } else {
            entry.state = QStringLiteral("Proposed change");
            ++report.changedCount;
        }
        report.entries.append(entry);
    }
    return report;
}
