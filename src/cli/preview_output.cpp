#include "preview_output.h"

#include "core/naming/filename.h"

#include <nlohmann/json.hpp>

namespace PreviewOutput {
namespace {

QString status(const PreviewRow& row) {
    if (row.problem)
        return *row.problem;
    QString status =
        row.changed() ? QStringLiteral("Ready to rename") : QStringLiteral("Unchanged");
    return row.note ? status + QStringLiteral("  ·  ") + *row.note : status;
}

QString plural(qsizetype count, const char* one, const char* many) {
    return QString::number(count) + QLatin1Char(' ') + QLatin1String(count == 1 ? one : many);
}

std::string utf8(const QString& text) {
    return text.toStdString();
}

// "Row N · name: message", leaving out what the diagnostic does not carry.
QString diagnosticLine(const MappingDiagnostic& diagnostic) {
    QStringList place;
    if (diagnostic.row)
        place.append(QStringLiteral("Row %1").arg(*diagnostic.row));
    if (diagnostic.name)
        place.append(*diagnostic.name);
    if (place.isEmpty())
        return diagnostic.message;
    return place.join(QStringLiteral(" · ")) + QStringLiteral(": ") + diagnostic.message;
}

} // namespace

void printText(const BatchPreview& preview, QTextStream& out, QTextStream& errors) {
    for (const QString& line : preview.import.skipped)
        errors << "Skipped " << line << '\n';
    if (preview.import.reachedLimit)
        errors << "Added up to 5,000 files. Remaining items were skipped.\n";

    qsizetype width = 0;
    for (const PreviewRow& row : preview.rows)
        width = std::max(width, Filename::shown(row.intent.source.name()).size());
    width = std::min<qsizetype>(width, 40);
    for (const PreviewRow& row : preview.rows) {
        out << Filename::shown(row.intent.source.name()).leftJustified(width) << "  →  "
            << Filename::shown(row.intent.filename) << "  ·  " << status(row) << '\n';
    }
    if (!preview.diagnostics.isEmpty()) {
        out << "Spreadsheet issues:\n";
        for (const MappingDiagnostic& diagnostic : preview.diagnostics)
            out << "  " << diagnosticLine(diagnostic) << '\n';
    }
    out << plural(preview.readyCount(), "file ready to rename", "files ready to rename") << " · "
        << preview.unchangedCount() << " unchanged · "
        << plural(preview.conflictCount(), "conflict", "conflicts");
    if (preview.spreadsheet)
        out << " · "
            << plural(preview.diagnostics.size(), "spreadsheet issue", "spreadsheet issues");
    out << '\n';
    if (preview.volumeNote)
        out << *preview.volumeNote << '\n';
}

void printJson(const BatchPreview& preview, QTextStream& out) {
    auto rows = nlohmann::ordered_json::array();
    for (const PreviewRow& row : preview.rows) {
        rows.push_back({{"path", utf8(row.intent.source.path)},
                        {"name", utf8(row.intent.source.name())},
                        {"proposed", utf8(row.intent.filename)},
                        {"changed", row.changed()},
                        {"problem", row.problem ? nlohmann::ordered_json(utf8(*row.problem))
                                                : nlohmann::ordered_json(nullptr)},
                        {"note", row.note ? nlohmann::ordered_json(utf8(*row.note))
                                          : nlohmann::ordered_json(nullptr)}});
    }
    auto skipped = nlohmann::ordered_json::array();
    for (const QString& line : preview.import.skipped)
        skipped.push_back(utf8(line));
    auto diagnostics = nlohmann::ordered_json::array();
    for (const MappingDiagnostic& diagnostic : preview.diagnostics) {
        diagnostics.push_back(
            {{"row", diagnostic.row ? nlohmann::ordered_json(*diagnostic.row) : nullptr},
             {"name", diagnostic.name ? nlohmann::ordered_json(utf8(*diagnostic.name)) : nullptr},
             {"message", utf8(diagnostic.message)}});
    }
    nlohmann::ordered_json document{
        {"rows", std::move(rows)},
        {"changed", preview.readyCount()},
        {"unchanged", preview.unchangedCount()},
        {"conflicts", preview.conflictCount()},
        {"skipped", std::move(skipped)},
        {"reachedLimit", preview.import.reachedLimit},
        {"volumeNote", preview.volumeNote ? nlohmann::ordered_json(utf8(*preview.volumeNote))
                                          : nlohmann::ordered_json(nullptr)},
        {"diagnostics", std::move(diagnostics)}};
    out << QString::fromStdString(document.dump(2)) << '\n';
}

} // namespace PreviewOutput
