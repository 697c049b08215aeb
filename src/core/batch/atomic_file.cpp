#include "core/batch/atomic_file.h"

#include "core/base/rename_failure.h"
#include "core/base/uuid_text.h"
#include "core/batch/file_record.h"
#include "core/batch/file_safety.h"
#include "core/platform/posix_file_system.h"

namespace AtomicFile {
namespace {

[[noreturn]] void failed(int error) {
    throw RenameFailure(PosixFileSystem::errorText(error) + QLatin1Char('.'));
}

} // namespace

void write(const QString& path, const QByteArray& bytes) {
    QString standard = FilePath::standardized(path);
    UniqueFd folder = FileSafety::directoryFD(FilePath::parent(standard));
    const QByteArray name = FilePath::lastComponent(standard).toUtf8();
    // Fixed length, so any name the target may have leaves room for it.
    const QByteArray temporary =
        (QStringLiteral(".tessary-save-") + UuidText::text(QUuid::createUuid())).toUtf8();
    auto created = PosixFileSystem::createExclusive(folder.get(), temporary, 0666);
    if (!created)
        failed(created.error);
    UniqueFd file = std::move(*created.value);
    int error = PosixFileSystem::writeAll(file.get(), bytes);
    if (!error)
        error = PosixFileSystem::sync(file.get());
    file.reset();
    if (!error)
        error = PosixFileSystem::renameReplacing(folder.get(), temporary, name);
    if (error) {
        PosixFileSystem::removeAt(folder.get(), temporary);
        failed(error);
    }
    if (int synced = PosixFileSystem::sync(folder.get()))
        failed(synced);
}

} // namespace AtomicFile
