#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>

// The open and save panels the model asks the user through. The app shows
// Qt's dialogs; tests answer for the user.
class FileDialogs {
public:
    struct OpenRequest {
        QString title;
        QString prompt;
        QString message;
        bool chooseFiles = true;
        bool chooseFolders = false;
        bool multiple = false;
        bool canCreateFolders = false;
        QUrl initialFolder;
        // Filters as a person reads them, "HTML document (*.html)"; empty
        // allows every file.
        QStringList nameFilters;

        // Access to one folder, which `initialFolder` names: the message
        // gives the reason, to be read before choosing.
        bool asksForOneFolder() const {
            return initialFolder.isLocalFile() && chooseFolders && !multiple;
        }
    };

    struct SaveRequest {
        QString title;
        QString proposedName;
        QString message;
        QStringList nameFilters;
    };

    virtual ~FileDialogs() = default;

    // The chosen locations, or nothing when the user cancelled. Modal.
    virtual QList<QUrl> open(const OpenRequest& request) = 0;

    // The chosen absolute path, or nothing when the user cancelled. Modal.
    virtual std::optional<QString> save(const SaveRequest& request) = 0;
};
