#include "UserDefaults.h"

#include "core/FileAccess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QStandardPaths>

namespace tk {

namespace {

bool holds(const QVariant& value, QMetaType::Type type)
{
    return value.metaType().id() == type;
}

constexpr qint64 largestFile = 4 * 1024 * 1024;
const QString bytesTag = QStringLiteral("bytes");

QVariant variantOf(const QJsonValue& value)
{
    if (value.isString())
        return value.toString();
    if (value.isBool())
        return value.toBool();
    if (value.isArray()) {
        QStringList list;
        for (const QJsonValue& entry : value.toArray()) {
            if (!entry.isString())
                return {};
            list.append(entry.toString());
        }
        return list;
    }
    const QJsonObject object = value.toObject();
    if (object.size() == 1 && object.value(bytesTag).isString()) {
        auto decoded = QByteArray::fromBase64Encoding(object.value(bytesTag).toString().toLatin1(),
                                                      QByteArray::AbortOnBase64DecodingErrors);
        if (decoded)
            return *decoded;
    }
    return {};
}

QJsonValue jsonOf(const QVariant& value)
{
    switch (value.metaType().id()) {
    case QMetaType::QByteArray:
        return QJsonObject{{bytesTag, QString::fromLatin1(value.toByteArray().toBase64())}};
    case QMetaType::QStringList:
        return QJsonArray::fromStringList(value.toStringList());
    case QMetaType::Bool:
        return value.toBool();
    default:
        return value.toString();
    }
}

} // namespace

std::optional<QByteArray> UserDefaults::bytes(const QString& key) const
{
    const QVariant value = load(key);
    if (!holds(value, QMetaType::QByteArray))
        return std::nullopt;
    return value.toByteArray();
}

std::optional<QString> UserDefaults::string(const QString& key) const
{
    const QVariant value = load(key);
    if (!holds(value, QMetaType::QString))
        return std::nullopt;
    return value.toString();
}

std::optional<QStringList> UserDefaults::stringList(const QString& key) const
{
    const QVariant value = load(key);
    if (holds(value, QMetaType::QStringList))
        return value.toStringList();
    if (!holds(value, QMetaType::QVariantList))
        return std::nullopt;
    QStringList list;
    for (const QVariant& entry : value.toList()) {
        if (!holds(entry, QMetaType::QString))
            return std::nullopt;
        list.append(entry.toString());
    }
    return list;
}

std::optional<bool> UserDefaults::boolean(const QString& key) const
{
    const QVariant value = load(key);
    if (!holds(value, QMetaType::Bool))
        return std::nullopt;
    return value.toBool();
}

void InMemoryUserDefaults::store(const QString& key, const QVariant& value)
{
    m_values.insert(key, value);
    ++m_writes;
}

FileUserDefaults::FileUserDefaults(const QString& path, ProblemReporter report)
    : m_path(path), m_report(std::move(report))
{
    open();
}

QString FileUserDefaults::standardPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/Tuckaway/settings.json");
}

void FileUserDefaults::open()
{
    const QFileInfo info(m_path);
    if (!info.exists())
        return;
    if (!info.isFile()) {
        m_writable = false;
        setProblem(m_path + QStringLiteral(": not a regular file; settings are kept for this run only."));
        return;
    }
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly)) {
        m_writable = false;
        setProblem(m_path + QStringLiteral(": ") + file.errorString() +
                   QStringLiteral("; settings are kept for this run only."));
        return;
    }
    const QByteArray content = file.read(largestFile + 1);
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(content, &error);
    if (content.size() > largestFile || error.error != QJsonParseError::NoError ||
        !document.isObject()) {
        m_setAside = true;
        setProblem(m_path + QStringLiteral(": not a settings file; it is kept as ") + m_path +
                   QStringLiteral(".unreadable when settings are next saved."));
        return;
    }
    m_values = document.object();
}

QVariant FileUserDefaults::load(const QString& key) const
{
    return variantOf(m_values.value(key));
}

void FileUserDefaults::store(const QString& key, const QVariant& value)
{
    m_values.insert(key, jsonOf(value));
    if (m_writable)
        write();
}

// Every change rewrites the whole file, so one that succeeds after a failure saves all.
void FileUserDefaults::write()
{
    if (const std::optional<QString> failure = replaceFile())
        setProblem(m_path + QStringLiteral(": ") + *failure +
                   QStringLiteral("; changes are kept for this run until it can be written."));
}

std::optional<QString> FileUserDefaults::replaceFile()
{
    if (!QDir().mkpath(QFileInfo(m_path).absolutePath()))
        return QStringLiteral("its folder cannot be made");
    if (m_setAside) {
        const QString aside = m_path + QStringLiteral(".unreadable");
        QFile::remove(aside);
        if (!QFile::rename(m_path, aside))
            return QStringLiteral("it cannot be set aside as ") + aside;
        m_setAside = false;
    }
    return FileAccess::writeAtomically(m_path,
                                       QJsonDocument(m_values).toJson(QJsonDocument::Indented));
}

void FileUserDefaults::setProblem(const QString& problem)
{
    if (problem == m_problem)
        return;
    m_problem = problem;
    if (m_report)
        m_report(m_problem);
}

} // namespace tk
