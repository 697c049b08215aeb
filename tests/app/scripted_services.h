#pragma once

#include "app/clipboard.h"
#include "app/file_dialogs.h"
#include "app/url_opener.h"

// The user at the open and save panels: answers come from queues filled by the
// test, in order, and every request is kept so a test can read what was asked.
// With no answer left, the user cancels.
class ScriptedDialogs : public FileDialogs {
public:
    QList<QList<QUrl>> openAnswers;
    QList<std::optional<QString>> saveAnswers;
    QList<OpenRequest> openRequests;
    QList<SaveRequest> saveRequests;

    QList<QUrl> open(const OpenRequest& request) override {
        openRequests.append(request);
        return openAnswers.isEmpty() ? QList<QUrl>() : openAnswers.takeFirst();
    }

    std::optional<QString> save(const SaveRequest& request) override {
        saveRequests.append(request);
        return saveAnswers.isEmpty() ? std::nullopt : saveAnswers.takeFirst();
    }
};

class ScriptedClipboard : public Clipboard {
public:
    QString contents;
    QString text() const override { return contents; }
};

class RecordingUrlOpener : public UrlOpener {
public:
    QList<QUrl> opened;
    // As on a desktop with no file manager or browser set up.
    bool nothingOpens = false;
    bool open(const QUrl& url) override {
        opened.append(url);
        return !nothingOpens;
    }
};
