#pragma once

#include <QString>

#include <optional>

// Whether Windows would accept a name, for batches that will be copied to a
// Windows machine. It only reports; names are never rewritten to fit.
namespace WindowsFilename {

// < > : " / \ | ? * and control characters, which Windows and the FAT32,
// exFAT and NTFS volumes Linux writes for it refuse in any name.
bool isForbiddenCharacter(char32_t codePoint);

// Empty when Windows accepts `name`, otherwise the sentence of the first failing
// check. Never touches the disk.
std::optional<QString> problem(const QString& name);

} // namespace WindowsFilename
