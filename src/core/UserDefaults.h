#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>
#include <optional>

namespace tk {

// A persistent key-value store of bytes, strings, string lists and Booleans under
// string keys. Reads are typed: a value stored under a key with another type reads
// as absent, so a damaged or foreign entry never turns into a wrong value.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;

    std::optional<QByteArray> bytes(const QString& key) const;
    std::optional<QString> string(const QString& key) const;
    std::optional<QStringList> stringList(const QString& key) const;
    std::optional<bool> boolean(const QString& key) const;

    void setBytes(const QString& key, const QByteArray& value) { store(key, value); }
    void setString(const QString& key, const QString& value) { store(key, value); }
    void setStringList(const QString& key, const QStringList& value) { store(key, value); }
    void setBoolean(const QString& key, bool value) { store(key, value); }

protected:
    virtual QVariant load(const QString& key) const = 0;
    virtual void store(const QString& key, const QVariant& value) = 0;
};

// Keeps everything in memory; for tests and for runs that must not touch the disk.
class InMemoryUserDefaults final : public UserDefaults {
public:
    void setRaw(const QString& key, const QVariant& value) { m_values.insert(key, value); }
    bool contains(const QString& key) const { return m_values.contains(key); }
    int writeCount() const { return m_writes; }

protected:
    QVariant load(const QString& key) const override { return m_values.value(key); }
    void store(const QString& key, const QVariant& value) override;

private:
    QVariantMap m_values;
    int m_writes = 0;
};

// Backed by QSettings in the platform's native format: the application's defaults
// domain on macOS, a file under the user's configuration folder elsewhere.
class SettingsUserDefaults final : public UserDefaults {
public:
    SettingsUserDefaults();                                // the application's own store
    explicit SettingsUserDefaults(const QString& iniPath); // a given file, for tests and tools
    ~SettingsUserDefaults() override;

protected:
    QVariant load(const QString& key) const override;
    void store(const QString& key, const QVariant& value) override;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tk
