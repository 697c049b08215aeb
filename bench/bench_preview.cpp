// How long the preview's three steps take for a full batch of 5,000 files in
// one folder: importing the folder, judging the rows, sorting the records;
// then the rules' preview with a regular expression, whole and its names
// alone, and with a pattern that backtracks without end, and names without
// their accents. Prints the median
// of several runs in milliseconds.

#include "bench_support.h"

#include "core/import/file_import.h"
#include "core/naming/recipe.h"
#include "core/preview/rename_preview.h"
#include "core/preview/rule_preview.h"

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

    RenameRules pattern;
    pattern.regex = true;
    pattern.find = QStringLiteral(R"(^IMG_(\d+) (\w+)$)");
    pattern.replacement = QStringLiteral(R"(\L$2\E-$1)");
    double names = medianMilliseconds([&] {
        for (qsizetype index = 0; index < imported.files.size(); ++index)
            intents[index].filename = pattern.filename(imported.files[index].name(), index);
    });
    RenameRules accents;
    accents.removeAccents = true;
    QStringList accented;
    for (int index = 0; index < fileCount; ++index)
        accented.append(QStringLiteral("Café Ærø Łódź %1.jpg").arg(index));
    double accentNames = medianMilliseconds([&] {
        for (qsizetype index = 0; index < accented.size(); ++index)
            (void)accents.filename(accented[index], index);
    });
    QList<PreviewRow> patternRows;
    double patternPreview = medianMilliseconds(
        [&] { patternRows = RulePreview::rows(imported.files, {}, pattern, false); });
    RenameRules slow = pattern;
    slow.find = QStringLiteral(R"((\w+\s?)+[!?])");
    QList<PreviewRow> slowRows;
    double slowPreview = medianMilliseconds(
        [&] { slowRows = RulePreview::rows(imported.files, {}, slow, false); }, 5);

    auto problems = [](const QList<PreviewRow>& list) {
        return std::count_if(list.begin(), list.end(),
                             [](const PreviewRow& row) { return row.problem.has_value(); });
    };
    auto blocked = problems(rows);
    out << "files: " << imported.files.size() << " in one folder, rows with a problem: " << blocked
        << ", median of " << runs << " runs\n";
    out << QStringLiteral("FileImport::collect      %1 ms\n").arg(collect, 0, 'f', 2);
    out << QStringLiteral("RenamePreview::rows      %1 ms (Client handoff)\n")
               .arg(judge, 0, 'f', 2);
    out << QStringLiteral("RenamePreview::sorted    %1 ms\n").arg(sort, 0, 'f', 2);
    out << QStringLiteral("RenameRules::filename    %1 ms (regular expression, 5000 names)\n")
               .arg(names, 0, 'f', 2);
    out << QStringLiteral("RenameRules::filename    %1 ms (remove accents, 5000 accented names)\n")
               .arg(accentNames, 0, 'f', 2);
    out << QStringLiteral(
               "RulePreview::rows        %1 ms (regular expression, %2 with a problem)\n")
               .arg(patternPreview, 0, 'f', 2)
               .arg(problems(patternRows));
    out << QStringLiteral(
               "RulePreview::rows        %1 ms (pattern that gives up, %2 with a problem, "
               "median of 5)\n")
               .arg(slowPreview, 0, 'f', 2)
               .arg(problems(slowRows));
    return 0;
}
