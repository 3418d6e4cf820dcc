#include "GlobalHotKey.h"

#include <utility>

namespace tk {

namespace {

const QString disabledLine = QStringLiteral("Atajo desactivado.");
const QString invalidLine = QStringLiteral("Combinación no válida.");
const QString registeredLine =
    QStringLiteral("Atajo registrado. No se solicita monitorización de entrada.");

QString installFailedLine(HotKeyService::Status status)
{
    return QStringLiteral("No se pudo instalar el atajo (") + QString::number(status) +
           QStringLiteral(").");
}

QString registerFailedLine(HotKeyService::Status status)
{
    return QStringLiteral("No se pudo registrar el atajo (") + QString::number(status) +
           QStringLiteral("). Puede estar ocupado; cambia la combinación o desactívalo.");
}

} // namespace

GlobalHotKey::GlobalHotKey(HotKeyService& service) : m_service(service), m_status(disabledLine) {}

GlobalHotKey::~GlobalHotKey()
{
    stop();
}

std::optional<quint32> GlobalHotKey::keyCode(const QString& key)
{
    if (key == QLatin1String("M"))
        return HotKeyService::keyCodeM;
    if (key == QLatin1String("B"))
        return HotKeyService::keyCodeB;
    if (key == QLatin1String("Space"))
        return HotKeyService::keyCodeSpace;
    return std::nullopt;
}

std::optional<quint32> GlobalHotKey::modifierMask(const QString& modifiers)
{
    using S = HotKeyService;
    if (modifiers == QLatin1String("controlOptionCommand"))
        return S::controlMask | S::optionMask | S::commandMask;
    if (modifiers == QLatin1String("controlOption"))
        return S::controlMask | S::optionMask;
    if (modifiers == QLatin1String("controlShift"))
        return S::controlMask | S::shiftMask;
    return std::nullopt;
}

bool GlobalHotKey::isKnownAction(const QString& action)
{
    return action == QLatin1String("toggle") || action == QLatin1String("showAll") ||
           action == QLatin1String("showHiddenIcon");
}

QString GlobalHotKey::configure(const std::optional<HotKeySettings>& settings, Action action)
{
    m_action = std::move(action);
    if (settings == m_settings)
        return m_status;
    stop();
    m_settings = settings;
    if (!settings || !settings->enabled)
        m_status = disabledLine;
    else if (!keyCode(settings->key) || !modifierMask(settings->modifiers) ||
             !isKnownAction(settings->action))
        m_status = invalidLine;
    else
        m_status = registerShortcut(*settings);
    return m_status;
}

QString GlobalHotKey::registerShortcut(const HotKeySettings& settings)
{
    const auto handler = m_service.installPressHandler(
        [this](const std::optional<HotKeyService::HotKeyId>& id) { return handlePress(id); });
    if (handler.status != HotKeyService::noError) {
        stop();
        return installFailedLine(handler.status);
    }
    m_handlerRef = handler.ref;

    const auto key = m_service.registerHotKey(*keyCode(settings.key),
                                              *modifierMask(settings.modifiers), identifier);
    if (key.status != HotKeyService::noError) {
        stop();
        return registerFailedLine(key.status);
    }
    m_keyRef = key.ref;
    return registeredLine;
}

void GlobalHotKey::stop()
{
    if (m_keyRef)
        m_service.unregisterHotKey(*std::exchange(m_keyRef, std::nullopt));
    if (m_handlerRef)
        m_service.removePressHandler(*std::exchange(m_handlerRef, std::nullopt));
    m_settings.reset();
}

HotKeyService::Status GlobalHotKey::handlePress(const std::optional<HotKeyService::HotKeyId>& id)
{
    if (!id || *id != identifier)
        return HotKeyService::eventNotHandled;
    // A copy, so that an action which reconfigures the shortcut does not destroy itself.
    if (const Action action = m_action)
        action();
    return HotKeyService::noError;
}

} // namespace tk
