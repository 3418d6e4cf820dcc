#pragma once

#include <QObject>
#include <functional>

namespace tk {

class ControlDispatcher;

// Requests that arrive as tuckaway:// addresses through the system's open-URL event: on macOS
// the application object receives it as a QFileOpenEvent that holds the address. Each goes to
// the dispatcher like a socket client's request; a refusal, or an address that cannot be read,
// is handed to `refused` in the interface language, since nobody waits for an answer.
// Other files and addresses are left to whoever else handles them.
class ControlAddressReceiver final : public QObject {
    Q_OBJECT

public:
    using Refused = std::function<void(const QString& reason)>;

    // Watches `application`'s events while this object lives.
    ControlAddressReceiver(QObject& application, ControlDispatcher& dispatcher, Refused refused,
                           QObject* parent = nullptr);
    ~ControlAddressReceiver() override;

    // Carries out `address`; false when it is not one of ours.
    bool receive(const QString& address);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QObject& m_application;
    ControlDispatcher& m_dispatcher;
    Refused m_refused;
};

} // namespace tk
