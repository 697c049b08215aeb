// What the engine's safety costs: renames 5,000 files and undoes them, and
// beside it the floor, a bare loop over the same folder doing the same renames
// and folder flushes with nothing else. Run on the work disk and on /dev/shm,
// and on a FUSE or network mount to see the link-and-unlink moves used where
// RENAME_NOREPLACE is refused (the floor then makes the same moves bare):
//
//   bindfs /work/plain /mnt/fuse && bench-engine /work/plain /mnt/fuse
// The engine reports its progress to an observer that coalesces as the app's
// does, so what watching a batch costs is part of the figure.
//
//   bench-engine [FOLDER...]   (default: the current folder and /dev/shm)

#include "bench_support.h"

#include "core/engine/rename_engine.h"
#include "core/import/file_import.h"
#include "core/naming/recipe.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

#include <cerrno>
#include <chrono>

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

namespace {

constexpr int fileCount = 5000;

bool makeFiles(const QString& folder) {
    return writeEmptyFiles(folder, fileCount, QStringLiteral("IMG_%1.jpg"));
}

double engineMilliseconds(const QString& base, QTextStream& out) {
    QTemporaryDir work(base + "/tessary-bench-XXXXXX");
    QString files = work.path() + "/files";
    QDir().mkpath(files);
    if (!makeFiles(files))
        return -1;
    RenameEngine engine(work.path() + "/journal");
    auto imported = FileImport::collect({QUrl::fromLocalFile(files)}, {}, 5000);
    const RenameRules& rules = Recipe::builtIn().front().rules;
    QList<RenameIntent> intents;
    for (qsizetype index = 0; index < imported.files.size(); ++index)
        intents.append(
            {imported.files[index], rules.filename(imported.files[index].name(), index)});

    int reports = 0;
    int passed = 0;
    std::chrono::steady_clock::time_point last;
    auto observe = [&](const RenameProgress& progress) {
        ++reports;
        auto now = std::chrono::steady_clock::now();
        if (progress.done < progress.total && now - last < std::chrono::milliseconds(33))
            return;
        last = now;
        ++passed;
    };

    QElapsedTimer timer;
    timer.start();
    engine.execute(intents, 5000, observe);
    double renamed = double(timer.nsecsElapsed()) / 1e6;
    timer.restart();
    engine.undo(observe);
    double undone = double(timer.nsecsElapsed()) / 1e6;
    out << QStringLiteral(
               "  engine: rename %1 ms, undo %2 ms (%3 progress reports, %4 passed on)\n")
               .arg(renamed, 0, 'f', 1)
               .arg(undone, 0, 'f', 1)
               .arg(reports)
               .arg(passed);
    return renamed + undone;
}

// The same 2n exclusive renames and 2n folder flushes per batch, twice (the
// batch and its undo), and nothing else.
double floorMilliseconds(const QString& base) {
    QTemporaryDir work(base + "/tessary-floor-XXXXXX");
    if (!makeFiles(work.path()))
        return -1;
    int folder = open(work.path().toUtf8().constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    auto step = [&](const QByteArray& from, const QByteArray& to) {
        if (renameat2(folder, from.constData(), folder, to.constData(), RENAME_NOREPLACE) != 0 &&
            errno == EINVAL) {
            linkat(folder, from.constData(), folder, to.constData(), 0);
            fsync(folder);
            unlinkat(folder, from.constData(), 0);
        }
        fsync(folder);
    };
    QElapsedTimer timer;
    timer.start();
    for (int pass = 0; pass < 2; ++pass) {
        const char* source = pass == 0 ? "IMG_%1.jpg" : "studio-north-%1.jpg";
        const char* target = pass == 0 ? "studio-north-%1.jpg" : "IMG_%1.jpg";
        for (int index = 0; index < fileCount; ++index)
            step(QString(source).arg(index).toUtf8(),
                 QStringLiteral(".stage-%1").arg(index).toUtf8());
        for (int index = 0; index < fileCount; ++index)
            step(QStringLiteral(".stage-%1").arg(index).toUtf8(),
                 QString(target).arg(index).toUtf8());
    }
    double elapsed = double(timer.nsecsElapsed()) / 1e6;
    close(folder);
    return elapsed;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QStringList bases = QCoreApplication::arguments().mid(1);
    if (bases.isEmpty())
        bases = {QDir::currentPath(), QStringLiteral("/dev/shm")};
    QTextStream out(stdout);
    out << fileCount << " files, renamed and undone (2n renames and 2n folder flushes each way)\n";
    for (const QString& base : bases) {
        out << base << ":\n";
        out.flush();
        double engine = engineMilliseconds(base, out);
        double floor = floorMilliseconds(base);
        if (engine < 0 || floor < 0) {
            out << "  cannot create files here\n";
            continue;
        }
        out << QStringLiteral("  engine %1 ms/file, floor %2 ms/file, ratio %3\n")
                   .arg(engine / fileCount, 0, 'f', 4)
                   .arg(floor / fileCount, 0, 'f', 4)
                   .arg(engine / floor, 0, 'f', 2);
        out.flush();
    }
    return 0;
}
