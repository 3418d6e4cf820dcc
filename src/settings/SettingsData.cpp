#include "settings/SettingsData.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QTextBoundaryFinder>
#include <QVariant>
#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace tk {

namespace {

constexpr QStringView versionKey = u"version";
constexpr QStringView modeKey = u"mode";
constexpr QStringView symbolKey = u"symbol";
constexpr QStringView showOnLaunchKey = u"showOnLaunch";
constexpr QStringView startCollapsedKey = u"startCollapsed";
constexpr QStringView autoCollapseKey = u"autoCollapse";
constexpr QStringView delayKey = u"delay";
constexpr QStringView hoverRevealKey = u"hoverReveal";
constexpr QStringView compactKey = u"compact";
constexpr QStringView hiddenBundlesKey = u"hiddenBundles";
constexpr QStringView selectedKey = u"selected";
constexpr QStringView hotkeyKey = u"hotkey";
constexpr QStringView enabledKey = u"enabled";
constexpr QStringView keyKey = u"key";
constexpr QStringView modifiersKey = u"modifiers";
constexpr QStringView actionKey = u"action";

constexpr qsizetype maxHiddenBundles = 500;
constexpr qsizetype maxSelected = 1000;
constexpr qsizetype maxIdentifierLength = 2048;

// Decoding errors carry the platform's "corrupt data" code under our own domain.
constexpr qint64 decodingErrorCode = 4864;

bool isOneOf(const QString& value, std::initializer_list<QStringView> allowed)
{
    return std::any_of(allowed.begin(), allowed.end(),
                       [&value](QStringView candidate) { return value == candidate; });
}

// UTF-16 order differs from code-point order only where a surrogate meets a unit in
// U+E000..U+FFFF; lifting surrogates above that range restores code-point order.
char16_t codePointRank(QChar unit)
{
    const char16_t u = unit.unicode();
    if (u < 0xD800)
        return u;
    return u >= 0xE000 ? char16_t(u - 0x800) : char16_t(u + 0x2000);
}

bool codePointLess(const QString& a, const QString& b)
{
    return std::lexicographical_compare(
        a.begin(), a.end(), b.begin(), b.end(),
        [](QChar x, QChar y) { return codePointRank(x) < codePointRank(y); });
}

// Counts user-perceived characters, but only as far as the limit needs: an identifier
// of at most the limit in UTF-16 units cannot hold more graphemes than that.
bool hasAllowedLength(const QString& identifier)
{
    if (identifier.isEmpty())
        return false;
    if (identifier.size() <= maxIdentifierLength)
        return true;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, identifier);
    qsizetype graphemes = 0;
    while (finder.toNextBoundary() != -1) {
        if (++graphemes > maxIdentifierLength)
            return false;
    }
    return true;
}

bool delayIsAllowed(qint64 delay)
{
    constexpr qint64 allowed[] = {5, 10, 30, 60};
    return std::find(std::begin(allowed), std::end(allowed), delay) != std::end(allowed);
}

bool hotkeyIsKnown(const std::optional<HotKeySettings>& hotkey)
{
    if (!hotkey)
        return true;
    return isOneOf(hotkey->key, {u"M", u"B", u"Space"}) &&
           isOneOf(hotkey->modifiers,
                   {u"controlOptionCommand", u"controlOption", u"controlShift"}) &&
           isOneOf(hotkey->action, {u"toggle", u"showAll", u"showHiddenIcon"});
}

bool listsAreAllowed(const SettingsData& record)
{
    if (record.hiddenBundles.size() > maxHiddenBundles || record.selected.size() > maxSelected)
        return false;
    return std::all_of(record.hiddenBundles.begin(), record.hiddenBundles.end(),
                       hasAllowedLength) &&
           std::all_of(record.selected.begin(), record.selected.end(), hasAllowedLength);
}

bool isCompatible(const SettingsData& record)
{
    return record.version == 1 && hotkeyIsKnown(record.hotkey) &&
           isOneOf(record.mode, {u"boundary", u"manual"}) &&
           isOneOf(record.symbol, {u"dotsChevron", u"dots", u"single"}) &&
           delayIsAllowed(record.delay) && listsAreAllowed(record);
}

QStringList distinctInFirstOccurrenceOrder(const QStringList& list)
{
    QSet<QString> seen;
    seen.reserve(list.size());
    QStringList distinct;
    for (const QString& entry : list) {
        if (!seen.contains(entry)) {
            seen.insert(entry);
            distinct.append(entry);
        }
    }
    return distinct;
}

QStringList withinLimit(const QStringList& list, qsizetype limit)
{
    QStringList kept;
    for (const QString& entry : distinctInFirstOccurrenceOrder(list)) {
        if (hasAllowedLength(entry))
            kept.append(entry);
    }
    return kept.size() > limit ? kept.mid(kept.size() - limit) : kept;
}

QJsonObject hotkeyObject(const HotKeySettings& hotkey)
{
    QJsonObject object;
    object.insert(enabledKey, hotkey.enabled);
    object.insert(keyKey, hotkey.key);
    object.insert(modifiersKey, hotkey.modifiers);
    object.insert(actionKey, hotkey.action);
    return object;
}

QJsonObject recordObject(const SettingsData& record)
{
    QJsonObject object;
    object.insert(versionKey, record.version);
    object.insert(modeKey, record.mode);
    object.insert(symbolKey, record.symbol);
    object.insert(showOnLaunchKey, record.showOnLaunch);
    object.insert(startCollapsedKey, record.startCollapsed);
    object.insert(autoCollapseKey, record.autoCollapse);
    object.insert(delayKey, record.delay);
    object.insert(hoverRevealKey, record.hoverReveal);
    object.insert(compactKey, record.compact);
    object.insert(hiddenBundlesKey, QJsonArray::fromStringList(record.hiddenBundles));
    object.insert(selectedKey, QJsonArray::fromStringList(record.selected));
    if (record.hotkey)
        object.insert(hotkeyKey, hotkeyObject(*record.hotkey));
    return object;
}

Error decodingError(const QString& description)
{
    return Error{QStringLiteral("Tuckaway.JSON"), decodingErrorCode, description};
}

// The parser keeps integral numbers that fit in 64 bits as integers; anything else
// arrives as a double, which is accepted only when it names such an integer exactly.
std::optional<qint64> exactInteger(const QJsonValue& value)
{
    if (!value.isDouble())
        return std::nullopt;
    const QVariant variant = value.toVariant();
    if (variant.typeId() == QMetaType::LongLong)
        return variant.toLongLong();
    const double number = value.toDouble();
    constexpr double twoToThe63 = 9223372036854775808.0;
    if (!std::isfinite(number) || std::trunc(number) != number || number < -twoToThe63 ||
        number >= twoToThe63)
        return std::nullopt;
    return static_cast<qint64>(number);
}

// Reads typed values out of one JSON object and remembers the first problem; once a
// problem is known every later read is skipped, so a bad file costs no more to reject.
class ObjectReader {
public:
    ObjectReader(QJsonObject object, QString path)
        : m_object(std::move(object)), m_path(std::move(path))
    {
    }

    bool boolean(QStringView key)
    {
        const auto value = required(key);
        if (value && !value->isBool())
            fail(key, QStringLiteral("is not a Boolean"));
        return value && value->toBool();
    }

    QString string(QStringView key)
    {
        const auto value = required(key);
        if (value && !value->isString())
            fail(key, QStringLiteral("is not a string"));
        return value ? value->toString() : QString();
    }

    qint64 integer(QStringView key)
    {
        const auto value = required(key);
        const auto number = value ? exactInteger(*value) : std::nullopt;
        if (value && !number)
            fail(key, QStringLiteral("is not an integer"));
        return number.value_or(0);
    }

    QStringList strings(QStringView key)
    {
        const auto value = required(key);
        if (value && !value->isArray())
            fail(key, QStringLiteral("is not an array"));
        if (!value || m_failure)
            return {};
        return stringEntries(key, value->toArray());
    }

    // Missing and null both mean "no shortcut".
    std::optional<HotKeySettings> hotkey(QStringView key)
    {
        const QJsonValue value = m_object.value(key);
        if (m_failure || value.isUndefined() || value.isNull())
            return std::nullopt;
        if (!value.isObject()) {
            fail(key, QStringLiteral("is not an object"));
            return std::nullopt;
        }
        ObjectReader inner(value.toObject(), qualified(key) + QLatin1Char('.'));
        HotKeySettings settings;
        settings.enabled = inner.boolean(enabledKey);
        settings.key = inner.string(keyKey);
        settings.modifiers = inner.string(modifiersKey);
        settings.action = inner.string(actionKey);
        m_failure = inner.m_failure;
        return settings;
    }

    const std::optional<QString>& failure() const { return m_failure; }

private:
    QString qualified(QStringView key) const { return m_path + key.toString(); }

    void fail(QStringView key, const QString& problem)
    {
        m_failure = QStringLiteral("The value for key \"%1\" %2.").arg(qualified(key), problem);
    }

    std::optional<QJsonValue> required(QStringView key)
    {
        if (m_failure)
            return std::nullopt;
        const QJsonValue value = m_object.value(key);
        if (value.isUndefined())
            fail(key, QStringLiteral("is missing"));
        else if (value.isNull())
            fail(key, QStringLiteral("is null"));
        else
            return value;
        return std::nullopt;
    }

    // Entries are numbered from 1, as a person counts them in the file.
    QStringList stringEntries(QStringView key, const QJsonArray& array)
    {
        QStringList list;
        list.reserve(array.size());
        for (qsizetype index = 0; index < array.size(); ++index) {
            const QJsonValue entry = array.at(index);
            if (!entry.isString()) {
                m_failure = QStringLiteral("Entry %1 of key \"%2\" is not a string.")
                                .arg(index + 1)
                                .arg(qualified(key));
                return {};
            }
            list.append(entry.toString());
        }
        return list;
    }

    QJsonObject m_object;
    QString m_path;
    std::optional<QString> m_failure;
};

Result<QJsonObject> parsedObject(const QByteArray& json)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        const QString what = parseError.error == QJsonParseError::IllegalUTF8String
                                 ? QStringLiteral("valid UTF-8")
                                 : QStringLiteral("valid JSON");
        return decodingError(
            QStringLiteral("The data couldn't be read because it isn't %1 (%2 at offset %3).")
                .arg(what, parseError.errorString())
                .arg(parseError.offset));
    }
    if (!document.isObject())
        return decodingError(QStringLiteral(
            "The data couldn't be read because its top level is not a JSON object."));
    return document.object();
}

} // namespace

Error SettingsData::incompatibleError()
{
    return Error{QStringLiteral("Tuckaway"), 1,
                 QStringLiteral("El archivo contiene una versión u opciones incompatibles.")};
}

Result<SettingsData> SettingsData::validated() const
{
    if (!isCompatible(*this))
        return incompatibleError();
    SettingsData normalised = *this;
    normalised.hiddenBundles = distinctInFirstOccurrenceOrder(hiddenBundles);
    std::sort(normalised.hiddenBundles.begin(), normalised.hiddenBundles.end(), codePointLess);
    normalised.selected = distinctInFirstOccurrenceOrder(selected);
    return normalised;
}

SettingsData SettingsData::withinListLimits() const
{
    SettingsData bounded = *this;
    bounded.hiddenBundles = withinLimit(hiddenBundles, maxHiddenBundles);
    bounded.selected = withinLimit(selected, maxSelected);
    return bounded;
}

QByteArray SettingsData::encoded(Form form) const
{
    const auto format = form == Form::Stored ? QJsonDocument::Compact : QJsonDocument::Indented;
    return QJsonDocument(recordObject(*this)).toJson(format);
}

Result<SettingsData> SettingsData::decoded(const QByteArray& json)
{
    const Result<QJsonObject> object = parsedObject(json);
    if (!object)
        return object.error();
    ObjectReader reader(*object, QString());
    SettingsData record;
    record.version = reader.integer(versionKey);
    record.mode = reader.string(modeKey);
    record.symbol = reader.string(symbolKey);
    record.showOnLaunch = reader.boolean(showOnLaunchKey);
    record.startCollapsed = reader.boolean(startCollapsedKey);
    record.autoCollapse = reader.boolean(autoCollapseKey);
    record.delay = reader.integer(delayKey);
    record.hoverReveal = reader.boolean(hoverRevealKey);
    record.compact = reader.boolean(compactKey);
    record.hiddenBundles = reader.strings(hiddenBundlesKey);
    record.selected = reader.strings(selectedKey);
    record.hotkey = reader.hotkey(hotkeyKey);
    if (reader.failure())
        return decodingError(*reader.failure());
    return record;
}

} // namespace tk
