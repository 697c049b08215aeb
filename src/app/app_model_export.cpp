// Saving the draft preview or the last batch's receipt as a standalone HTML
// report.

#include "app/app_model.h"

#include "core/base/rename_failure.h"
#include "core/batch/atomic_file.h"

void AppModel::exportReport(bool completed) {
    if (busy_ || authorizingFolders_ || hasModalEditor() || hasRecovery_)
        return;
    std::optional<RenameReport> report;
    if (completed) {
        refreshJournal();
        report = completedReport_;
    } else {
        report = previewReport();
    }
    if (!report)
        return;

    FileDialogs::SaveRequest request;
    request.title = completed ? QStringLiteral("Export last rename receipt")
                              : QStringLiteral("Export draft preview");
    request.proposedName = completed ? QStringLiteral("Tessary-rename-receipt.html")
                                     : QStringLiteral("Tessary-draft-preview.html");
    request.message = QStringLiteral("This standalone HTML report includes filenames, without "
                                     "folder paths or file contents. Share it deliberately.");
    request.nameFilters = {QStringLiteral("HTML document (*.html)")};
    std::optional<QString> path = services.dialogs.save(request);
    if (!path)
        return;
    try {
        AtomicFile::write(*path, report->html().toUtf8());
    } catch (const RenameFailure& failure) {
        setError(QStringLiteral("The report could not be saved: ") + failure.message);
        return;
    }
    setNotice(completed
                  ? QStringLiteral("Rename receipt saved. It records the last completed batch.")
                  : QStringLiteral("Draft preview saved. No files were renamed by this export."));
}
