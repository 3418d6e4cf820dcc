#include "ControlServer.h"

#include "control/ControlDispatcher.h"
#include "control/ControlEndpoint.h"
#include "core/Time.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QPointer>

namespace tk {

using namespace Qt::StringLiterals;

namespace {
const QString cannotOpen = u"No se pudo abrir el canal de control: %1"_s;
} // namespace

// One client: its request line, read as it arrives, and its answer. Goes when the client
// does, when it is dropped, or once its answer is sent; the server counts it until then.
class ControlServer::Connection final : public QObject {
public:
    Connection(QLocalSocket* socket, ControlServer& server)
        : QObject(&server), m_server(server), m_socket(socket),
          m_deadline(server.m_time.createTimer([this] { drop(); }))
    {
        m_socket->setParent(this);
        // What a client sends beyond one line stays with the system, not in our memory.
        m_socket->setReadBufferSize(ControlProtocol::maximumLineLength + 1);
        connect(m_socket, &QLocalSocket::readyRead, this, &Connection::read);
        connect(m_socket, &QLocalSocket::disconnected, this, &Connection::end);
        m_deadline->start(requestDeadline, false);
        read();
    }

    void drop()
    {
        m_deadline->stop();
        m_socket->abort();
        end();
    }

    // Its place is free at once; the object goes on a later turn.
    void end()
    {
        m_server.forget(this);
        deleteLater();
    }

private:
    void read()
    {
        if (m_asked)
            return;
        m_buffer += m_socket->read(ControlProtocol::maximumLineLength + 1 - m_buffer.size());
        const qsizetype end = m_buffer.indexOf('\n');
        if (end < 0 && m_buffer.size() <= ControlProtocol::maximumLineLength)
            return;
        m_asked = true;
        m_deadline->stop();
        // Without a newline within the limit, the line is too long: the reader says so.
        const RequestOrError request =
            ControlProtocol::read(end < 0 ? m_buffer : m_buffer.left(end));
        if (const auto* error = std::get_if<ControlError>(&request)) {
            answer(m_server.m_dispatcher.answer(*error));
            return;
        }
        QPointer<Connection> self(this);
        m_server.m_dispatcher.submit(std::get<ControlRequest>(request),
                                     [self](const ControlAnswer& answer) {
                                         if (self)
                                             self->answer(answer);
                                     });
    }

    // The connection closes once the answer has been handed to the system.
    void answer(const ControlAnswer& answer)
    {
        m_socket->write(answer.line());
        m_socket->disconnectFromServer();
    }

    ControlServer& m_server;
    QLocalSocket* m_socket; // a child of this connection
    std::unique_ptr<Timer> m_deadline;
    QByteArray m_buffer;
    bool m_asked = false;
};

ControlServer::ControlServer(ControlDispatcher& dispatcher, TimeSource& time, QObject* parent)
    : QObject(parent), m_dispatcher(dispatcher), m_time(time),
      m_server(std::make_unique<QLocalServer>())
{
    connect(m_server.get(), &QLocalServer::newConnection, this, &ControlServer::acceptPending);
}

ControlServer::~ControlServer()
{
    close();
}

ControlServer::Started ControlServer::listen(const ControlEndpoint& endpoint)
{
    if (isListening())
        return {Outcome::Listening, {}};
    auto lock = std::make_unique<QLockFile>(endpoint.lockPath);
    // Only a holder that no longer runs makes a lock stale, however old it is.
    lock->setStaleLockTime(0);
    if (!lock->tryLock(0)) {
        if (lock->error() == QLockFile::LockFailedError)
            return {Outcome::OtherCopyServes, {}};
        return {Outcome::Failed, {cannotOpen, {endpoint.lockPath}}};
    }
    // The lock is ours: a socket file there was left by a copy that ended without closing it.
    QLocalServer::removeServer(endpoint.socketPath);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    // As many clients as are served may be connecting at once without being turned away.
    m_server->setListenBacklogSize(maximumClients);
    m_server->setMaxPendingConnections(maximumClients);
    if (!m_server->listen(endpoint.socketPath))
        return {Outcome::Failed, {cannotOpen, {m_server->errorString()}}};
    m_lock = std::move(lock);
    return {Outcome::Listening, {}};
}

void ControlServer::close()
{
    m_server->close();
    for (Connection* connection : std::exchange(m_connections, {}))
        delete connection;
    m_lock.reset();
}

bool ControlServer::isListening() const
{
    return m_server->isListening();
}

QString ControlServer::socketPath() const
{
    return m_server->fullServerName();
}

void ControlServer::acceptPending()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        if (m_connections.size() >= maximumClients) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        m_connections.insert(new Connection(socket, *this));
    }
}

} // namespace tk
