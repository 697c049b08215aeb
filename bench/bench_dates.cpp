// How naming by date feels with a card of 5,000 photos: the time from the
// import's end until every file's date taken is read, then ten edits of a
// date token as fast as a person types and the time from the last one until
// the new rows are applied, and throughout the longest stretch the main
// thread could not serve events (a 1 ms timer watches it).

#include "bench_support.h"

#include "app/app_model.h"
#include "app/qsettings_store.h"

#include <exiv2/exiv2.hpp>

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QTextStream>

namespace {

constexpr int fileCount = 5000;

// One small JPEG made by Exiv2, copied with a different date taken each
// time: the date is patched in place, as it has the same length.
bool writePhotos(const QString& folder) {
    const QString first = folder + "/IMG_0.jpg";
    const QByteArray date = "2026:05:04 09:30:00";
    {
        auto image = Exiv2::ImageFactory::create(Exiv2::ImageType::jpeg, first.toStdString());
        Exiv2::ExifData exif;
        exif["Exif.Photo.DateTimeOriginal"] = date.toStdString();
        image->setExifData(exif);
        image->writeMetadata();
    }
    QFile templateFile(first);
    if (!templateFile.open(QIODevice::ReadOnly))
        return false;
    const QByteArray bytes = templateFile.readAll();
    const qsizetype at = bytes.indexOf(date);
    for (int index = 1; index < fileCount; ++index) {
        QByteArray copy = bytes;
        QTime time = QTime(9, 30).addSecs(qint64(index) * 37);
        copy.replace(at, date.size(), "2026:05:04 " + time.toString("HH:mm:ss").toLatin1());
        QFile file(folder + QStringLiteral("/IMG_%1.jpg").arg(index));
        if (!file.open(QIODevice::WriteOnly) || file.write(copy) != copy.size())
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    QTemporaryDir work;
    QString files = work.path() + "/Lisbon";
    QDir().mkpath(files);
    if (!writePhotos(files))
        return 1;

    FolderAnswer dialogs(files);
    NoClipboard clipboard;
    QSettingsStore settings(work.path() + "/settings.ini");
    NoUrls urls;
    AppModel model({dialogs, clipboard, settings, urls},
                   {work.path() + "/journal", {}, QProcessEnvironment()});

    Watchdog watchdog;
    QElapsedTimer clock;
    clock.start();
    model.openFiles(true);
    waitFor(model, &AppModel::changed, [&] { return !model.busy(); });
    qint64 imported = clock.nsecsElapsed();
    waitFor(model, &AppModel::readingProgressChanged, [&] { return !model.readingProgress(); });
    double read = double(clock.nsecsElapsed() - imported) / 1e6;
    out << "files: " << model.files().size() << ", imported in " << imported / 1'000'000 << " ms\n";
    out << QStringLiteral("dates of every file read %1 ms after the import (target 1500)\n")
               .arg(read, 0, 'f', 1);

    // Ten edits of a date token's format, one every 50 ms, in the order of
    // the date taken; then the wait for the rows.
    RenameRules rules;
    rules.sequence = true;
    rules.order = NameOrder::taken;
    rules.separator = NameSeparator::space;
    const QString typed = QStringLiteral("{taken:yyyy-MM-dd} {folder}");
    qint64 lastChange = 0;
    for (int edit = 1; edit <= 10; ++edit) {
        rules.baseName = typed.left(typed.size() - 10 + edit);
        model.setRules(rules);
        lastChange = clock.nsecsElapsed();
        if (edit < 10)
            pause(50);
    }
    waitFor(model, &AppModel::previewApplied, [&] { return !model.previewing(); });
    double applied = double(clock.nsecsElapsed() - lastChange) / 1e6;
    out << QStringLiteral("last token edit to rows applied: %1 ms (target 150)\n")
               .arg(applied, 0, 'f', 1);
    out << QStringLiteral("longest main-thread block from import to rows: %1 ms (target 16)\n")
               .arg(watchdog.longestMilliseconds(), 0, 'f', 1);
    out << "first row: " << model.rows().front().intent.filename
        << ", last row: " << model.rows().back().intent.filename << "\n";
    return 0;
}
