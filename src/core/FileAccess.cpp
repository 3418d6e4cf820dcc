#include "FileAccess.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace tk {

namespace FileAccess {

namespace {

Error problem(Problem code, const QString& description)
{
    return Error{errorDomain, qint64(code), description};
}

} // namespace

std::optional<QString> notRegularFile(const QString& path)
{
    const QFileInfo info(path);
    if (!info.exists() || info.isFile())
        return std::nullopt;
    if (info.isDir())
        return QStringLiteral("Is a folder, not a file");
    return QStringLiteral("Not a regular file: a named pipe, a device or a socket");
}

Result<QByteArray> readRegularFile(const QString& path, qint64 limit)
{
    const QFileInfo info(path);
    if (!info.exists())
        return problem(Problem::Missing, QStringLiteral("No such file or directory"));
    if (const auto reason = notRegularFile(path))
        return problem(Problem::NotRegularFile, *reason);
    if (info.size() > limit)
        return problem(Problem::TooLarge, QStringLiteral("Larger than %1 bytes").arg(limit));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return problem(Problem::Unreadable, file.errorString());
    // Bounded all the same: the file may have grown since its size was read.
    QByteArray content = file.read(limit + 1);
    if (file.error() != QFileDevice::NoError)
        return problem(Problem::Unreadable, file.errorString());
    if (content.size() > limit)
        return problem(Problem::TooLarge, QStringLiteral("Larger than %1 bytes").arg(limit));
    return content;
}

std::optional<QString> writeAtomically(const QString& path, const QByteArray& bytes)
{
    if (auto reason = notRegularFile(path))
        return reason;
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit())
        return std::nullopt;
    const QString reason = file.errorString();
    return reason.isEmpty() ? QStringLiteral("The file could not be written") : reason;
}

} // namespace FileAccess

} // namespace tk
