// How long spreadsheet mode takes for a full batch: parsing a 4 MiB,
// 5,000-row mapping and matching it against 5,000 files, which the preview
// repeats after every edit of the text. Prints the median of several runs.

#include "bench_support.h"

#include "core/import/file_import.h"
#include "core/mapping/mapping_parser.h"
#include "core/mapping/mapping_preview.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

#include <algorithm>
#include <functional>
#include <vector>

namespace {

constexpr int fileCount = 5000;
constexpr int runs = 15;

QString fileName(int index) {
    return QStringLiteral("IMG_%1 Holiday.jpg").arg(index);
}

// One row per file. `padding` lengthens each new name so the whole text can be
// made as large as the parser accepts.
QByteArray mapping(int padding) {
    QByteArray text = "old_name,new_name\n";
    for (int index = 0; index < fileCount; ++index) {
        QString newName = QStringLiteral("holiday-%1").arg(index, 4, 10, QLatin1Char('0')) +
                          QString(padding, QLatin1Char('x')) + QStringLiteral(".jpg");
        text += ('"' + fileName(index) + "\",\"" + newName + "\"\n").toUtf8();
    }
    return text;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QTextStream out(stdout);
    QTemporaryDir folder;
    for (int index = 0; index < fileCount; ++index) {
        QFile file(folder.path() + QLatin1Char('/') + fileName(index));
        if (!file.open(QIODevice::WriteOnly))
            return 1;
    }
    const QList<FileRecord> files =
        FileImport::collect({QUrl::fromLocalFile(folder.path())}, {}, 5000).files;

    // Valid names, and the same rows padded to just under the 4 MiB limit
    // (their new names are then too long, which is judged, not skipped).
    const QByteArray typical = mapping(200);
    const int largestPadding =
        int((MappingParser::maximumBytes - typical.size()) / fileCount) + 200;
    const QByteArray largest = mapping(largestPadding);

    out << "files: " << files.size() << ", median of " << runs << " runs\n";
    for (const QByteArray* text : {&typical, &largest}) {
        MappingDocument document;
        double parse = medianMilliseconds(
            [&] { document = MappingParser::parse(*text, MappingFormat::automatic); });
        MappingPreview preview;
        double compute =
            medianMilliseconds([&] { preview = MappingPreview::compute(files, document, false); });
        auto blocked = std::count_if(preview.rows.begin(), preview.rows.end(),
                                     [](const PreviewRow& row) { return row.problem.has_value(); });
        out << QStringLiteral("%1 bytes, %2 rows: parse %3 ms + compute %4 ms = %5 ms (rows with "
                              "a problem: %6)\n")
                   .arg(text->size())
                   .arg(document.entries.size())
                   .arg(parse, 0, 'f', 2)
                   .arg(compute, 0, 'f', 2)
                   .arg(parse + compute, 0, 'f', 2)
                   .arg(blocked);
    }
    return 0;
}
