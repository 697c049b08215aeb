#include "app/platform/qt_file_dialogs.h"

#include <QFileDialog>

QList<QUrl> QtFileDialogs::open(const OpenRequest& request) {
    QFileDialog dialog(parent, request.title);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setLabelText(QFileDialog::Accept, request.prompt);
    if (request.chooseFolders) {
        dialog.setFileMode(QFileDialog::Directory);
        dialog.setOption(QFileDialog::ShowDirsOnly, true);
    } else {
        dialog.setFileMode(request.multiple ? QFileDialog::ExistingFiles
                                            : QFileDialog::ExistingFile);
    }
    dialog.setOption(QFileDialog::ReadOnly, !request.canCreateFolders);
    if (!request.nameFilters.isEmpty())
        dialog.setNameFilter(request.nameFilters.join(QLatin1Char(' ')));
    if (request.initialFolder.isLocalFile())
        dialog.setDirectory(request.initialFolder.toLocalFile());
    // Qt's dialog has no message line of its own; the tooltip carries it and
    // the title says what is asked.
    dialog.setToolTip(request.message);
    if (dialog.exec() != QDialog::Accepted)
        return {};
    return dialog.selectedUrls();
}

std::optional<QString> QtFileDialogs::save(const SaveRequest& request) {
    QFileDialog dialog(parent, request.title);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.selectFile(request.proposedName);
    if (!request.nameFilters.isEmpty())
        dialog.setNameFilter(request.nameFilters.join(QLatin1Char(' ')));
    dialog.setToolTip(request.message);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    return dialog.selectedFiles().front();
}
