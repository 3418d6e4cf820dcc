#pragma once

#include "core/Result.h"
#include "core/ScenarioLimits.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <initializer_list>
#include <optional>

namespace tk {

// Reads values out of a scenario file's JSON and remembers the first thing wrong with it,
// worded as "<file>: <place>: <reason>". Once it has failed, every read answers its
// fallback, so callers check `ok()` only where going on would waste work.
class SimJsonReader {
public:
    // What a number stands for, and so the values it may take. The bounds keep every
    // place, size and sum of sizes finite and every picture of the desktop small.
    enum class Range {
        Coordinate,     // a position in points, at most `largestCoordinate` from 0 either way
        Length,         // a width or height in points, from 0 to `longestLength`
        PositiveLength, // a screen's width or height: above 0, at most `longestLength`
        Seconds,        // a delay, from 0 to `longestDelay`
    };
    static constexpr double largestCoordinate = ScenarioLimits::largestCoordinate;
    static constexpr double longestLength = ScenarioLimits::longestLength;
    static constexpr double longestDelay = ScenarioLimits::longestDelay;

    explicit SimJsonReader(QString fileName) : m_fileName(std::move(fileName)) {}

    bool ok() const { return !m_error; }
    void fail(const QString& place, const QString& reason);
    Error error() const;

    static QString member(const QString& place, const QString& key);
    static QString indexed(const QString& place, qsizetype index);

    // Where in `json` (valid JSON) an object first repeats a key, as "apps[2].name";
    // nothing when no object does. A JSON reader keeps only one of the values.
    static std::optional<QString> repeatedKey(const QByteArray& json);

    // Refuses keys other than the known ones, so a misspelt key does not pass unnoticed.
    void expectKeys(const QJsonObject& object, const QString& place,
                    std::initializer_list<QLatin1StringView> known);

    std::optional<QJsonObject> object(const QJsonValue& value, const QString& place);
    // Absent: an empty list.
    QJsonArray array(const QJsonObject& object, QLatin1StringView key, const QString& place);

    bool boolean(const QJsonObject& object, QLatin1StringView key, const QString& place,
                 bool fallback);
    double number(const QJsonValue& value, const QString& place, Range range);
    double number(const QJsonObject& object, QLatin1StringView key, const QString& place,
                  double fallback, Range range);
    // A whole number in [minimum, maximum]; nothing when absent or wrong.
    std::optional<qint64> integer(const QJsonObject& object, QLatin1StringView key,
                                  const QString& place, qint64 minimum, qint64 maximum);
    QString string(const QJsonObject& object, QLatin1StringView key, const QString& place,
                   const QString& fallback);
    // Absent and null both read as nothing.
    std::optional<QString> optionalString(const QJsonObject& object, QLatin1StringView key,
                                          const QString& place);
    // One of `choices`; `fallback` when absent.
    QString choice(const QJsonObject& object, QLatin1StringView key, const QString& place,
                   const QStringList& choices, const QString& fallback);

private:
    QString m_fileName;
    std::optional<QString> m_error;
};

} // namespace tk
