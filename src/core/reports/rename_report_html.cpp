#include "core/reports/rename_report.h"

#include "core/base/uuid_text.h"
#include "core/naming/filename.h"

namespace {

QString escaped(const QString& text) {
    QString result = text;
    result.replace(QLatin1Char('&'), QLatin1String("&amp;"));
    result.replace(QLatin1Char('<'), QLatin1String("&lt;"));
    result.replace(QLatin1Char('>'), QLatin1String("&gt;"));
    result.replace(QLatin1Char('"'), QLatin1String("&quot;"));
    result.replace(QLatin1Char('\''), QLatin1String("&#39;"));
    return result;
}

const char* styleSheet =
    ":root{color-scheme:light}"
    "*{box-sizing:border-box}"
    "body{margin:0;background:#faf8f5;color:#24212e;font:15px/1.6 "
    "-apple-system,BlinkMacSystemFont,\"Segoe UI\",sans-serif}"
    "main{max-width:1100px;margin:48px auto;padding:0 28px}"
    ".brand{color:#7149d8;font-weight:750;letter-spacing:.03em}"
    "h1{font-size:36px;line-height:1.15;letter-spacing:-.04em;margin:20px 0}"
    "p{max-width:850px}"
    ".summary{background:#efebf8;border-left:4px solid "
    "#7149d8;border-radius:8px;padding:16px 20px;margin:24px 0;font-weight:600}"
    ".table-wrap{overflow:auto;background:white;border:1px solid #e7e2eb;border-radius:12px}"
    "table{width:100%;border-collapse:collapse;text-align:left}"
    "caption{text-align:left;padding:18px;font-weight:650}"
    "th,td{padding:13px 16px;border-top:1px solid #eee8f0;vertical-align:top}"
    "th{background:#f2eef8;font-size:12px}"
    ".name{font-family:ui-monospace,SFMono-Regular,monospace;white-space:pre-wrap;overflow-wrap:"
    "anywhere;min-width:180px}"
    "footer{margin-top:28px;color:#696371;font-size:12px}"
    ".meta{color:#696371;font-size:12px}"
    "@media print{main{margin:0;padding:0}body{background:white}.table-wrap{overflow:visible}"
    "thead{display:table-header-group}tr{break-inside:avoid}h1{font-size:28px}}";

} // namespace

QString RenameReport::html() const {
    return html(QDateTime::currentDateTimeUtc());
}

QString RenameReport::html(const QDateTime& exported) const {
    const QString title =
        completed ? QStringLiteral("Completed rename receipt") : QStringLiteral("Draft preview");
    const QString intro =
        completed ? QStringLiteral("This receipt records the most recent completed rename batch. "
                                   "Only renamed files are included; unchanged files are omitted.")
                  : QStringLiteral("DRAFT — No rename is recorded by this preview. Proposed names "
                                   "can change. Resolve every issue and confirm the batch in "
                                   "Tessary before renaming.");
    QString stamp = exported.toUTC().toString(Qt::ISODate);
    if (batchID)
        stamp += QStringLiteral(" · Batch ") + UuidText::text(*batchID);
    const QString summary =
        completed
            ? QString::number(changedCount) + QStringLiteral(" renamed files")
            : QString::number(changedCount) + QStringLiteral(" proposed changes · ") +
                  QString::number(unchangedCount) + QStringLiteral(" unchanged · ") +
                  QString::number(blockedCount) + QStringLiteral(" files needing attention · ") +
                  QString::number(mappingIssues) + QStringLiteral(" spreadsheet issues");

    QStringList rows;
    rows.reserve(entries.size());
    for (qsizetype index = 0; index < entries.size(); ++index) {
        const Entry& entry = entries[index];
        rows.append(
            QStringLiteral("<tr><td>") + QString::number(index + 1) +
            QStringLiteral("</td><td class=\"name\">") + escaped(Filename::shown(entry.original)) +
            QStringLiteral("</td><td class=\"name\">") + escaped(Filename::shown(entry.proposed)) +
            QStringLiteral("</td><td>") + escaped(entry.state) + QStringLiteral("</td></tr>"));
    }

    QString document;
    document += QStringLiteral(
        "<!doctype html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><meta name=\"viewport\" "
        "content=\"width=device-width,initial-scale=1\">\n<meta "
        "http-equiv=\"Content-Security-Policy\" "
        "content=\"default-src 'none'; style-src 'unsafe-inline'; base-uri 'none'; form-action "
        "'none'\">\n<title>Tessary · ");
    document += title;
    document +=
        QStringLiteral("</title>\n<style>\n") + QLatin1String(styleSheet) +
        QStringLiteral("\n</style></head><body><main><div class=\"brand\">Tessary</div><h1>");
    document += title + QStringLiteral("</h1>\n<p>");
    document += intro + QStringLiteral("</p><p class=\"meta\">Exported ") + stamp +
                QStringLiteral("</p>\n<div class=\"summary\">");
    document += summary + QStringLiteral("</div>");
    if (!completed)
        document += QStringLiteral("<p>Windows filename check: ") +
                    (checkWindows ? QStringLiteral("on") : QStringLiteral("off")) +
                    QStringLiteral(". This checks names only, not full destination paths, "
                                   "cloud-service policies or linked project references.</p>");
    document += QStringLiteral("\n<div class=\"table-wrap\"><table><caption>");
    document += QString::number(entries.size()) +
                QStringLiteral(" filename records</caption><thead><tr><th scope=\"col\">#</th><th "
                               "scope=\"col\">Before</th><th scope=\"col\">") +
                (completed ? QStringLiteral("After") : QStringLiteral("Proposed")) +
                QStringLiteral("</th><th scope=\"col\">Status</th></tr></thead><tbody>");
    document += rows.join(QLatin1Char('\n'));
    document += QStringLiteral(
        "</tbody></table></div>\n<footer><p>This is a record, not a guarantee that files still "
        "have these names or remain in their original folders. Folder paths are omitted. Filenames "
        "may be sensitive; share deliberately. No file contents are included.</p><p>Renames happen "
        "in place. Tessary does not update linked project "
        "references.</p></footer></main></body></html>");
    return document;
}
