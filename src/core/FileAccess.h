#pragma once

#include "core/Result.h"

#include <QByteArray>
#include <QString>
#include <optional>

namespace tk {

// Reading and writing whole files without ever blocking on, or replacing, something that
// is not a regular file. Opening a named pipe without a writer blocks for ever, a device
// may never end, and replacing either with a regular file would break what uses it.
// Symbolic links are followed: what counts is the file they lead to.
namespace FileAccess {

// Error codes of `readRegularFile`; the domain is `errorDomain`.
enum class Problem { Missing = 1, NotRegularFile, TooLarge, Unreadable };
inline const QString errorDomain = QStringLiteral("Tuckaway.File");

// Why `path` is not a regular file ("Is a folder", ...), or nothing when it is one.
// Nothing as well when `path` names nothing: a writer may create it.
std::optional<QString> notRegularFile(const QString& path);

// The whole content of the regular file at `path`, at most `limit` bytes. Anything else is
// refused before it is opened. The error's description is a short reason without the path
// (the system's own where the system gave one), so callers word the message around it.
Result<QByteArray> readRegularFile(const QString& path, qint64 limit);

// Writes `bytes` to `path` in one step: a regular file there is replaced whole, a missing
// one created, anything else left untouched; a failed write leaves no partial file behind.
// Nothing on success, otherwise why, as a short reason without the path.
std::optional<QString> writeAtomically(const QString& path, const QByteArray& bytes);

} // namespace FileAccess

} // namespace tk
