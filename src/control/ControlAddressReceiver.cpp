#include "ControlAddressReceiver.h"

#include "control/ControlDispatcher.h"

#include <QFileOpenEvent>
#include <QPointer>
#include <QUrl>

namespace tk {

ControlAddressReceiver::ControlAddressReceiver(QObject& application, ControlDispatcher& dispatcher,
                                               Refused refused, QObject* parent)
    : QObject(parent), m_application(application), m_dispatcher(dispatcher),
      m_refused(std::move(refused))
{
    m_application.installEventFilter(this);
}

ControlAddressReceiver::~ControlAddressReceiver()
{
    m_application.removeEventFilter(this);
}

bool ControlAddressReceiver::receive(const QString& address)
{
    if (!ControlProtocol::isAddress(address))
        return false;
    const RequestOrError request = ControlProtocol::fromAddress(address);
    if (const auto* error = std::get_if<ControlError>(&request)) {
        m_refused(m_dispatcher.answer(*error).reason);
        return true;
    }
    QPointer<ControlAddressReceiver> self(this);
    m_dispatcher.submit(std::get<ControlRequest>(request), [self](const ControlAnswer& answer) {
        if (self && !answer.done())
            self->m_refused(answer.reason);
    });
    return true;
}

bool ControlAddressReceiver::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != &m_application || event->type() != QEvent::FileOpen)
        return false;
    const QUrl url = static_cast<QFileOpenEvent*>(event)->url();
    return receive(url.toString(QUrl::FullyEncoded));
}

} // namespace tk
