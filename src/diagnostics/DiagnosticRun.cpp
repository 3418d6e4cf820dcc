#include "DiagnosticRun.h"

#include "core/FileAccess.h"
#include "inspection/Inspector.h"

#include <QIODevice>

namespace tk {

namespace DiagnosticRun {

QString text(const QString& report, bool backendAvailable)
{
    return report + backendLinePrefix +
           (backendAvailable ? QStringLiteral("true") : QStringLiteral("false"));
}

std::optional<QString> write(const QString& path, const QString& text)
{
    if (const std::optional<QString> failure = FileAccess::writeAtomically(path, text.toUtf8()))
        return QStringLiteral("%1: %2").arg(path, *failure);
    return std::nullopt;
}

void start(Inspector& inspector, const QString& path, std::function<bool()> isBackendAvailable,
           QIODevice& errors, std::function<void(bool written)> finished)
{
    inspector.scan([&inspector, path, isBackendAvailable = std::move(isBackendAvailable), &errors,
                    finished = std::move(finished)] {
        const std::optional<QString> failure =
            write(path, text(inspector.report(), isBackendAvailable()));
        if (failure)
            errors.write((failurePrefix + *failure + QLatin1Char('\n')).toUtf8());
        finished(!failure);
    });
}

} // namespace DiagnosticRun

} // namespace tk
