// The control interface in this process, over its real socket, on the simulated desktop and
// virtual time: what hostile clients get, the order requests are carried out in, refusals,
// the deadline of slow clients, many clients at once, addresses the system opens, and the
// folder that keeps other users out. The lock that makes one server, and the socket a crash
// leaves, are tst_automation's, through the program.
#include "app/AppControl.h"
#include "app/ShellFixture.h"
#include "control/ControlEndpoint.h"
#include "control/ControlServer.h"

#include <QFileOpenEvent>
#include <QLocalSocket>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <unistd.h>

using namespace tk;
using namespace Qt::StringLiterals;

// ThreadSanitizer cannot follow a child that changes its user between fork and exec.
#if defined(__SANITIZE_THREAD__)
#define TK_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define TK_THREAD_SANITIZER 1
#endif
#endif

namespace {

constexpr uint nobody = 65534;
#ifdef TK_THREAD_SANITIZER
constexpr bool threadSanitizer = true;
#else
constexpr bool threadSanitizer = false;
#endif

// A client in this process: it sends its bytes at once and keeps whatever comes back.
class Client {
public:
    explicit Client(const QString& path)
    {
        QObject::connect(&m_socket, &QLocalSocket::readyRead, &m_socket,
                         [this] { m_received += m_socket.readAll(); });
        m_socket.connectToServer(path);
    }

    // Once connected: a full backlog makes a client wait for the server to take it.
    void send(const QByteArray& bytes)
    {
        const auto write = [this, bytes] {
            m_socket.write(bytes);
            m_socket.flush();
        };
        if (m_socket.state() == QLocalSocket::ConnectedState)
            write();
        else
            QObject::connect(&m_socket, &QLocalSocket::connected, &m_socket, write);
    }
    bool closed() const { return m_socket.state() == QLocalSocket::UnconnectedState; }
    const QByteArray& received() const { return m_received; }
    // The one answer line the server sent; nothing when it sent anything else.
    std::optional<ControlAnswer> answer() const
    {
        if (m_received.count('\n') != 1 || !m_received.endsWith('\n'))
            return std::nullopt;
        return ControlAnswer::read(m_received.chopped(1));
    }

private:
    QLocalSocket m_socket;
    QByteArray m_received;
};

QByteArray requestLine(ControlCommand command, const QString& application = {})
{
    return ControlProtocol::write({command, application});
}

// {"command":"status"} spread with blanks over exactly `length` bytes, and the newline.
QByteArray statusPaddedTo(qsizetype length)
{
    const QByteArray start = "{\"command\":\"status\"";
    return start + QByteArray(length - start.size() - 1, ' ') + "}\n";
}

enum class Before {
    Collapsed,
    CollapsedThenUntrusted,
    Untrusted,
    FrameworkError,
    ManualWithNothing
};

} // namespace

class TestControlServer : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void hostileRequestsChangeNothing_data();
    void hostileRequestsChangeNothing();
    void requestsTakeTheirTurn();
    void outcomesAndRefusals_data();
    void outcomesAndRefusals();
    void slowClientsAreDropped_data();
    void slowClientsAreDropped();
    void manyClientsAtOnce();
    void clientsBeyondTheLimitAreClosed();
    void addressesFromTheSystem_data();
    void addressesFromTheSystem();
    void endpointFolders_data();
    void endpointFolders();
    void anotherUserCannotConnect_data();
    void anotherUserCannotConnect();

private:
    AppControl& control() { return *m_shell->app->control(); }
    QString state() { return control().status().state; }
    // Until the server has closed every one of `clients`, a tick of virtual time at a time.
    bool answered(const std::vector<const Client*>& clients, double seconds = 10.0);

    std::unique_ptr<Shell> m_shell;
    std::unique_ptr<QTemporaryDir> m_folder;
    ControlEndpoint m_endpoint;
};

void TestControlServer::init()
{
    m_shell = std::make_unique<Shell>();
    QVERIFY(m_shell->launched());
    m_folder = std::make_unique<QTemporaryDir>();
    m_endpoint = std::get<ControlEndpoint>(
        ControlEndpoint::locateIn(m_folder->path(), QDir::tempPath(), true));
    QCOMPARE(control().server().listen(m_endpoint).outcome, ControlServer::Outcome::Listening);
}

void TestControlServer::cleanup()
{
    m_shell.reset();
    m_folder.reset();
}

bool TestControlServer::answered(const std::vector<const Client*>& clients, double seconds)
{
    const auto allClosed = [&clients] {
        return std::all_of(clients.begin(), clients.end(),
                           [](const Client* client) { return client->closed(); });
    };
    Shell::drain();
    for (double passed = 0.0; !allClosed() && passed < seconds; passed += 0.25)
        m_shell->pass(0.25);
    Shell::drain();
    return allClosed();
}

void TestControlServer::hostileRequestsChangeNothing_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("error"); // empty: answered with the status
    QTest::addColumn<QString>("reason");
    const auto row = [](const char* name, const QByteArray& bytes, const QString& error,
                        const QString& reason = {}) {
        QTest::newRow(name) << bytes << error << reason;
    };
    const QString malformed = ControlProtocol::malformed;
    row("truncated JSON", "{\"command\":\n", malformed, u"no es un objeto JSON"_s);
    row("not an object", "[\"status\"]\n", malformed, u"no es un objeto JSON"_s);
    row("two objects on a line", "{\"command\":\"status\"}{\"command\":\"collapse\"}\n", malformed);
    row("invalid UTF-8", "{\"command\":\"st\xff\"}\n", malformed);
    row("a NUL byte", QByteArray("{\"command\":\0\"status\"}\n", 22), malformed);
    row("command of another type", "{\"command\":[\"collapse\"]}\n", malformed, u"falta"_s);
    row("unknown command", "{\"command\":\"quit\"}\n", ControlProtocol::unknownCommand,
        u"Orden desconocida: quit"_s);
    row("terminal escapes are not repeated", "{\"command\":\"\\u001b[2J\"}\n",
        ControlProtocol::unknownCommand, u"Orden desconocida: ?[2J"_s);
    row("settings are no command", "{\"command\":\"collapse\",\"mode\":\"manual\"}\n", malformed,
        u"Clave no admitida en la petición: mode"_s);
    row("reveal without a bundle", "{\"command\":\"reveal\"}\n", malformed,
        u"Falta el identificador de bundle"_s);
    row("reveal of a path", "{\"command\":\"reveal\",\"bundle\":\"../../etc/passwd\"}\n", malformed,
        u"No es un identificador de bundle: ../../etc/passwd"_s);
    row("a bundle for a command without one", "{\"command\":\"toggle\",\"bundle\":\"a\"}\n",
        malformed, u"Clave no admitida en la petición: bundle"_s);
    row("a line of 4097 bytes", statusPaddedTo(4097), ControlProtocol::tooLong,
        u"más de 4096 bytes"_s);
    row("100 kB without a line's end", QByteArray(100000, 'a'), ControlProtocol::tooLong);
    row("a line of exactly 4096 bytes", statusPaddedTo(4096), QString());
    row("a carriage return before the newline", "{\"command\":\"status\"}\r\n", QString());
    row("one request a connection", "{\"command\":\"status\"}\n{\"command\":\"collapse\"}\n",
        QString());
}

// Every client gets one answer line and the connection closes; nothing but a request that
// can be read does anything, and a status request changes nothing.
void TestControlServer::hostileRequestsChangeNothing()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, error);
    QFETCH(QString, reason);
    const SettingsData record = m_shell->preferences().data();
    Client client(m_endpoint.socketPath);
    client.send(bytes);
    QVERIFY(answered({&client}));
    const std::optional<ControlAnswer> answer = client.answer();
    QVERIFY2(answer, client.received().constData());
    QCOMPARE(answer->error, error);
    QVERIFY2(answer->reason.contains(reason), qPrintable(answer->reason));
    QCOMPARE(answer->done(), answer->reason.isEmpty());
    m_shell->pass(1.0);
    QCOMPARE(state(), u"shown"_s);
    QCOMPARE(m_shell->preferences().data(), record);
    QCOMPARE(control().server().clientCount(), 0);
}

// A collapse and an expand sent at once: the expand waits for the collapse to end, and each
// answer says the state its own request ended in. A status request does not wait.
void TestControlServer::requestsTakeTheirTurn()
{
    Client collapse(m_endpoint.socketPath);
    collapse.send(requestLine(ControlCommand::Collapse));
    Client expand(m_endpoint.socketPath);
    expand.send(requestLine(ControlCommand::Expand));
    Shell::drain();
    Client status(m_endpoint.socketPath);
    status.send(requestLine(ControlCommand::Status));
    Shell::drain();
    QVERIFY(status.closed());
    QVERIFY(!collapse.closed());
    QVERIFY(status.answer());
    QVERIFY(QStringList({u"scanning"_s, u"requesting"_s}).contains(status.answer()->status.state));
    QVERIFY(answered({&collapse, &expand}));
    QCOMPARE(collapse.answer()->status.state, u"hidden"_s);
    QCOMPARE(collapse.answer()->status.hidden.size(), 7);
    QCOMPARE(expand.answer()->status.state, u"shown"_s);
    QCOMPARE(expand.answer()->status.hidden, QStringList());
    QCOMPARE(state(), u"shown"_s);
}

void TestControlServer::outcomesAndRefusals_data()
{
    QTest::addColumn<Before>("before");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QString>("state");  // after the request; empty when refused
    QTest::addColumn<QString>("reason"); // words of the refusal's reason
    const auto row = [](const char* name, Before before, const QByteArray& request,
                        const QString& state, const QString& reason = {}) {
        QTest::newRow(name) << before << request << state << reason;
    };
    // What each request does is shown through the program (tst_automation); here, what only
    // a desktop set up for it shows.
    using C = ControlCommand;
    // Its item pressed, its menu open: what the hidden-icons entry does.
    row("reveal a hidden application without bundle", Before::Collapsed,
        requestLine(C::Reveal, u"pid:1933"_s), u"shown"_s);
    row("a reveal that fails", Before::CollapsedThenUntrusted,
        requestLine(C::Reveal, u"com.hollowoak.Clipjar"_s), {},
        u"No se pudo mostrar el icono: falta Accesibilidad"_s);
    row("collapse without Accessibility", Before::Untrusted, requestLine(C::Collapse), {},
        u"No se aplicó: falta Accesibilidad"_s);
    row("a collapse the framework refuses", Before::FrameworkError, requestLine(C::Toggle), {},
        u"No se pudo ocultar: denied"_s);
    row("nothing chosen to hide", Before::ManualWithNothing, requestLine(C::Collapse), {},
        u"Selecciona al menos una app en Organización."_s);
}

void TestControlServer::outcomesAndRefusals()
{
    QFETCH(Before, before);
    QFETCH(QByteArray, request);
    QFETCH(QString, state);
    QFETCH(QString, reason);
    if (before == Before::Collapsed || before == Before::CollapsedThenUntrusted)
        QVERIFY(m_shell->collapsed());
    if (before == Before::Untrusted || before == Before::CollapsedThenUntrusted)
        m_shell->desktop.setTrusted(false);
    if (before == Before::FrameworkError) {
        SimFrameworkBehaviour refusing;
        refusing.answer = SimFrameworkBehaviour::Answer::Error;
        refusing.errorDescription = u"denied"_s;
        m_shell->desktop.setFrameworkBehaviour(refusing);
    }
    if (before == Before::ManualWithNothing)
        m_shell->changeRecord([](SettingsData& record) { record.mode = u"manual"_s; });
    const QString stateBefore = this->state();
    Client client(m_endpoint.socketPath);
    client.send(request);
    QVERIFY(answered({&client}));
    const std::optional<ControlAnswer> answer = client.answer();
    QVERIFY(answer);
    if (state.isEmpty()) {
        QCOMPARE(answer->error, ControlProtocol::refused);
        QVERIFY2(answer->reason.contains(reason), qPrintable(answer->reason));
        QCOMPARE(this->state(), stateBefore);
        return;
    }
    QVERIFY2(answer->done(), qPrintable(answer->reason));
    QCOMPARE(answer->status.state, state);
    QCOMPARE(this->state(), state);
    if (before == Before::Collapsed)
        QCOMPARE(m_shell->desktop.openItemMenu().value_or(SimPress()).pid, 1933);
}

void TestControlServer::slowClientsAreDropped_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("silent") << QByteArray();
    QTest::newRow("trickling") << QByteArray("{\"comm");
    QTest::newRow("a request whose line never ends") << QByteArray("{\"command\":\"status\"}");
}

// The deadline counts from the connection, on the timer seam.
void TestControlServer::slowClientsAreDropped()
{
    QFETCH(QByteArray, bytes);
    Client client(m_endpoint.socketPath);
    client.send(bytes);
    QVERIFY(QTest::qWaitFor([this] { return control().server().clientCount() == 1; }));
    m_shell->time.advance(ControlServer::requestDeadline - 0.25);
    Shell::drain();
    QVERIFY(!client.closed());
    m_shell->time.advance(0.25);
    Shell::drain();
    QVERIFY(client.closed());
    QVERIFY(client.received().isEmpty());
    QCOMPARE(control().server().clientCount(), 0);
}

// A hundred silent clients hold nothing up: another client's request is answered on the
// spot and the interaction tick keeps its pace; a hundred requests at once are all answered.
void TestControlServer::manyClientsAtOnce()
{
    std::vector<std::unique_ptr<Client>> silent;
    for (int i = 0; i < 100; ++i)
        silent.push_back(std::make_unique<Client>(m_endpoint.socketPath));
    QVERIFY(QTest::qWaitFor([this] { return control().server().clientCount() == 100; }));
    int ticks = 0;
    connect(m_shell->app.get(), &AppDelegate::interactionTimerFired, this, [&ticks] { ++ticks; });
    Client status(m_endpoint.socketPath);
    status.send(requestLine(ControlCommand::Status));
    Shell::drain();
    QVERIFY(status.closed());
    m_shell->pass(1.0);
    QCOMPARE(ticks, 4);

    std::vector<std::unique_ptr<Client>> asking;
    std::vector<const Client*> waiting;
    for (int i = 0; i < 100; ++i) {
        asking.push_back(std::make_unique<Client>(m_endpoint.socketPath));
        asking.back()->send(requestLine(ControlCommand::Status));
        waiting.push_back(asking.back().get());
    }
    QVERIFY(QTest::qWaitFor([&waiting] {
        return std::all_of(waiting.begin(), waiting.end(),
                           [](const Client* client) { return client->closed(); });
    }));
    for (const auto& client : asking) {
        QVERIFY(client->answer());
        QCOMPARE(client->answer()->status.state, u"shown"_s);
    }
    m_shell->pass(ControlServer::requestDeadline);
    QCOMPARE(control().server().clientCount(), 0);
}

void TestControlServer::clientsBeyondTheLimitAreClosed()
{
    std::vector<std::unique_ptr<Client>> silent;
    for (int i = 0; i < ControlServer::maximumClients; ++i)
        silent.push_back(std::make_unique<Client>(m_endpoint.socketPath));
    QVERIFY(QTest::qWaitFor(
        [this] { return control().server().clientCount() == ControlServer::maximumClients; }));
    Client beyond(m_endpoint.socketPath);
    beyond.send(requestLine(ControlCommand::Status));
    QVERIFY(QTest::qWaitFor([&beyond] { return beyond.closed(); }));
    QCOMPARE(control().server().clientCount(), ControlServer::maximumClients);
    QVERIFY(beyond.received().isEmpty());
    m_shell->pass(ControlServer::requestDeadline);
    Client later(m_endpoint.socketPath);
    later.send(requestLine(ControlCommand::Status));
    QVERIFY(answered({&later}));
    QVERIFY(later.answer());
}

void TestControlServer::addressesFromTheSystem_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("state");
    QTest::addColumn<QString>("notice"); // words of it; empty: the notice stays as it was
    QTest::newRow("collapse") << u"tuckaway://collapse"_s << u"hidden"_s
                              << u"Configuración aplicada."_s;
    QTest::newRow("a refusal is the notice")
        << u"tuckaway://reveal?bundle=com.example.none"_s << u"shown"_s
        << u"No está oculta: com.example.none"_s;
    QTest::newRow("an address not understood")
        << u"tuckaway://quit"_s << u"shown"_s << u"no entiende la dirección tuckaway://quit"_s;
    QTest::newRow("a file is not ours")
        << u"file:///tmp/settings.json"_s << u"shown"_s << QString();
}

void TestControlServer::addressesFromTheSystem()
{
    QFETCH(QString, address);
    QFETCH(QString, state);
    QFETCH(QString, notice);
    const QString noticeBefore = m_shell->preferences().notice();
    QFileOpenEvent opened{QUrl(address)};
    QCoreApplication::sendEvent(QCoreApplication::instance(), &opened);
    m_shell->pass(2.0);
    QCOMPARE(this->state(), state);
    if (notice.isEmpty())
        QCOMPARE(m_shell->preferences().notice(), noticeBefore);
    else
        QVERIFY2(m_shell->preferences().notice().contains(notice),
                 qPrintable(m_shell->preferences().notice()));
}

void TestControlServer::endpointFolders_data()
{
    QTest::addColumn<QString>("runtime");   // "private", "open", "relative" or none
    QTest::addColumn<QString>("temporary"); // what stands at tuckaway-UID before
    QTest::addColumn<bool>("create");
    QTest::addColumn<QString>("expected"); // "runtime", "temporary", or words of the refusal
    const auto row = [](const char* name, const QString& runtime, const QString& temporary,
                        bool create, const QString& expected) {
        QTest::newRow(name) << runtime << temporary << create << expected;
    };
    const QString notAlone = u"no es solo de este usuario"_s;
    row("a private runtime folder", u"private"_s, {}, true, u"runtime"_s);
    row("a runtime folder others can enter", u"open"_s, {}, true, u"temporary"_s);
    row("a relative runtime folder", u"relative"_s, {}, true, u"temporary"_s);
    row("none yet in the temporary directory", {}, {}, true, u"temporary"_s);
    row("ours, made too open", {}, u"open"_s, true, u"temporary"_s);
    row("another user's", {}, u"nobody's"_s, true, notAlone);
    row("a link to a private folder", {}, u"link"_s, true, notAlone);
    row("a file in its place", {}, u"file"_s, true, notAlone);
    row("a client makes no folder", {}, {}, false, u"Tuckaway no está en marcha"_s);
}

void TestControlServer::endpointFolders()
{
    QFETCH(QString, runtime);
    QFETCH(QString, temporary);
    QFETCH(bool, create);
    QFETCH(QString, expected);
    if (temporary == u"nobody's" && ::getuid() != 0)
        QSKIP("only the superuser can give a folder to another user");
    QTemporaryDir runtimeFolder;
    QTemporaryDir temporaryFolder;
    const QString ours = temporaryFolder.filePath(u"tuckaway-%1"_s.arg(::getuid()));
    const auto open = QFile::permissions(runtimeFolder.path()) | QFileDevice::ReadOther |
                      QFileDevice::ExeOther;
    if (runtime == u"open")
        QVERIFY(QFile::setPermissions(runtimeFolder.path(), open));
    if (temporary == u"open" || temporary == u"nobody's") {
        QVERIFY(QDir().mkdir(ours));
        QVERIFY(QFile::setPermissions(ours, open));
    }
    if (temporary == u"nobody's")
        QCOMPARE(::chown(qPrintable(ours), nobody, nobody), 0);
    if (temporary == u"link")
        QVERIFY(QFile::link(runtimeFolder.path(), ours));
    if (temporary == u"file") {
        QFile file(ours);
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    const QString runtimePath = runtime == u"relative" ? u"run"_s
                                : runtime.isEmpty()     ? QString()
                                                        : runtimeFolder.path();
    const EndpointOrProblem located =
        ControlEndpoint::locateIn(runtimePath, temporaryFolder.path(), create);
    if (const auto* problem = std::get_if<ControlText>(&located)) {
        QVERIFY2(problem->in(u"es"_s).contains(expected), qPrintable(problem->in(u"es"_s)));
        QVERIFY(create || !QFileInfo::exists(ours));
        return;
    }
    const ControlEndpoint& endpoint = std::get<ControlEndpoint>(located);
    QCOMPARE(endpoint.folder, expected == u"runtime" ? runtimeFolder.path() : ours);
    QCOMPARE(QFileInfo(endpoint.socketPath).dir().path(), endpoint.folder);
    QVERIFY(QFileInfo(endpoint.socketPath).fileName().contains(QString::number(::getuid())));
    QCOMPARE(ControlEndpoint::privacyProblem(endpoint.folder), std::nullopt);
}

void TestControlServer::anotherUserCannotConnect_data()
{
    QTest::addColumn<bool>("openFolder");
    QTest::newRow("the folder keeps others out") << false;
    QTest::newRow("the socket alone keeps others out") << true;
}

// Another user's process, as far as this machine can make one: the superuser's tests run a
// connection attempt as "nobody".
void TestControlServer::anotherUserCannotConnect()
{
    QFETCH(bool, openFolder);
    const QFileInfo socket(m_endpoint.socketPath);
    QCOMPARE(socket.ownerId(), uint(::getuid()));
    QCOMPARE(socket.permissions() & (QFileDevice::ReadGroup | QFileDevice::WriteGroup |
                                     QFileDevice::ReadOther | QFileDevice::WriteOther),
             QFileDevice::Permissions());
    // The system's own, which another user can run.
    const QString python =
        QStandardPaths::findExecutable(u"python3"_s, {u"/usr/bin"_s, u"/usr/local/bin"_s});
    if (::getuid() != 0 || python.isEmpty() || threadSanitizer)
        QSKIP("needs the superuser and python3 to act as another user, and no ThreadSanitizer");
    if (openFolder)
        QVERIFY(QFile::setPermissions(m_endpoint.folder, QFile::permissions(m_endpoint.folder) |
                                                             QFileDevice::ExeOther));
    QProcess other;
    other.setWorkingDirectory(u"/"_s);
    other.setChildProcessModifier([] {
        if (::setgid(nobody) != 0 || ::setuid(nobody) != 0)
            ::_exit(111);
    });
    other.start(python, {u"-c"_s,
                         u"import socket, sys\n"
                         "s = socket.socket(socket.AF_UNIX)\n"
                         "s.connect(sys.argv[1])\n"
                         "s.sendall(b'{\"command\":\"collapse\"}\\n')\n"_s,
                         m_endpoint.socketPath});
    QVERIFY2(other.waitForFinished(60000), qPrintable(other.errorString()));
    QCOMPARE(other.exitCode(), 1);
    QVERIFY2(other.readAllStandardError().contains("PermissionError"), "not refused by the system");
    Shell::drain();
    QCOMPARE(control().server().clientCount(), 0);
    QCOMPARE(state(), u"shown"_s);
}

QTEST_MAIN(TestControlServer)
#include "tst_controlserver.moc"
