#include "core/batch/new_files.h"

#include "core/base/rename_failure.h"
#include "core/batch/file_record.h"
#include "core/batch/file_safety.h"
#include "core/platform/posix_file_system.h"

namespace NewFiles {
namespace {

[[noreturn]] void failed(const QString& path, int error) {
    throw RenameFailure(FilePath::lastComponent(path) + QStringLiteral(": ") +
                        PosixFileSystem::errorText(error) + QLatin1Char('.'));
}

} // namespace

void makeFolders(const QString& path) {
    QString standard = FilePath::standardized(path);
    if (int error = PosixFileSystem::makeFolders(standard.toUtf8(), 0777))
        failed(standard, error);
}

void write(const QString& path, const QByteArray& bytes) {
    QString standard = FilePath::standardized(path);
    UniqueFd folder = FileSafety::directoryFD(FilePath::parent(standard));
    auto created = PosixFileSystem::createExclusive(
        folder.get(), FilePath::lastComponent(standard).toUtf8(), 0666);
    if (!created)
        failed(standard, created.error);
    if (int error = PosixFileSystem::writeAll(created.value->get(), bytes))
        failed(standard, error);
}

} // namespace NewFiles
