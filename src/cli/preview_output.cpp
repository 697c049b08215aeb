#include "preview_output.h"

#include <nlohmann/json.hpp>

namespace PreviewOutput {
namespace {

QString status(const PreviewRow& row) {
    if (row.problem)
        return *row.problem;
    return row.changed() ? QStringLiteral("Ready to rename") : QStringLiteral("Unchanged");
}

QString plural(qsizetype count, const char* one, const char* many) {
    return QString::number(count) + QLatin1Char(' ') + QLatin1String(count == 1 ? one : many);
}

std::string utf8(const QString& text) {
    return text.toStdString();
}

} // namespace

void printText(const BatchPreview& preview, QTextStream& out, QTextStream& errors) {
    for (const QString& line : preview.import.skipped)
        errors << "Skipped " << line << '\n';
    if (preview.import.reachedLimit)
        errors << "Added up to 5,000 files. Remaining items were skipped.\n";

    qsizetype width = 0;
    for (const PreviewRow& row : preview.rows)
        width = std::max(width, row.intent.source.name().size());
    width = std::min<qsizetype>(width, 40);
    for (const PreviewRow& row : preview.rows) {
        out << row.intent.source.name().leftJustified(width) << "  →  " << row.intent.filename
            << "  ·  " << status(row) << '\n';
    }
    out << plural(preview.readyCount(), "file ready to rename", "files ready to rename") << " · "
        << preview.unchangedCount() << " unchanged · "
        << plural(preview.conflictCount(), "conflict", "conflicts") << '\n';
}

void printJson(const BatchPreview& preview, QTextStream& out) {
    auto rows = nlohmann::ordered_json::array();
    for (const PreviewRow& row : preview.rows) {
        rows.push_back({{"path", utf8(row.intent.source.path)},
                        {"name", utf8(row.intent.source.name())},
                        {"proposed", utf8(row.intent.filename)},
                        {"changed", row.changed()},
                        {"problem", row.problem ? nlohmann::ordered_json(utf8(*row.problem))
                                                : nlohmann::ordered_json(nullptr)}});
    }
    auto skipped = nlohmann::ordered_json::array();
    for (const QString& line : preview.import.skipped)
        skipped.push_back(utf8(line));
    nlohmann::ordered_json document{{"rows", std::move(rows)},
                                    {"changed", preview.readyCount()},
                                    {"unchanged", preview.unchangedCount()},
                                    {"conflicts", preview.conflictCount()},
                                    {"skipped", std::move(skipped)},
                                    {"reachedLimit", preview.import.reachedLimit},
                                    {"diagnostics", nlohmann::ordered_json::array()}};
    out << QString::fromStdString(document.dump(2)) << '\n';
}

} // namespace PreviewOutput
