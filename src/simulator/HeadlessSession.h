#pragma once

#include "simulator/SessionScript.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <memory>
#include <optional>

class QTextStream;

namespace tk {

class AppDelegate;
class ScanGate;
class SimPlatform;
class VirtualTimeSource;

// A scripted session on the simulated desktop and virtual time: the steps of a script (a
// person's clicks, pointer moves, shortcut presses, launches, waits) go through the same
// paths as in the simulator window, and every step, state change and status line is printed
// with its virtual time, in the interface language. Scans run only while the session lets
// time settle, so the same script prints the same lines whatever the machine's load. A run
// without a display plays the built-in script, which also saves pictures of the menu bar.
class HeadlessSession final : public QObject {
    Q_OBJECT

public:
    static inline const QString builtInName = QStringLiteral("built-in session");

    // `platform` must run on virtual time. Failures go to `errors` as FILE:LINE: reason.
    // Pictures go to `pictureDirectory`, by default to `defaultPictureDirectory()`, made when
    // the first one is saved.
    HeadlessSession(SimPlatform& platform, AppDelegate& app, QTextStream& out, QTextStream& errors,
                    QString pictureDirectory = {}, QObject* parent = nullptr);
    ~HeadlessSession() override;

    // Where pictures go unless told otherwise: "tuckaway-session" in the current directory,
    // or in the temporary directory when that cannot be written.
    static QString defaultPictureDirectory();
    static QByteArray builtInScript();
    // The script in `path`, refused with a reason when it is not a regular, readable file of
    // at most SessionScript::maximumSize bytes.
    static std::variant<QByteArray, QString> readScriptFile(const QString& path);

    // Reads `script` (named `source` in messages) and plays it from the next turn on.
    void start(const QString& source, const QByteArray& script);
    const QStringList& picturePaths() const { return m_pictures; }

Q_SIGNALS:
    // 0: played to its end; 1: an expectation failed; 2: the script could not be read or a
    // step could not be carried out.
    void finished(int exitCode);

private:
    struct Outcome {
        int exitCode = 0;
        QString failure; // printed after FILE:LINE:
    };

    void play();
    Outcome perform(const ScriptStep& step);
    Outcome act(const ScriptStep& step);
    Outcome actOnDesktop(const ScriptStep& step);
    void actOnSettings(const ScriptStep& step);
    std::optional<QString> check(const ScriptStep& step) const;
    void settle();
    void drain();
    void waitFor(double seconds);
    void watch();
    void printState();
    void printHidden();
    void printMenu();
    void printDecisions();
    std::optional<QString> checkReason(const QString& bundle, const QString& expected) const;
    QString stateName() const;
    QStringList hiddenApplications() const;
    Outcome clickIcon(int kind, bool option);
    Outcome chooseFromMenu(const QString& spanishTitle);
    Outcome pointer(const QStringList& arguments);
    Outcome launch(const QString& application, const QString& name);
    Outcome quitApplication(const QString& application);
    Outcome setPermissionDuringScan(bool granted, const QString& application);
    Outcome setHung(const QString& application, bool hung);
    void secondLaunch();
    void set(const QString& field, const QString& value);
    Outcome savePicture(const QString& name);
    void print(const QString& line);
    QString text(const QString& spanish) const;

    SimPlatform& m_platform;
    AppDelegate& m_app;
    QTextStream& m_out;
    QTextStream& m_errors;
    QString m_directory;
    QString m_source;
    QList<ScriptStep> m_steps;
    VirtualTimeSource* m_time = nullptr;
    std::unique_ptr<ScanGate> m_gate;
    double m_started = 0.0;
    bool m_appQuit = false;
    bool m_ended = false; // nothing is printed once the session is over
    QString m_lastState;
    QString m_lastMessage;
    QString m_lastNotice;
    QString m_lastHotkey;
    QString m_lastHidden;
    QStringList m_pictures;
};

} // namespace tk
