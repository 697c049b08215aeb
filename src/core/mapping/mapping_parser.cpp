#include "core/mapping/mapping_parser.h"

#include "core/base/rename_failure.h"
#include "core/naming/filename.h"
#include "core/platform/posix_file_system.h"

#include <QStringDecoder>

namespace MappingParser {
namespace {

const QChar quote = QLatin1Char('"');
const QChar tab = QLatin1Char('\t');

bool isLineBreak(QChar character) {
    return character == QLatin1Char('\n') || character == QLatin1Char('\r');
}

MappingDocument failed(std::optional<qsizetype> row, const QString& message) {
    return {{}, {MappingDiagnostic{row, std::nullopt, message}}};
}

// The first record decides: a tab outside quotes before its end means tab.
QChar automaticDelimiter(QStringView text) {
    bool quoted = false;
    for (qsizetype at = 0; at < text.size(); ++at) {
        QChar character = text[at];
        if (character == quote) {
            if (quoted && at + 1 < text.size() && text[at + 1] == quote)
                ++at;
            else
                quoted = !quoted;
        } else if (!quoted && character == tab) {
            return tab;
        } else if (!quoted && isLineBreak(character)) {
            break;
        }
    }
    return QLatin1Char(',');
}

// Reads records one at a time. Any problem is thrown as the diagnostic that
// ends the parse; nothing earlier survives it.
class Reader {
public:
    Reader(QStringView text, QChar delimiter) : text(text), delimiter(delimiter) {}

    MappingDocument read() {
        try {
            readAll();
        } catch (const MappingDiagnostic& diagnostic) {
            return {{}, {diagnostic}};
        }
        if (entries.isEmpty())
            return failed(std::nullopt, QStringLiteral("Add at least one mapping below the "
                                                       "optional old_name,new_name header."));
        return {entries, {}};
    }

private:
    enum class State { startOfCell, unquoted, quoted, afterClosingQuote };

    [[noreturn]] void fail(const QString& message) const {
        throw MappingDiagnostic{recordLine, std::nullopt, message};
    }

    // The length of the line break at `at` (2 for CR LF), or 0.
    qsizetype lineBreakAt(qsizetype at) const {
        if (text[at] == QLatin1Char('\r') && at + 1 < text.size() &&
            text[at + 1] == QLatin1Char('\n'))
            return 2;
        return isLineBreak(text[at]) ? 1 : 0;
    }

    void endCell() {
        cells.append(cell);
        cell.clear();
        if (cells.size() >= 2)
            fail(QStringLiteral("Expected exactly two columns. Quote filenames containing the "
                                "delimiter."));
    }

    void endRecord() {
        cells.append(cell);
        cell.clear();
        if (cells.size() != 2)
            fail(QStringLiteral("Expected exactly two columns: old filename and new filename. "
                                "Choose the matching CSV or TSV format."));
        bool header = accepted == 0 && Filename::canonical(cells[0]) == QLatin1String("old_name") &&
                      Filename::canonical(cells[1]) == QLatin1String("new_name");
        if (!header) {
            if (cells[0].isEmpty() || cells[1].isEmpty())
                fail(QStringLiteral("Both filename cells must contain a full filename, including "
                                    "its extension."));
            if (entries.size() >= maximumEntries)
                fail(QStringLiteral("A spreadsheet can contain at most 5,000 mappings. Split it "
                                    "into separate batches."));
            entries.append({recordLine, cells[0], cells[1]});
        }
        ++accepted;
        cells.clear();
        state = State::startOfCell;
    }

    // Appends the run of ordinary characters starting at `at` in one piece and
    // returns where it stops: cells can be long, and this runs on every edit.
    qsizetype appendRun(qsizetype at, bool quotedRun) {
        qsizetype end = at;
        while (end < text.size()) {
            QChar character = text[end];
            if (character == quote || isLineBreak(character) ||
                (!quotedRun && character == delimiter))
                break;
            ++end;
        }
        cell.append(text.mid(at, end - at));
        return end;
    }

    void readAll() {
        qsizetype at = 0;
        bool recordHasText = false;
        while (at < text.size()) {
            QChar character = text[at];
            qsizetype lineBreak = lineBreakAt(at);
            recordHasText = true;
            switch (state) {
            case State::startOfCell:
            case State::unquoted:
            case State::afterClosingQuote:
                if (lineBreak) {
                    endRecord();
                    at += lineBreak;
                    recordLine = ++line;
                    recordHasText = false;
                    continue;
                }
                if (character == delimiter) {
                    endCell();
                    state = State::startOfCell;
                    ++at;
                    continue;
                }
                if (state == State::afterClosingQuote)
                    fail(QStringLiteral("Unexpected text after a closing quote. A delimiter or "
                                        "line ending must follow it."));
                if (character == quote) {
                    if (state == State::unquoted)
                        fail(QStringLiteral("A quote inside an unquoted field is invalid. Quote "
                                            "the whole field and double embedded quotes."));
                    state = State::quoted;
                    ++at;
                    continue;
                }
                state = State::unquoted;
                at = appendRun(at, false);
                continue;
            case State::quoted:
                if (lineBreak) {
                    cell.append(text.mid(at, lineBreak));
                    at += lineBreak;
                    ++line;
                    continue;
                }
                if (character == quote) {
                    if (at + 1 < text.size() && text[at + 1] == quote) {
                        cell.append(quote);
                        at += 2;
                    } else {
                        state = State::afterClosingQuote;
                        ++at;
                    }
                    continue;
                }
                at = appendRun(at, true);
                continue;
            }
        }
        if (state == State::quoted)
            fail(QStringLiteral("This quoted field is not closed."));
        if (recordHasText)
            endRecord();
    }

    QStringView text;
    QChar delimiter;
    State state = State::startOfCell;
    qsizetype line = 1;
    qsizetype recordLine = 1;
    qsizetype accepted = 0;
    QString cell;
    QStringList cells;
    QList<MappingEntry> entries;
};

[[noreturn]] void tooLargeToOpen() {
    throw RenameFailure(
        QStringLiteral("The spreadsheet exceeds 4 MiB. Split it into smaller files."));
}

} // namespace

std::optional<QString> decodedText(const QByteArray& bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless |
                                                     QStringDecoder::Flag::ConvertInitialBom);
    QString text = decoder(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

QString readText(const QUrl& file) {
    if (!file.isLocalFile())
        throw RenameFailure(QStringLiteral("Choose a local UTF-8 CSV or TSV file."));
    auto opened = PosixFileSystem::openPathForReading(file.toLocalFile().toUtf8());
    if (!opened)
        throw RenameFailure(
            QStringLiteral("The spreadsheet could not be opened. Check its permissions."));
    const UniqueFd& fd = *opened.value;
    auto status = PosixFileSystem::statDescriptor(fd.get());
    if (!status || !status.value->isRegular)
        throw RenameFailure(QStringLiteral("Choose a regular CSV or TSV file."));
    if (status.value->size > std::uint64_t(maximumBytes))
        tooLargeToOpen();
    auto bytes = PosixFileSystem::readUpTo(fd.get(), maximumBytes + 1);
    if (!bytes)
        throw RenameFailure(PosixFileSystem::errorText(bytes.error) + QLatin1Char('.'));
    // An empty file is read as empty text, which the parser answers with the
    // sentence that asks for two columns.
    if (bytes.value->size() > maximumBytes)
        tooLargeToOpen();
    auto text = decodedText(*bytes.value);
    if (!text)
        throw RenameFailure(
            QStringLiteral("Use UTF-8 CSV or TSV. This file uses an unsupported encoding."));
    return *text;
}

MappingDocument parse(const QByteArray& bytes, MappingFormat format) {
    if (bytes.size() > maximumBytes)
        return failed(std::nullopt,
                      QStringLiteral("The spreadsheet exceeds 4 MiB. Use a smaller UTF-8 CSV or "
                                     "TSV file."));
    auto decoded = decodedText(bytes);
    if (!decoded)
        return failed(
            std::nullopt,
            QStringLiteral("Use UTF-8 CSV or TSV. This file uses an unsupported encoding."));
    QStringView text = *decoded;
    if (text.startsWith(QChar(0xFEFF)))
        text = text.mid(1);
    if (text.isEmpty())
        return failed(std::nullopt,
                      QStringLiteral("Paste or open two columns: old filename and new "
                                     "filename."));
    QChar delimiter = format == MappingFormat::tsv   ? tab
                      : format == MappingFormat::csv ? QLatin1Char(',')
                                                     : automaticDelimiter(text);
    return Reader(text, delimiter).read();
}

} // namespace MappingParser
