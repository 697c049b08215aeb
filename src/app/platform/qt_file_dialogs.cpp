#include "app/platform/qt_file_dialogs.h"

#include "app/sandbox.h"

#include <QAbstractItemView>
#include <QDialog>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include <optional>

namespace {

// Qt's file dialog has no line for a message, and the message is what a person
// must read before choosing: why a folder is asked for, and which one. So the
// chooser sits below the message in a dialog of our own. A confined process
// sees only what the person chooses in the desktop's own chooser, through its
// portal, which a chooser of Qt's widgets would not reach: there the chooser
// is the desktop's, with a title and no line for a message.
class Chooser {
public:
    Chooser(QWidget* parent, const QString& title, const QString& message)
        : frame(parent), confined(Sandbox::confines(QProcessEnvironment::systemEnvironment())) {
        frame.setWindowTitle(title);
        if (confined) {
            portal.emplace(parent, title);
            dialog = &*portal;
            return;
        }
        auto* layout = new QVBoxLayout(&frame);
        if (!message.isEmpty()) {
            auto* text = new QLabel(message, &frame);
            text->setObjectName(QStringLiteral("dialogMessage"));
            text->setWordWrap(true);
            text->setTextFormat(Qt::PlainText);
            text->setTextInteractionFlags(Qt::TextSelectableByMouse);
            layout->addWidget(text);
        }
        dialog = new QFileDialog(&frame);
        dialog->setWindowFlags(Qt::Widget);
        dialog->setOption(QFileDialog::DontUseNativeDialog, true);
        layout->addWidget(dialog);
        QObject::connect(dialog, &QFileDialog::accepted, &frame, &QDialog::accept);
        QObject::connect(dialog, &QFileDialog::rejected, &frame, &QDialog::reject);
        frame.resize(760, 520);
    }

    QFileDialog* operator->() const { return dialog; }
    QFileDialog* get() const { return dialog; }
    bool accepted() { return (confined ? dialog->exec() : frame.exec()) == QDialog::Accepted; }

private:
    QDialog frame;
    std::optional<QFileDialog> portal;
    QFileDialog* dialog = nullptr;
    bool confined = false;
};

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
    Chooser chooser(parent, request.title.isEmpty() ? request.prompt : request.title,
                    request.message);
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
    if (request.initialFolder.isLocalFile() && request.chooseFolders && !request.multiple) {
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
        allowSeveralFolders(chooser.get());
    if (!chooser.accepted())
        return {};
    // Folders to add must be chosen; the one a request asks access to is
    // chosen already.
    if (request.chooseFolders && request.multiple && namesNothing(chooser.get()))
        return {};
    QList<QUrl> chosen = chooser->selectedUrls();
    if (!chosen.isEmpty() && chosen.front().isLocalFile())
        remember(chosen.front().toLocalFile());
    return chosen;
}

std::optional<QString> QtFileDialogs::save(const SaveRequest& request) {
    Chooser chooser(parent, request.title, request.message);
    chooser->setAcceptMode(QFileDialog::AcceptSave);
    chooser->setFileMode(QFileDialog::AnyFile);
    chooser->setDirectory(startFolder());
    chooser->selectFile(request.proposedName);
    if (!request.nameFilters.isEmpty())
        chooser->setNameFilters(request.nameFilters);
    if (!chooser.accepted() || chooser->selectedFiles().isEmpty())
        return std::nullopt;
    remember(chooser->selectedFiles().front());
    return chooser->selectedFiles().front();
}
