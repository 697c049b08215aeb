#include "app/platform/qt_file_dialogs.h"

#include <QAbstractItemView>
#include <QDialog>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

namespace {

// Qt's file dialog has no line for a message, and the message is what a person
// must read before choosing: why a folder is asked for, and which one. So the
// chooser sits below the message in a dialog of our own.
QFileDialog* chooserUnder(QDialog& frame, const QString& title, const QString& message) {
    frame.setWindowTitle(title);
    auto* layout = new QVBoxLayout(&frame);
    if (!message.isEmpty()) {
        auto* text = new QLabel(message, &frame);
        text->setObjectName(QStringLiteral("dialogMessage"));
        text->setWordWrap(true);
        text->setTextFormat(Qt::PlainText);
        text->setTextInteractionFlags(Qt::TextSelectableByMouse);
        layout->addWidget(text);
    }
    auto* chooser = new QFileDialog(&frame);
    chooser->setWindowFlags(Qt::Widget);
    chooser->setOption(QFileDialog::DontUseNativeDialog, true);
    layout->addWidget(chooser);
    QObject::connect(chooser, &QFileDialog::accepted, &frame, &QDialog::accept);
    QObject::connect(chooser, &QFileDialog::rejected, &frame, &QDialog::reject);
    frame.resize(760, 520);
    return chooser;
}

// Qt lets a folder chooser pick one folder; its views can select several, and
// the chooser then returns all of them.
void allowSeveralFolders(QFileDialog* chooser) {
    for (auto* view : chooser->findChildren<QAbstractItemView*>()) {
        if (view->objectName() == QLatin1String("listView") ||
            view->objectName() == QLatin1String("treeView"))
            view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    }
}

// Whether the person named nothing: no folder selected or typed. Qt's folder
// chooser then answers with the folder it shows, which is only where the
// person happened to be.
bool namesNothing(QFileDialog* chooser) {
    auto* name = chooser->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    return name && name->text().trimmed().isEmpty();
}

} // namespace

QString QtFileDialogs::startFolder() const {
    if (!lastFolder.isEmpty() && QFileInfo(lastFolder).isDir())
        return lastFolder;
    return QDir::homePath();
}

void QtFileDialogs::remember(const QString& path) {
    QFileInfo chosen(path);
    lastFolder = chosen.isDir() ? chosen.absoluteFilePath() : chosen.absolutePath();
}

QList<QUrl> QtFileDialogs::open(const OpenRequest& request) {
    QDialog frame(parent);
    QFileDialog* chooser = chooserUnder(
        frame, request.title.isEmpty() ? request.prompt : request.title, request.message);
    chooser->setAcceptMode(QFileDialog::AcceptOpen);
    chooser->setLabelText(QFileDialog::Accept, request.prompt);
    if (request.chooseFolders) {
        chooser->setFileMode(QFileDialog::Directory);
        chooser->setOption(QFileDialog::ShowDirsOnly, true);
    } else {
        chooser->setFileMode(request.multiple ? QFileDialog::ExistingFiles
                                              : QFileDialog::ExistingFile);
    }
    chooser->setOption(QFileDialog::ReadOnly, !request.canCreateFolders);
    if (!request.nameFilters.isEmpty())
        chooser->setNameFilters(request.nameFilters);
    if (request.asksForOneFolder()) {
        // The folder asked for is shown already chosen, in the folder above
        // it, so allowing it is one click on the button.
        QFileInfo asked(request.initialFolder.toLocalFile());
        chooser->setDirectory(asked.absolutePath());
        chooser->selectFile(asked.fileName());
    } else {
        chooser->setDirectory(request.initialFolder.isLocalFile()
                                  ? request.initialFolder.toLocalFile()
                                  : startFolder());
    }
    if (request.chooseFolders && request.multiple)
        allowSeveralFolders(chooser);
    if (frame.exec() != QDialog::Accepted)
        return {};
    // Folders to add must be chosen; the one a request asks access to is
    // chosen already.
    if (request.chooseFolders && request.multiple && namesNothing(chooser))
        return {};
    QList<QUrl> chosen = chooser->selectedUrls();
    if (!chosen.isEmpty() && chosen.front().isLocalFile())
        remember(chosen.front().toLocalFile());
    return chosen;
}

std::optional<QString> QtFileDialogs::save(const SaveRequest& request) {
    QDialog frame(parent);
    QFileDialog* chooser = chooserUnder(frame, request.title, request.message);
    chooser->setAcceptMode(QFileDialog::AcceptSave);
    chooser->setFileMode(QFileDialog::AnyFile);
    chooser->setDirectory(startFolder());
    chooser->selectFile(request.proposedName);
    if (!request.nameFilters.isEmpty())
        chooser->setNameFilters(request.nameFilters);
    if (frame.exec() != QDialog::Accepted || chooser->selectedFiles().isEmpty())
        return std::nullopt;
    remember(chooser->selectedFiles().front());
    return chooser->selectedFiles().front();
}
