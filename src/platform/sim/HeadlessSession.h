#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>

class QTextStream;

namespace tk {

class AppDelegate;

class SimPlatform;
class Timer;

// A run without a display still shows what Tuckaway does: a short script of clicks on its
// icon in the simulated menu bar (collapse, hidden, expand, collapse again, then "show all
// and pause" from its menu), through the same status item a person clicks in the simulator
// window. Every state change and status line is printed as it happens, in the interface
// language, and pictures of the menu bar are saved before, while hidden and after.
class HeadlessSession final : public QObject {
    Q_OBJECT

public:
    static constexpr double pollInterval = 0.05;
    static constexpr double startDelay = 1.2;    // past the launch's one-second start action
    static constexpr double stepDeadline = 20.0; // a scan gives up after 12 s, a request after 5

    HeadlessSession(SimPlatform& platform, AppDelegate& app, QTextStream& out,
                    QString pictureDirectory, QObject* parent = nullptr);
    ~HeadlessSession() override;

    // Where pictures go unless told otherwise: "tuckaway-session" in the current directory,
    // or in the temporary directory when that cannot be written.
    static QString defaultPictureDirectory();

    void start();
    const QStringList& picturePaths() const { return m_pictures; }

Q_SIGNALS:
    // 0 once the script has run, 1 when a picture could not be saved.
    void finished(int exitCode);

private:
    struct Step {
        QString spanish; // what the step does, as printed
        std::function<void()> act;
        std::function<bool()> done;
        std::function<void()> after; // once the step is done; may be empty
    };

    QList<Step> script();
    void watch();
    void poll();
    void begin(int index);
    void finish();
    void clickIcon(bool rightButton);
    void chooseFromMenu(const QString& spanishTitle);
    bool settledAfterCollapse() const;
    bool shown() const;
    void printHidden();
    void savePicture(const QString& name);
    void print(const QString& line);
    void printState();
    QString text(const QString& spanish) const;

    SimPlatform& m_platform;
    AppDelegate& m_app;
    QTextStream& m_out;
    QString m_directory;
    QList<Step> m_steps;
    int m_current = -1;
    double m_started = 0.0;
    double m_stepStarted = 0.0;
    bool m_sawAnswer = false; // since the step's action: a request answered or a notice given
    QString m_lastState;
    QString m_lastMessage;
    QString m_lastNotice;
    QStringList m_pictures;
    bool m_pictureFailed = false;
    std::unique_ptr<Timer> m_poll;
};

} // namespace tk
