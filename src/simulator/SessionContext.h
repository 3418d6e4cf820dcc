#pragma once

#include <QString>
#include <QStringList>
#include <optional>

class QTextStream;

namespace tk {

class AppDelegate;
class SimPlatform;
class VirtualTimeSource;
struct SimApplication;

// What the parts of a scripted session share: the desktop and application it plays on, the
// streams and the clock it prints with, how far it has got and the pictures it has saved.
struct SessionContext {
    // `time` is the platform's clock when that runs on virtual time.
    SessionContext(SimPlatform& simulated, AppDelegate& application, QTextStream& output,
                   QTextStream& errorOutput, QString directory);

    SimPlatform& platform;
    AppDelegate& app;
    QTextStream& out;
    QTextStream& errors;
    VirtualTimeSource* time = nullptr;
    QString pictureDirectory; // empty until the first picture chooses one
    QStringList pictures;
    double started = 0.0; // virtual time at the first line
    bool appQuit = false;
    bool ended = false; // nothing is printed once the session is over

    // Applications with menu-bar items that the assertion in force hides, in launch order.
    QStringList hiddenApplications() const;
};

// An application as a script names it: its bundle identifier, or "pid:" and its process.
QString applicationId(const SimApplication& app);
// Applications as a line names them: separated by blanks, "nothing" for none.
QString listed(const QStringList& applications);
// The running application a script names, other than Tuckaway.
std::optional<qint32> runningPid(SimPlatform& platform, const QString& application);

} // namespace tk
