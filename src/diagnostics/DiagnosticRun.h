#pragma once

#include <QString>
#include <functional>
#include <optional>

class QIODevice;

namespace tk {

class Inspector;

// The command-line diagnostic run: a fresh scan, its report in Spanish and one line on
// the private hiding backend, written to a file. Main thread.
namespace DiagnosticRun {

inline const QString backendLinePrefix = QStringLiteral("\nBackend privado disponible: ");
inline const QString failurePrefix = QStringLiteral("Error al guardar diagnóstico: ");

// The report followed by the backend line; no line feed at the end.
QString text(const QString& report, bool backendAvailable);

// Writes `text` as UTF-8, replacing the regular file at `path` whole or not at all (a
// folder, pipe or device there is left alone). Nothing on success, otherwise the path and
// why it failed.
std::optional<QString> write(const QString& path, const QString& text);

// Scans through `inspector`, asks `isBackendAvailable` once the scan has ended, writes
// the text to `path` and calls `finished` with whether the file was written. A failure
// sends the failure line (prefix, reason, line feed) to `errors` as UTF-8.
void start(Inspector& inspector, const QString& path, std::function<bool()> isBackendAvailable,
           QIODevice& errors, std::function<void(bool written)> finished);

} // namespace DiagnosticRun

} // namespace tk
