#pragma once

#include <QString>
#include <QStringList>

namespace tk {

struct ScriptStep;
struct SessionContext;
class SessionPrinter;

// What a step leaves for the session: 0 when done, 2 with the reason when it could not be
// carried out.
struct StepOutcome {
    int exitCode = 0;
    QString failure; // printed after FILE:LINE:
};

// Carries out a script's steps but for waiting and expectations: what a person does at the
// icon, with the pointer and the keyboard; what the system and other applications do around
// Tuckaway; what the settings window and its view do. Each goes through the same paths as in
// the simulator window.
class SessionSteps {
public:
    SessionSteps(SessionContext& context, SessionPrinter& printer);

    // Where pictures go unless told otherwise: "tuckaway-session" in the current directory,
    // or in the temporary directory when that cannot be written.
    static QString defaultPictureDirectory();

    StepOutcome act(const ScriptStep& step);

private:
    StepOutcome actOnDesktop(const ScriptStep& step);
    void actOnSettings(const ScriptStep& step);
    StepOutcome clickIcon(int kind, bool option);
    StepOutcome chooseFromMenu(const QStringList& spanishTitles);
    StepOutcome changeScreens(const QStringList& arguments);
    StepOutcome switchLoginItem(bool on);
    StepOutcome pointer(const QStringList& arguments);
    StepOutcome launch(const QString& application, const QString& name);
    StepOutcome quitApplication(const QString& application);
    StepOutcome setHung(const QString& application, bool hung);
    StepOutcome bringToFront(const QString& application);
    void pressShortcut();
    void secondLaunch();
    void set(const QString& field, const QString& value);
    StepOutcome savePicture(const QString& name, bool dark);

    SessionContext& m_context;
    SessionPrinter& m_printer;
};

} // namespace tk
