#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <functional>

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

// A JSON file of typed values: strings, Booleans and lists of strings as JSON's own,
// bytes as {"bytes": "<base64>"}. Read once when opened, replaced whole and atomically at
// every change, so each value reads back exactly as it was written, in any process.
// Entries of other shapes read as absent and are written back untouched.
class FileUserDefaults final : public UserDefaults {
public:
    // Told every new problem (the file at opening, a change that could not be written), once.
    using ProblemReporter = std::function<void(const QString& problem)>;

    explicit FileUserDefaults(const QString& path, ProblemReporter report = {});

    // "Tuckaway/settings.json" under the user's configuration folder.
    static QString standardPath();

    // Why the file could not be used, or empty. A file that is not a regular file (a
    // pipe, a device, a folder) or cannot be read is never replaced: changes are then kept
    // for this run only. One that is not a store of ours is set aside beside it (".unreadable")
    // before the first change is written.
    const QString& problem() const { return m_problem; }

protected:
    QVariant load(const QString& key) const override;
    void store(const QString& key, const QVariant& value) override;

private:
    void open();
    void write();
    std::optional<QString> replaceFile();
    void setProblem(const QString& problem);

    QString m_path;
    ProblemReporter m_report;
    QJsonObject m_values;
    QString m_problem;
    bool m_writable = true;
    bool m_setAside = false; // the file on disk must be kept before it is replaced
};

} // namespace tk
