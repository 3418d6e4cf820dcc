// What a crowd of control clients costs the main thread: a hundred clients that connect at
// once and ask for the status over the real socket, from their connections to the last
// answer. The clients run in this process too, so the figure bounds what the running copy
// spends on them, and so how long they can hold up its interaction tick (0.25 s).
#include "WidgetBench.h"
#include "app/AppControl.h"
#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "control/ControlEndpoint.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimScenario.h"

#include <QBuffer>
#include <QLocalSocket>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

using namespace tk;

namespace {

constexpr int clients = 100;

// The application launched on the built-in desktop, listening in a folder of its own.
class ServingShell {
public:
    ServingShell() : m_platform(SimPlatform::forTests(SimScenarioLoader::builtIn()))
    {
        m_errors.open(QIODevice::ReadWrite);
        m_app = std::make_unique<AppDelegate>(*m_platform, m_errors);
        m_app->applicationDidFinishLaunching(CommandLine::parse({QStringLiteral("tuckaway")}));
        while (m_app->inspector().isScanning())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        const EndpointOrProblem endpoint =
            ControlEndpoint::locateIn(m_folder.path(), QString(), true);
        if (!std::holds_alternative<ControlEndpoint>(endpoint))
            qFatal("no private folder");
        m_socketPath = std::get<ControlEndpoint>(endpoint).socketPath;
        if (m_app->control()->server().listen(std::get<ControlEndpoint>(endpoint)).outcome !=
            ControlServer::Outcome::Listening)
            qFatal("not listening");
    }

    // A hundred clients at once, each until its answer has come.
    void hundredStatusRequests()
    {
        std::vector<std::unique_ptr<QLocalSocket>> sockets;
        for (int i = 0; i < clients; ++i) {
            auto socket = std::make_unique<QLocalSocket>();
            QLocalSocket* client = socket.get();
            QObject::connect(client, &QLocalSocket::connected, client,
                             [client] { client->write("{\"command\":\"status\"}\n"); });
            socket->connectToServer(m_socketPath);
            sockets.push_back(std::move(socket));
        }
        const auto answered = [&sockets] {
            return std::all_of(sockets.begin(), sockets.end(), [](const auto& socket) {
                return socket->state() == QLocalSocket::UnconnectedState;
            });
        };
        while (!answered())
            QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

private:
    QTemporaryDir m_folder;
    std::unique_ptr<SimPlatform> m_platform;
    QBuffer m_errors;
    std::unique_ptr<AppDelegate> m_app;
    QString m_socketPath;
};

void hundredStatusRequests(benchmark::State& state)
{
    ServingShell shell;
    const bench::AllocationMeter meter;
    for (auto _ : state)
        shell.hundredStatusRequests();
    state.counters["allocs"] = meter.perIteration(state.iterations());
}

} // namespace

BENCHMARK(hundredStatusRequests)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    return bench::runWithWindows(argc, argv, [] {
        ServingShell shell;
        bench::countInstructions("control-100-status", 5, [&] { shell.hundredStatusRequests(); });
    });
}
