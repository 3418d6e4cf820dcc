#include "UserDefaults.h"

#include <QSettings>

namespace tk {

namespace {

bool holds(const QVariant& value, QMetaType::Type type)
{
    return value.metaType().id() == type;
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
    if (holds(value, QMetaType::Bool))
        return value.toBool();
    // Text-based native formats keep Booleans as words.
    if (holds(value, QMetaType::QString)) {
        const QString word = value.toString();
        if (word == QLatin1String("true"))
            return true;
        if (word == QLatin1String("false"))
            return false;
    }
    return std::nullopt;
}

void InMemoryUserDefaults::store(const QString& key, const QVariant& value)
{
    m_values.insert(key, value);
    ++m_writes;
}

struct SettingsUserDefaults::Private {
    std::unique_ptr<QSettings> settings;
};

SettingsUserDefaults::SettingsUserDefaults() : d(std::make_unique<Private>())
{
    d->settings = std::make_unique<QSettings>();
}

SettingsUserDefaults::SettingsUserDefaults(const QString& iniPath) : d(std::make_unique<Private>())
{
    d->settings = std::make_unique<QSettings>(iniPath, QSettings::IniFormat);
}

SettingsUserDefaults::~SettingsUserDefaults() = default;

QVariant SettingsUserDefaults::load(const QString& key) const
{
    return d->settings->value(key);
}

void SettingsUserDefaults::store(const QString& key, const QVariant& value)
{
    d->settings->setValue(key, value);
    d->settings->sync();
}

} // namespace tk
