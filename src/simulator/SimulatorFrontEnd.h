#pragma once

#include <QObject>
#include <memory>

class QTextStream;

namespace tk {

class AppDelegate;
class HeadlessSession;
class Platform;
class SimulatorWindow;
struct CommandLine;

// How a run off macOS shows the simulated desktop: a scripted session when one is asked
// for ("--script FILE"), the simulator window where Qt has a display, and the built-in
// session where it draws offscreen (no DISPLAY nor WAYLAND_DISPLAY, or
// QT_QPA_PLATFORM=offscreen).
class SimulatorFrontEnd final : public QObject {
    Q_OBJECT

public:
    // Whether the running Qt application shows its windows to a person.
    static bool hasDisplay();

    // After the launch: shows the window, or starts a session. Both end the way the status
    // item's "Salir de Tuckaway" does, by asking `app` to quit: a session with its exit code
    // when it is over, the window when it is closed. Does nothing when `platform` is not the
    // simulated desktop.
    SimulatorFrontEnd(Platform& platform, AppDelegate& app, const CommandLine& commandLine,
                      QObject* parent = nullptr);
    ~SimulatorFrontEnd() override;

    SimulatorWindow* window() const { return m_window.get(); }
    HeadlessSession* session() const { return m_session.get(); }

private:
    std::unique_ptr<QTextStream> m_out;
    std::unique_ptr<QTextStream> m_errors;
    std::unique_ptr<SimulatorWindow> m_window;
    std::unique_ptr<HeadlessSession> m_session;
};

} // namespace tk
