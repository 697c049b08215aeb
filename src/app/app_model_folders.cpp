// Folder access. A process confined by Flatpak or Snap sees a folder only
// once the person chose it through the desktop's portal: there a containing
// folder is used only after the user chose that very folder during this run,
// and only while it is still the same folder. Any other process already has
// the person's own access, and asking would protect nothing: each folder is
// identified, as a chosen one would be, without a question.

#include "app/app_model.h"
#include "app/sandbox.h"

#include "core/base/rename_failure.h"
#include "core/batch/file_record.h"
#include "core/batch/folder_authorization.h"
#include "core/naming/filename.h"

namespace {

QString standardPath(const QUrl& folder) {
    return FilePath::standardized(folder.toLocalFile());
}

// Grants are keyed like paths are compared: composed form, no case folding,
// links not resolved.
QString grantKey(const QString& path) {
    return Filename::canonical(path);
}

} // namespace

void AppModel::rememberFolder(const QUrl& folder) {
    QString path = standardPath(folder);
    FileIdentity identity = FolderAuthorization::directoryIdentity(QUrl::fromLocalFile(path));
    // No sandbox here: there is no security-scoped access to start or stop.
    folderGrants.insert(grantKey(path), FolderGrant{path, identity, false});
}

bool AppModel::authorizeFolders(const QList<QUrl>& folders, const QString& reason) {
    assign(authorizingFolders_, true, &AppModel::authorizingFoldersChanged);
    auto finish = [this](bool granted) {
        assign(authorizingFolders_, false, &AppModel::authorizingFoldersChanged);
        return granted;
    };
    const bool confined = Sandbox::confines(environment);
    for (const QUrl& folder : folders) {
        if (!confined) {
            try {
                rememberFolder(folder);
                continue;
            } catch (const RenameFailure& failure) {
                setError(failure.message);
                return finish(false);
            }
        }
        QString path = standardPath(folder);
        auto grant = folderGrants.constFind(grantKey(path));
        if (grant != folderGrants.cend()) {
            try {
                if (FolderAuthorization::directoryIdentity(QUrl::fromLocalFile(path)) ==
                    grant->identity)
                    continue;
            } catch (const RenameFailure&) {
                // A folder that cannot be identified now is asked for again.
            }
        }

        setNotice(
            QStringLiteral("Choose the containing folder to allow safe previews and renaming."));
        FileDialogs::OpenRequest request;
        request.title = QStringLiteral("Allow access to ") + FilePath::lastComponent(path);
        request.chooseFiles = false;
        request.chooseFolders = true;
        request.multiple = false;
        request.canCreateFolders = false;
        request.initialFolder = QUrl::fromLocalFile(path);
        request.prompt = QStringLiteral("Allow this folder");
        request.message = reason +
                          QStringLiteral(" Tessary needs this exact folder to check existing "
                                         "filenames and rename in place: ") +
                          path + QStringLiteral(". Only the selected files will be changed.");
        QList<QUrl> chosen = services.dialogs.open(request);
        if (chosen.isEmpty()) {
            setNotice(QStringLiteral("Folder access cancelled. Your batch is unchanged."));
            return finish(false);
        }
        // The portal hands the chosen folder over as itself only where the
        // sandbox may write; anywhere else, as an entry of its document store.
        if (Sandbox::isPortalDocument(environment, chosen.front().toLocalFile())) {
            setError(QStringLiteral("Tessary's sandbox may not change files in ") + path +
                     QStringLiteral(", so it cannot rename there; allow Tessary that folder in "
                                    "the desktop's app permissions and try again. Your batch "
                                    "is unchanged."));
            return finish(false);
        }
        if (!FolderAuthorization::accepts(chosen.front(), folder)) {
            setError(QStringLiteral("Please choose the exact containing folder: ") + path +
                     QStringLiteral(". Your batch is unchanged."));
            return finish(false);
        }
        try {
            rememberFolder(chosen.front());
        } catch (const RenameFailure& failure) {
            setError(failure.message);
            return finish(false);
        }
    }
    return finish(true);
}
