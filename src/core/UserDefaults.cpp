#include "UserDefaults.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
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

FileUserDefaults::FileUserDefaults(const QString& path) : m_path(path)
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
        m_problem = m_path + QStringLiteral(": not a regular file; settings are kept for this run only.");
        return;
    }
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly)) {
        m_writable = false;
        m_problem = m_path + QStringLiteral(": ") + file.errorString() +
                    QStringLiteral("; settings are kept for this run only.");
        return;
    }
    const QByteArray content = file.read(largestFile + 1);
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(content, &error);
    if (content.size() > largestFile || error.error != QJsonParseError::NoError ||
        !document.isObject()) {
        m_setAside = true;
        m_problem = m_path + QStringLiteral(": not a settings file; it is kept as ") + m_path +
                    QStringLiteral(".unreadable when settings are next saved.");
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

void FileUserDefaults::write()
{
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    if (m_setAside) {
        const QString aside = m_path + QStringLiteral(".unreadable");
        QFile::remove(aside);
        if (!QFile::rename(m_path, aside))
            return;
        m_setAside = false;
    }
    QSaveFile file(m_path);
    if (file.open(QIODevice::WriteOnly))
        file.write(QJsonDocument(m_values).toJson(QJsonDocument::Indented));
    file.commit();
}

} // namespace tk
