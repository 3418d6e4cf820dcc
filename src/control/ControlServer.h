#pragma once

#include "control/ControlProtocol.h"

#include <QObject>
#include <QSet>
#include <memory>

class QLocalServer;
class QLockFile;

namespace tk {

class ControlDispatcher;
struct ControlEndpoint;
class TimeSource;

// The local socket the running copy listens on. Each client sends one request line and gets
// one answer line; whatever it sends, it can make the copy do nothing but what the dispatcher
// carries out. A client that has not sent a whole line within `requestDeadline` seconds is
// dropped, a line longer than the protocol's limit is refused and the connection closed, and
// beyond `maximumClients` at once a new client is closed at once. Never blocks: every read
// and write is driven by the main thread's event loop. Main thread only.
class ControlServer final : public QObject {
    Q_OBJECT

public:
    static constexpr int maximumClients = 256;
    static constexpr double requestDeadline = 2.0; // seconds, on the timer seam

    enum class Outcome { Listening, OtherCopyServes, Failed };
    struct Started {
        Outcome outcome = Outcome::Failed;
        ControlText failure; // why, when it failed
    };

    ControlServer(ControlDispatcher& dispatcher, TimeSource& time, QObject* parent = nullptr);
    ~ControlServer() override;

    // Takes the endpoint's lock, replaces a socket that a copy which ended left behind, and
    // listens. Of copies started at once, the one that takes the lock is the only server.
    Started listen(const ControlEndpoint& endpoint);
    // Stops listening (the socket file goes), drops every client and lets the lock go.
    void close();
    bool isListening() const;
    QString socketPath() const;
    int clientCount() const { return int(m_connections.size()); }

private:
    class Connection;

    void acceptPending();
    void forget(Connection* connection) { m_connections.remove(connection); }

    ControlDispatcher& m_dispatcher;
    TimeSource& m_time;
    std::unique_ptr<QLocalServer> m_server;
    std::unique_ptr<QLockFile> m_lock;
    QSet<Connection*> m_connections;
};

} // namespace tk
