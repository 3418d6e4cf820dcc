#pragma once

#include "simulator/SessionContext.h"
#include "simulator/SessionPrinter.h"
#include "simulator/SessionScript.h"
#include "simulator/SessionSteps.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <memory>

class QTextStream;

namespace tk {

class AppDelegate;
class SimPlatform;

// A scripted session on the simulated desktop and virtual time: the steps of a script (a
// person's clicks, pointer moves, shortcut presses, launches, waits) go through the same
// paths as in the simulator window, and every step, state change and status line is printed
// with its virtual time, in the interface language. Scans move with that time: a request to
// another application ends only when a wait lets the clock reach its end, so a scan started
// by a step is under way until waits cover it, and the same script prints the same lines
// whatever the machine's load. A run
// without a display plays the built-in script, which also saves pictures of the menu bar.
// A script's "serve" step opens the control interface for a while of the machine's own time.
// The session runs the script on virtual time; `SessionSteps` carries out its steps,
// `SessionExpectations` checks them and `SessionPrinter` prints the lines.
class HeadlessSession final : public QObject {
    Q_OBJECT

public:
    static inline const QString builtInName = QStringLiteral("built-in session");

    // `platform` must run on virtual time. Failures go to `errors` as FILE:LINE: reason.
    // Pictures go to `pictureDirectory`, by default to
    // `SessionSteps::defaultPictureDirectory()`, made when the first one is saved.
    HeadlessSession(SimPlatform& platform, AppDelegate& app, QTextStream& out, QTextStream& errors,
                    QString pictureDirectory = {}, QObject* parent = nullptr);
    ~HeadlessSession() override;

    static QByteArray builtInScript();
    // The script in `path`, refused with a reason when it is not a regular, readable file of
    // at most SessionScript::maximumSize bytes.
    static std::variant<QByteArray, QString> readScriptFile(const QString& path);

    // Reads `script` (named `source` in messages) and plays it from the next turn on.
    void start(const QString& source, const QByteArray& script);
    const QStringList& picturePaths() const { return m_context.pictures; }

Q_SIGNALS:
    // 0: played to its end; 1: an expectation failed; 2: the script could not be read or a
    // step could not be carried out.
    void finished(int exitCode);

private:
    void play();
    void conclude(const StepOutcome& outcome);
    void refuseStepsAfterQuit();
    StepOutcome perform(const ScriptStep& step);
    StepOutcome act(const ScriptStep& step);
    StepOutcome setPermissionDuringScan(bool granted, const QString& application);
    void settle();
    bool walkHeld() const;
    bool stepClock(double end);
    void drain();
    StepOutcome serve(double seconds);
    void followClock(double seconds);
    void advanceTo(double target);

    SessionContext m_context;
    SessionPrinter m_printer;
    SessionSteps m_steps;
    QString m_source;
    QList<ScriptStep> m_script;
    qsizetype m_next = 0; // the step after the one under way
};

} // namespace tk
