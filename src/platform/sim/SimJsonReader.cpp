#include "SimJsonReader.h"

#include <QJsonDocument>
#include <QSet>
#include <QStringList>
#include <algorithm>
#include <cmath>

namespace tk {

void SimJsonReader::fail(const QString& place, const QString& reason)
{
    if (m_error)
        return;
    m_error = place.isEmpty() ? QStringLiteral("%1: %2").arg(m_fileName, reason)
                              : QStringLiteral("%1: %2: %3").arg(m_fileName, place, reason);
}

Error SimJsonReader::error() const
{
    return Error{QStringLiteral("SimScenario"), 1, m_error.value_or(QString())};
}

QString SimJsonReader::member(const QString& place, const QString& key)
{
    return place.isEmpty() ? key : place + QLatin1Char('.') + key;
}

QString SimJsonReader::indexed(const QString& place, qsizetype index)
{
    return QStringLiteral("%1[%2]").arg(place).arg(index);
}

void SimJsonReader::expectKeys(const QJsonObject& object, const QString& place,
                               std::initializer_list<QLatin1StringView> known)
{
    for (auto it = object.begin(); it != object.end(); ++it) {
        const QString key = it.key();
        if (std::find(known.begin(), known.end(), key) == known.end()) {
            fail(member(place, key), QStringLiteral("unknown key"));
            return;
        }
    }
}

std::optional<QJsonObject> SimJsonReader::object(const QJsonValue& value, const QString& place)
{
    if (value.isObject())
        return value.toObject();
    fail(place, QStringLiteral("must be an object"));
    return std::nullopt;
}

QJsonArray SimJsonReader::array(const QJsonObject& object, QLatin1StringView key,
                                const QString& place)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined())
        return {};
    if (!value.isArray()) {
        fail(member(place, key), QStringLiteral("must be a list"));
        return {};
    }
    return value.toArray();
}

bool SimJsonReader::boolean(const QJsonObject& object, QLatin1StringView key, const QString& place,
                            bool fallback)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined())
        return fallback;
    if (!value.isBool()) {
        fail(member(place, key), QStringLiteral("must be true or false"));
        return fallback;
    }
    return value.toBool();
}

namespace {

std::optional<QString> outOfRange(double number, SimJsonReader::Range range)
{
    using Range = SimJsonReader::Range;
    if (!std::isfinite(number))
        return QStringLiteral("must be a finite number");
    if (range == Range::Coordinate) {
        if (std::abs(number) <= SimJsonReader::largestCoordinate)
            return std::nullopt;
        return QStringLiteral("must be from -%1 to %1")
            .arg(SimJsonReader::largestCoordinate, 0, 'f', 0);
    }
    if (range == Range::PositiveLength && number <= 0.0)
        return QStringLiteral("must be greater than 0");
    if (number < 0.0)
        return QStringLiteral("must not be negative");
    const double largest =
        range == Range::Seconds ? SimJsonReader::longestDelay : SimJsonReader::longestLength;
    if (number > largest)
        return QStringLiteral("must be at most %1").arg(largest, 0, 'f', 0);
    return std::nullopt;
}

// One open object or list while looking for repeated keys.
struct OpenContainer {
    bool object = false;
    QString place;
    QSet<QString> keys;
    QString lastKey;
    qsizetype index = 0;
    bool expectsKey = true;

    QString placeOfValue() const
    {
        return object ? SimJsonReader::member(place, lastKey)
                      : SimJsonReader::indexed(place, index);
    }
};

// The string starting at json[at] (a quote), decoded; `at` ends past its closing quote.
QString readString(const QByteArray& json, qsizetype& at)
{
    const qsizetype start = at;
    bool escaped = false;
    for (++at; at < json.size() && json.at(at) != '"'; ++at) {
        if (json.at(at) == '\\') {
            escaped = true;
            ++at;
        }
    }
    ++at;
    const QByteArray raw = json.mid(start, at - start);
    if (!escaped)
        return QString::fromUtf8(raw.mid(1, raw.size() - 2));
    return QJsonDocument::fromJson('[' + raw + ']').array().at(0).toString();
}

// Opens and closes containers and tells whether a key comes next, one character at a time.
void followStructure(QList<OpenContainer>& containers, char c)
{
    if (c == '{' || c == '[') {
        OpenContainer container;
        container.object = c == '{';
        container.place = containers.isEmpty() ? QString() : containers.last().placeOfValue();
        containers.append(std::move(container));
    } else if (containers.isEmpty()) {
        return;
    } else if (c == '}' || c == ']') {
        containers.removeLast();
    } else if (c == ':') {
        containers.last().expectsKey = false;
    } else if (c == ',') {
        containers.last().expectsKey = true;
        ++containers.last().index;
    }
}

} // namespace

std::optional<QString> SimJsonReader::repeatedKey(const QByteArray& json)
{
    QList<OpenContainer> containers;
    for (qsizetype at = 0; at < json.size();) {
        if (json.at(at) != '"') {
            followStructure(containers, json.at(at++));
            continue;
        }
        const QString text = readString(json, at);
        if (containers.isEmpty() || !containers.last().object || !containers.last().expectsKey)
            continue;
        OpenContainer& current = containers.last();
        if (current.keys.contains(text))
            return member(current.place, text);
        current.keys.insert(text);
        current.lastKey = text;
    }
    return std::nullopt;
}

double SimJsonReader::number(const QJsonValue& value, const QString& place, Range range)
{
    if (!value.isDouble()) {
        fail(place, QStringLiteral("must be a number"));
        return 0.0;
    }
    const double number = value.toDouble();
    if (const std::optional<QString> reason = outOfRange(number, range)) {
        fail(place, *reason);
        return 0.0;
    }
    return number;
}

double SimJsonReader::number(const QJsonObject& object, QLatin1StringView key, const QString& place,
                             double fallback, Range range)
{
    const QJsonValue value = object.value(key);
    return value.isUndefined() ? fallback : number(value, member(place, key), range);
}

std::optional<qint64> SimJsonReader::integer(const QJsonObject& object, QLatin1StringView key,
                                             const QString& place, qint64 minimum, qint64 maximum)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined())
        return std::nullopt;
    const double number = value.toDouble(std::nan(""));
    if (!value.isDouble() || std::floor(number) != number || number < double(minimum) ||
        number > double(maximum)) {
        fail(member(place, key),
             QStringLiteral("must be a whole number from %1 to %2").arg(minimum).arg(maximum));
        return std::nullopt;
    }
    return qint64(number);
}

QString SimJsonReader::string(const QJsonObject& object, QLatin1StringView key,
                              const QString& place, const QString& fallback)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined())
        return fallback;
    if (!value.isString()) {
        fail(member(place, key), QStringLiteral("must be a string"));
        return fallback;
    }
    return value.toString();
}

std::optional<QString> SimJsonReader::optionalString(const QJsonObject& object,
                                                     QLatin1StringView key, const QString& place)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined() || value.isNull())
        return std::nullopt;
    if (!value.isString()) {
        fail(member(place, key), QStringLiteral("must be a string or null"));
        return std::nullopt;
    }
    return value.toString();
}

QString SimJsonReader::choice(const QJsonObject& object, QLatin1StringView key,
                              const QString& place, const QStringList& choices,
                              const QString& fallback)
{
    const QString value = string(object, key, place, fallback);
    if (choices.contains(value))
        return value;
    fail(member(place, key),
         QStringLiteral("must be one of %1").arg(choices.join(QStringLiteral(", "))));
    return fallback;
}

} // namespace tk
