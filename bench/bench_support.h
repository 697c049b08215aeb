#pragma once

// What the benchmarks share: timing, and the person at the other end of the
// model's services.

#include "app/clipboard.h"
#include "app/file_dialogs.h"
#include "app/url_opener.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QObject>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <vector>

// `count` empty files named by `pattern` ("IMG_%1.jpg") in `folder`.
inline bool writeEmptyFiles(const QString& folder, int count, const QString& pattern) {
    for (int index = 0; index < count; ++index) {
        QFile file(folder + QLatin1Char('/') + pattern.arg(index));
        if (!file.open(QIODevice::WriteOnly))
            return false;
    }
    return true;
}

// Serves events until `done`, asking again each time `object` emits `signal`.
template <typename Object>
void waitFor(Object& object, void (Object::*signal)(), const std::function<bool()>& done) {
    QEventLoop loop;
    QObject::connect(&object, signal, &loop, [&] {
        if (done())
            loop.quit();
    });
    if (!done())
        loop.exec();
}

// Serves events for `milliseconds`, as between two keystrokes.
inline void pause(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

// The median of `runs` timings of `work`, in milliseconds.
inline double medianMilliseconds(const std::function<void()>& work, int runs = 15) {
    std::vector<double> times;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        timer.start();
        work();
        times.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

// Answers every open panel with one folder and cancels every save panel.
class FolderAnswer : public FileDialogs {
public:
    explicit FolderAnswer(QString folder) : folder(std::move(folder)) {}
    QList<QUrl> open(const OpenRequest&) override { return {QUrl::fromLocalFile(folder)}; }
    std::optional<QString> save(const SaveRequest&) override { return std::nullopt; }

private:
    QString folder;
};

class NoClipboard : public Clipboard {
public:
    QString text() const override { return {}; }
};

class NoUrls : public UrlOpener {
public:
    bool open(const QUrl&) override { return true; }
};

// The longest gap between ticks of a 1 ms timer, less the millisecond itself:
// how long the main thread could not serve events.
class Watchdog : public QObject {
public:
    Watchdog() {
        timer.setInterval(1);
        connect(&timer, &QTimer::timeout, this, [this] {
            qint64 now = clock.nsecsElapsed();
            longest = std::max(longest, now - last);
            last = now;
        });
        clock.start();
        timer.start();
    }
    void reset() {
        last = clock.nsecsElapsed();
        longest = 0;
    }
    double longestMilliseconds() const { return std::max(0.0, double(longest) / 1e6 - 1.0); }

private:
    QTimer timer;
    QElapsedTimer clock;
    qint64 last = 0;
    qint64 longest = 0;
};
