#pragma once

#include "control/ControlAddressReceiver.h"
#include "control/ControlDispatcher.h"
#include "control/ControlOperations.h"
#include "control/ControlServer.h"

#include <QObject>
#include <vector>

namespace tk {

class AppDelegate;
class TimeSource;
class Workspace;

// The control interface of a running copy: the operations a client may ask for, carried out
// through the same members that the icon's click and menu entries call, the socket it listens
// on and the tuckaway:// addresses the system opens. An operation starts when the copy is at
// rest and is over when it is at rest again: a collapse asked for while a scan runs waits for
// it, and its answer says the state the collapse ended in. Main thread only.
class AppControl final : public QObject, public ControlOperations {
    Q_OBJECT

public:
    AppControl(AppDelegate& app, const Workspace& workspace, TimeSource& time,
               QObject* parent = nullptr);
    ~AppControl() override;

    // Listens at this user's endpoint.
    ControlServer::Started listen();
    void stopListening() { m_server.close(); }

    ControlServer& server() { return m_server; }
    ControlDispatcher& dispatcher() { return m_dispatcher; }
    ControlAddressReceiver& addresses() { return m_addresses; }

    void collapse(Done done) override;
    void expand(Done done) override;
    void toggle(Done done) override;
    void showAll(Done done) override;
    void reveal(const QString& application, Done done) override;
    ControlStatus status() const override;
    QString language() const override;

private:
    bool atRest() const;
    // `then` runs on a later turn, once no scan runs and no hiding request is outstanding.
    void whenAtRest(std::function<void()> then);
    void checkAtRest();
    void collapseNow(Done done);
    ControlOutcome collapseOutcome() const;
    QStringList hiddenApplications() const;

    AppDelegate& m_app;
    const Workspace& m_workspace;
    ControlDispatcher m_dispatcher;
    ControlServer m_server;
    ControlAddressReceiver m_addresses;
    std::vector<std::function<void()>> m_waiting;
};

} // namespace tk
