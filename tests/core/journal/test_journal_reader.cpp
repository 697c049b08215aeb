#include "failure_of.h"
#include "temporary_folder.h"

#include "core/batch/file_record.h"
#include "core/engine/rename_engine.h"
#include "core/journal/rename_journal.h"

#include <nlohmann/json.hpp>

#include <QFileInfo>
#include <QTest>

#include <unistd.h>

using Json = nlohmann::ordered_json;

namespace {

const QString damaged =
    "The rename journal is damaged. Keep it for support; no files were changed.";
const QString unsupported = "Unsupported rename journal.";
const QString unsafe = "The rename journal failed safety checks. No files were changed.";

// Every way a journal can be malformed, each applied to a valid one.
using Damage = std::function<void(Json&)>;

Json& entry(Json& journal, std::size_t position) {
    return journal["entries"][position];
}

// `text` with all that follows its last slash, or all of it, in lower case.
std::string lowered(const std::string& text) {
    auto last = text.rfind('/') + 1; // 0 without a slash
    return text.substr(0, last) + QString::fromStdString(text.substr(last)).toLower().toStdString();
}

// Puts `name` in place of the last part of the first entry's `key` path.
Damage renamed(const char* key, const std::string& name) {
    return [=](Json& j) {
        std::string path = entry(j, 0)[key];
        entry(j, 0)[key] = path.substr(0, path.rfind('/') + 1) + name;
    };
}

// A real completed batch of two files, returned as its JSON.
Json validJournal(TemporaryFolder& disk) {
    disk.file("d/a.txt", "A");
    disk.file("d/b.txt", "B");
    RenameEngine(disk.at("journal"))
        .execute({{FileRecord::make(disk.url("d/a.txt")), "x.txt"},
                  {FileRecord::make(disk.url("d/b.txt")), "y.txt"}},
                 5000);
    return Json::parse(disk.read("journal/undo.json").toStdString());
}

// Why recovery refused the journal folder's active journal, or nothing.
QString recoveryFailure(TemporaryFolder& disk) {
    return failureOf([&] { RenameEngine(disk.at("journal")).recover(); });
}

} // namespace

Q_DECLARE_METATYPE(Damage)

class JournalReaderTest : public QObject {
    Q_OBJECT
private slots:
    void refusesMalformedJournalsAndLeavesThemAlone_data() {
        QTest::addColumn<Damage>("damage");
        QTest::addColumn<QString>("expected");
        // clang-format off
        QTest::newRow("extra key is ignored") << Damage([](Json& j) { j["note"] = "x"; }) << QString();
        QTest::newRow("capitalised purpose") << Damage([](Json& j) { j["purpose"] = "Rename"; }) << damaged;
        QTest::newRow("missing key") << Damage([](Json& j) { j.erase("completed"); }) << damaged;
        QTest::newRow("volumes are read") << Damage([](Json& j) { j["volumes"] = Json::array({{{"device", 57}, {"name", "fuse.sshfs me@nas:/ /"}}}); }) << QString();
        QTest::newRow("volume without a name") << Damage([](Json& j) { j["volumes"] = Json::array({{{"device", 57}}}); }) << damaged;
        QTest::newRow("inode as a float") << Damage([](Json& j) { entry(j, 0)["identity"]["inode"] = 1.5; }) << damaged;
        QTest::newRow("device beyond 32 bits") << Damage([](Json& j) { entry(j, 0)["identity"]["device"] = 4294967296LL; }) << damaged;
        // Appended rather than added with +, which GCC 12 at -O3 warns about falsely (-Wrestrict).
        QTest::newRow("id in braces") << Damage([](Json& j) { j["id"] = std::string("{").append(j["id"].get<std::string>()).append("}"); }) << damaged;
        QTest::newRow("version 2") << Damage([](Json& j) { j["version"] = 2; }) << unsupported;
        QTest::newRow("no entries") << Damage([](Json& j) { j["entries"] = Json::array(); }) << unsupported;
        QTest::newRow("5,001 entries") << Damage([](Json& j) { j["entries"] = Json(5001, entry(j, 0)); }) << unsupported;
        QTest::newRow("staging numbered from 1") << Damage([](Json& j) { std::swap(entry(j, 0)["staging"], entry(j, 1)["staging"]); }) << unsafe;
        QTest::newRow("lower-case UUID in staging") << Damage([](Json& j) { entry(j, 0)["staging"] = lowered(entry(j, 0)["staging"]); }) << unsafe;
        QTest::newRow("lower-case id is read") << Damage([](Json& j) { j["id"] = lowered(j["id"].get<std::string>()); }) << QString();
        QTest::newRow("final in another folder") << renamed("final", "sub/x.txt") << unsafe;
        QTest::newRow("dot-dot in original") << renamed("original", "../d/a.txt") << unsafe;
        QTest::newRow("relative path") << Damage([](Json& j) { entry(j, 0)["original"] = entry(j, 0)["original"].get<std::string>().substr(1); }) << unsafe;
        // The kernel would stop reading at the NUL: another folder than the one checked.
        QTest::newRow("NUL inside a folder name") << Damage([](Json& j) {
            for (const char* key : {"original", "final", "staging"}) {
                std::string path = entry(j, 0)[key];
                auto slash = path.rfind('/');
                entry(j, 0)[key] = path.substr(0, slash) + std::string("\0x", 2) + path.substr(slash);
            }
        }) << unsafe;
        QTest::newRow("same final twice") << Damage([](Json& j) { entry(j, 1)["final"] = entry(j, 0)["final"]; }) << unsafe;
        QTest::newRow("same identity twice") << Damage([](Json& j) { entry(j, 1)["identity"] = entry(j, 0)["identity"]; }) << unsafe;
        QTest::newRow("hidden final name") << renamed("final", ".x.txt") << unsafe;
        // clang-format on
    }

    void refusesMalformedJournalsAndLeavesThemAlone() {
        QFETCH(Damage, damage);
        QFETCH(QString, expected);
        TemporaryFolder disk;
        Json journal = validJournal(disk);
        damage(journal);
        QByteArray bytes = QByteArray::fromStdString(journal.dump());
        disk.file("journal/active.json", bytes);
        QCOMPARE(recoveryFailure(disk), expected);
        if (!expected.isEmpty())
            QCOMPARE(disk.read("journal/active.json"), bytes);
    }

    void readsBothSolidusFormsButOnlyFromPlainFiles() {
        TemporaryFolder disk;
        Json journal = validJournal(disk);
        QByteArray written = disk.read("journal/undo.json");
        QVERIFY(written.contains("\\/d\\/x.txt"));
        RenameJournal plain = RenameJournal::decoded(QByteArray::fromStdString(journal.dump()));
        QCOMPARE(RenameJournal::decoded(written), plain);
        QCOMPARE(plain.encoded(), written);
        QVERIFY(!RenameEngine(disk.at("journal")).recover());
        const QString notPlain =
            "The rename journal is not a regular file or exceeds the safe size "
            "limit. No files were changed.";
        const QByteArray active = disk.at("journal/active.json").toUtf8();

        // A link to a valid journal is not a journal.
        disk.symlink("journal/active.json", disk.at("journal/undo.json"));
        QCOMPARE(recoveryFailure(disk), "No readable rename journal was found.");
        QCOMPARE(::unlink(active), 0);

        // A FIFO must not block the reader.
        disk.fifo("journal/active.json");
        QCOMPARE(recoveryFailure(disk), notPlain);
        QCOMPARE(::unlink(active), 0);

        disk.file("journal/active.json", "");
        QCOMPARE(recoveryFailure(disk), damaged);

        // One byte over the limit, without writing 128 MiB: a sparse file.
        QCOMPARE(::truncate(active, RenameJournal::maximumDocumentBytes + 1), 0);
        QCOMPARE(recoveryFailure(disk), notPlain);
        QCOMPARE(QFileInfo(disk.at("journal/active.json")).size(),
                 RenameJournal::maximumDocumentBytes + 1);
    }
};

QTEST_GUILESS_MAIN(JournalReaderTest)
#include "test_journal_reader.moc"
