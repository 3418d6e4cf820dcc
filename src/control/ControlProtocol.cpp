#include "ControlProtocol.h"

#include "l10n/L10n.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QUrl>
#include <QUrlQuery>
#include <array>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

const QString notAnObject = u"La petición no es un objeto JSON en una línea de texto UTF-8."_s;
const QString noCommand = u"La petición no dice qué hacer: falta \"command\"."_s;
const QString unknownCommandText = u"Orden desconocida: %1"_s;
const QString unknownKey = u"Clave no admitida en la petición: %1"_s;
const QString noBundle = u"Falta el identificador de bundle (\"bundle\")."_s;
const QString notABundle = u"No es un identificador de bundle: %1"_s;
const QString tooLongText = u"La petición ocupa más de 4096 bytes."_s;
const QString unknownAddress = u"Tuckaway no entiende la dirección %1: admite tuckaway://collapse, "
                               u"expand, toggle, show-all y reveal?bundle=ID."_s;

const QString commandKey = u"command"_s;
const QString bundleKey = u"bundle"_s;

constexpr std::array<std::pair<ControlCommand, const char16_t*>, 6> names{{
    {ControlCommand::Collapse, u"collapse"},
    {ControlCommand::Expand, u"expand"},
    {ControlCommand::Toggle, u"toggle"},
    {ControlCommand::ShowAll, u"show-all"},
    {ControlCommand::Reveal, u"reveal"},
    {ControlCommand::Status, u"status"},
}};

// What a client sent, as an answer may repeat it: short, and without control characters that
// a terminal would act on.
QString shown(const QString& text)
{
    constexpr qsizetype limit = 64;
    QString kept = text.left(limit);
    if (!kept.isEmpty() && kept.back().isHighSurrogate())
        kept.chop(1);
    for (QChar& c : kept) {
        if (c.category() == QChar::Other_Control || c.category() == QChar::Other_Format)
            c = u'?';
    }
    return text.size() > limit ? kept + u'…' : kept;
}

ControlError error(const QString& code, const QString& spanish, const QStringList& arguments = {})
{
    return {code, {spanish, arguments}};
}

QJsonObject statusObject(const ControlStatus& status)
{
    return {{u"state"_s, status.state},
            {u"mode"_s, status.mode},
            {u"hidden"_s, QJsonArray::fromStringList(status.hidden)},
            {u"message"_s, status.message}};
}

std::optional<QStringList> strings(const QJsonValue& value)
{
    if (!value.isArray())
        return std::nullopt;
    QStringList list;
    for (const QJsonValue& element : value.toArray()) {
        if (!element.isString())
            return std::nullopt;
        list << element.toString();
    }
    return list;
}

std::optional<ControlStatus> statusOf(const QJsonObject& object)
{
    const std::optional<QStringList> hidden = strings(object.value(u"hidden"_s));
    for (const QString& key : {u"state"_s, u"mode"_s, u"message"_s}) {
        if (!object.value(key).isString())
            return std::nullopt;
    }
    if (!hidden)
        return std::nullopt;
    return ControlStatus{object.value(u"state"_s).toString(), object.value(u"mode"_s).toString(),
                         *hidden, object.value(u"message"_s).toString()};
}

RequestOrError revealRequest(const QJsonObject& object)
{
    const QJsonValue bundle = object.value(bundleKey);
    if (!bundle.isString() || bundle.toString().isEmpty())
        return error(ControlProtocol::malformed, noBundle);
    if (!ControlProtocol::isApplicationId(bundle.toString()))
        return error(ControlProtocol::malformed, notABundle, {shown(bundle.toString())});
    return ControlRequest{ControlCommand::Reveal, bundle.toString()};
}

} // namespace

QString ControlText::in(const std::optional<QString>& language) const
{
    const QString text = L10n::text(spanish, language);
    // Filled at once, so that an argument that holds "%2" is never filled in turn.
    switch (arguments.size()) {
    case 0:
        return text;
    case 1:
        return text.arg(arguments[0]);
    default:
        return text.arg(arguments[0], arguments[1]);
    }
}

QByteArray ControlAnswer::line() const
{
    QJsonObject object;
    if (done()) {
        object = statusObject(status);
        object.insert(u"ok"_s, true);
    } else {
        object = {{u"ok"_s, false}, {u"error"_s, error}, {u"reason"_s, reason}};
    }
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

QByteArray ControlAnswer::statusLine() const
{
    return QJsonDocument(statusObject(status)).toJson(QJsonDocument::Compact) + '\n';
}

std::optional<ControlAnswer> ControlAnswer::read(const QByteArray& line)
{
    QJsonParseError parsed;
    const QJsonDocument document = QJsonDocument::fromJson(line, &parsed);
    if (parsed.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();
    const QJsonValue ok = object.value(u"ok"_s);
    if (!ok.isBool())
        return std::nullopt;
    ControlAnswer answer;
    if (ok.toBool()) {
        const std::optional<ControlStatus> status = statusOf(object);
        if (!status)
            return std::nullopt;
        answer.status = *status;
        return answer;
    }
    const QJsonValue code = object.value(u"error"_s);
    const QJsonValue reason = object.value(u"reason"_s);
    if (!code.isString() || code.toString().isEmpty() || !reason.isString())
        return std::nullopt;
    answer.error = code.toString();
    answer.reason = reason.toString();
    return answer;
}

QString ControlProtocol::commandName(ControlCommand command)
{
    for (const auto& [known, name] : names) {
        if (known == command)
            return QString::fromUtf16(name);
    }
    return {};
}

std::optional<ControlCommand> ControlProtocol::commandNamed(const QString& name)
{
    for (const auto& [command, known] : names) {
        if (name == QStringView(known))
            return command;
    }
    return std::nullopt;
}

bool ControlProtocol::isApplicationId(const QString& application)
{
    static const QRegularExpression form(
        u"^(?:[A-Za-z0-9][A-Za-z0-9._-]{0,254}|pid:[0-9]{1,9})$"_s);
    return form.match(application).hasMatch();
}

RequestOrError ControlProtocol::read(const QByteArray& line)
{
    if (line.size() > maximumLineLength)
        return error(tooLong, tooLongText);
    QJsonParseError parsed;
    const QJsonDocument document = QJsonDocument::fromJson(line, &parsed);
    if (parsed.error != QJsonParseError::NoError || !document.isObject())
        return error(malformed, notAnObject);
    const QJsonObject object = document.object();
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (it.key() != commandKey && it.key() != bundleKey)
            return error(malformed, unknownKey, {shown(it.key())});
    }
    const QJsonValue name = object.value(commandKey);
    if (!name.isString())
        return error(malformed, noCommand);
    const std::optional<ControlCommand> command = commandNamed(name.toString());
    if (!command)
        return error(unknownCommand, unknownCommandText, {shown(name.toString())});
    if (*command == ControlCommand::Reveal)
        return revealRequest(object);
    if (object.contains(bundleKey))
        return error(malformed, unknownKey, {bundleKey});
    return ControlRequest{*command, {}};
}

QByteArray ControlProtocol::write(const ControlRequest& request)
{
    QJsonObject object{{commandKey, commandName(request.command)}};
    if (request.command == ControlCommand::Reveal)
        object.insert(bundleKey, request.application);
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

bool ControlProtocol::isAddress(const QString& argument)
{
    return argument.startsWith(scheme + u':', Qt::CaseInsensitive);
}

RequestOrError ControlProtocol::fromAddress(const QString& address)
{
    const ControlError wrong = error(malformed, unknownAddress, {shown(address)});
    const QUrl url(address, QUrl::StrictMode);
    if (!url.isValid() || url.scheme().compare(scheme, Qt::CaseInsensitive) != 0 ||
        !url.userInfo().isEmpty() || url.port() != -1 || url.hasFragment() ||
        !(url.path().isEmpty() || url.path() == u"/"))
        return wrong;
    const std::optional<ControlCommand> command = commandNamed(url.host());
    if (!command || *command == ControlCommand::Status)
        return wrong;
    const QList<QPair<QString, QString>> items =
        QUrlQuery(url).queryItems(QUrl::ComponentFormattingOption::FullyDecoded);
    if (*command != ControlCommand::Reveal)
        return items.isEmpty() ? RequestOrError(ControlRequest{*command, {}}) : wrong;
    if (items.size() != 1 || items[0].first != bundleKey || !isApplicationId(items[0].second))
        return wrong;
    return ControlRequest{ControlCommand::Reveal, items[0].second};
}

} // namespace tk
