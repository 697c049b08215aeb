#include "core/journal/rename_journal.h"

#include "core/base/json_fields.h"
#include "core/base/rename_failure.h"
#include "core/base/uuid_text.h"
#include "core/batch/file_record.h"
#include "core/naming/filename.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <unordered_set>

namespace {

[[noreturn]] void damaged() {
    throw RenameFailure(QStringLiteral(
        "The rename journal is damaged. Keep it for support; no files were changed."));
}

[[noreturn]] void unsafe() {
    throw RenameFailure(
        QStringLiteral("The rename journal failed safety checks. No files were changed."));
}

// A NUL inside a path would reach the kernel as a shorter path than the one
// checked here, so the folder validated would not be the folder acted on.
bool isStandardAbsolute(const QString& path) {
    return path.startsWith(QLatin1Char('/')) && !path.contains(QChar(u'\0')) &&
           FilePath::standardized(path) == path;
}

// A journal may have been edited, truncated or written by something else; it
// is acted on only when every path stays inside its own folder, every name is
// one the app could have written, and no file appears twice.
void checkSafety(const RenameJournal& journal) {
    std::unordered_set<QString> originals;
    std::unordered_set<QString> finals;
    std::unordered_set<FileIdentity, FileIdentityHash> identities;
    for (qsizetype position = 0; position < journal.entries.size(); ++position) {
        const JournalEntry& entry = journal.entries[position];
        if (!isStandardAbsolute(entry.original) || !isStandardAbsolute(entry.final) ||
            !isStandardAbsolute(entry.staging))
            unsafe();
        QString folder = FilePath::parent(entry.original);
        if (FilePath::parent(entry.final) != folder || FilePath::parent(entry.staging) != folder)
            unsafe();
        if (Filename::canonical(FilePath::lastComponent(entry.staging)) !=
            RenameJournal::stagingName(journal.id, position))
            unsafe();
        // An undo's final names are names its files had before, so both are
        // names a file may already have.
        if (Filename::currentProblem(FilePath::lastComponent(entry.original)) ||
            Filename::currentProblem(FilePath::lastComponent(entry.final)))
            unsafe();
        if (!originals.insert(Filename::canonical(entry.original)).second)
            unsafe();
        if (!finals.insert(Filename::canonical(entry.final)).second)
            unsafe();
        if (!identities.insert(entry.identity).second)
            unsafe();
    }
}

} // namespace

QString RenameJournal::stagingName(const QUuid& batch, qsizetype position) {
    return QStringLiteral(".tessary-") + UuidText::text(batch) + QLatin1Char('-') +
           QString::number(position);
}

QByteArray RenameJournal::encoded() const {
    std::string document = nlohmann::ordered_json(*this).dump();
    // "/" never appears in JSON outside a string, so escaping every one of them
    // escapes exactly the solidus inside strings.
    auto slashes = std::count(document.begin(), document.end(), '/');
    QByteArray bytes(qsizetype(document.size()) + slashes, Qt::Uninitialized);
    char* out = bytes.data();
    for (char character : document) {
        if (character == '/')
            *out++ = '\\';
        *out++ = character;
    }
    return bytes;
}

RenameJournal RenameJournal::decoded(const QByteArray& document) {
    RenameJournal journal;
    try {
        journal = nlohmann::ordered_json::parse(document.constData(),
                                                document.constData() + document.size())
                      .get<RenameJournal>();
    } catch (const nlohmann::json::exception&) {
        damaged();
    } catch (const RenameFailure&) {
        damaged();
    }
    if (journal.version != 1 || journal.entries.isEmpty() ||
        journal.entries.size() > maximumEntries)
        throw RenameFailure(QStringLiteral("Unsupported rename journal."));
    checkSafety(journal);
    return journal;
}

void to_json(nlohmann::ordered_json& json, const RenameJournal& journal) {
    auto entries = nlohmann::ordered_json::array();
    for (const JournalEntry& entry : journal.entries)
        entries.push_back(entry);
    json = nlohmann::ordered_json{{"version", journal.version},
                                  {"id", UuidText::text(journal.id).toStdString()},
                                  {"completed", journal.completed},
                                  {"purpose", rawValue(journal.purpose).toStdString()},
                                  {"entries", std::move(entries)}};
    if (journal.volumes.isEmpty())
        return;
    auto volumes = nlohmann::ordered_json::array();
    for (const JournaledVolume& volume : journal.volumes)
        volumes.push_back({{"device", volume.device}, {"name", volume.name.toStdString()}});
    json["volumes"] = std::move(volumes);
}

void from_json(const nlohmann::ordered_json& json, RenameJournal& journal) {
    JsonFields fields(json);
    RenameJournal decoded;
    decoded.version = fields.int64("version");
    auto id = UuidText::parse(fields.string("id"));
    if (!id)
        throw RenameFailure(QStringLiteral("The key “id” does not hold a UUID."));
    decoded.id = *id;
    decoded.completed = fields.boolean("completed");
    auto purpose = journalPurposeFromRaw(fields.string("purpose"));
    if (!purpose)
        throw RenameFailure(QStringLiteral("The key “purpose” names no purpose."));
    decoded.purpose = *purpose;
    const auto& entries = fields.value("entries");
    if (!entries.is_array())
        throw RenameFailure(QStringLiteral("The key “entries” has the wrong type."));
    decoded.entries.reserve(qsizetype(entries.size()));
    for (const auto& entry : entries)
        decoded.entries.append(entry.get<JournalEntry>());
    // Journals written before volumes were recorded have no such key.
    if (json.contains("volumes")) {
        const auto& volumes = fields.value("volumes");
        if (!volumes.is_array())
            throw RenameFailure(QStringLiteral("The key “volumes” has the wrong type."));
        for (const auto& volume : volumes) {
            JsonFields named(volume);
            decoded.volumes.append({named.int32("device"), named.string("name")});
        }
    }
    journal = decoded;
}
