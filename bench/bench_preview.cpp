// How long the preview's three steps take for a full batch of 5,000 files in
// one folder: importing the folder, judging the rows, sorting the records.
// Prints the median of several runs in milliseconds.

#include "bench_support.h"

#include "core/file_import.h"
#include "core/recipe.h"
#include "core/rename_preview.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>
#include <functional>
#include <random>
#include <vector>

namespace {

constexpr int fileCount = 5000;
constexpr int runs = 15;

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    QTemporaryDir folder;
    if (!folder.isValid())
        return 1;
    if (!writeEmptyFiles(folder.path(), fileCount, QStringLiteral("IMG_%1 Holiday.jpg")))
        return 1;

    const QList<QUrl> items{QUrl::fromLocalFile(folder.path())};
    ImportResult imported;
    double collect = medianMilliseconds([&] { imported = FileImport::collect(items, {}, 5000); });

    const RenameRules& rules = Recipe::builtIn().front().rules;
    QList<RenameIntent> intents;
    for (qsizetype index = 0; index < imported.files.size(); ++index)
        intents.append(
            {imported.files[index], rules.filename(imported.files[index].name(), index)});
    QList<PreviewRow> rows;
    double judge = medianMilliseconds([&] { rows = RenamePreview::rows(intents, false); });

    QList<FileRecord> shuffled = imported.files;
    std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(42));
    double sort = medianMilliseconds([&] { shuffled = RenamePreview::sorted(shuffled); });

    auto blocked = std::count_if(rows.begin(), rows.end(),
                                 [](const PreviewRow& row) { return row.problem.has_value(); });
    out << "files: " << imported.files.size() << " in one folder, rows with a problem: " << blocked
        << ", median of " << runs << " runs\n";
    out << QStringLiteral("FileImport::collect      %1 ms\n").arg(collect, 0, 'f', 2);
    out << QStringLiteral("RenamePreview::rows      %1 ms (Client handoff)\n")
               .arg(judge, 0, 'f', 2);
    out << QStringLiteral("RenamePreview::sorted    %1 ms\n").arg(sort, 0, 'f', 2);
    return 0;
}
