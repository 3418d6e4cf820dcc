// What the panel and scripted sessions put on the simulated desktop: the applications the
// panel launches, their menu-bar items, and the modes of the visibility framework.
#include "SimulatorPanel.h"

#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimScenario.h"

#include <QHash>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

SimApplication application(const QString& bundle, const QString& name, QList<SimElement> items)
{
    SimApplication app;
    if (!bundle.isEmpty())
        app.bundleIdentifier = bundle;
    app.name = name;
    app.items = std::move(items);
    return app;
}

} // namespace

SimElement SimulatorPanel::menuBarItem(const QString& title, const QString& description,
                                       double width)
{
    SimElement element;
    element.role = SimText::of(u"AXMenuBarItem"_s);
    if (!title.isEmpty())
        element.title = SimText::of(title);
    element.description = SimText::of(description);
    element.width = width;
    element.actions = QStringList{u"AXPress"_s};
    return element;
}

SimulatorPanel::FrameworkMode SimulatorPanel::frameworkModeNamed(const QString& name)
{
    static const QHash<QString, FrameworkMode> modes{
        {u"absent"_s, FrameworkMode::Absent},
        {u"error"_s, FrameworkMode::Fails},
        {u"exception"_s, FrameworkMode::Throws},
        {u"silent"_s, FrameworkMode::Silent},
    };
    return modes.value(name, FrameworkMode::Answers);
}

SimFrameworkBehaviour SimulatorPanel::behaviourFor(FrameworkMode mode, SimFrameworkBehaviour b)
{
    using Mode = FrameworkMode;
    using Answer = SimFrameworkBehaviour::Answer;
    b.present = mode != Mode::Absent;
    b.answer = mode == Mode::Fails    ? Answer::Error
               : mode == Mode::Throws ? Answer::Exception
               : mode == Mode::Silent ? Answer::None
                                      : Answer::Success;
    if (b.errorDescription.isEmpty())
        b.errorDescription = u"The assertion could not be acquired."_s;
    if (b.exceptionName.isEmpty())
        b.exceptionName = u"NSInternalInconsistencyException"_s;
    if (b.exceptionReason.isEmpty())
        b.exceptionReason = u"The configuration was rejected."_s;
    return b;
}

SimulatorPanel::FrameworkMode SimulatorPanel::modeOf(const SimFrameworkBehaviour& behaviour)
{
    using Mode = FrameworkMode;
    if (!behaviour.present)
        return Mode::Absent;
    switch (behaviour.answer) {
    case SimFrameworkBehaviour::Answer::Error:
        return Mode::Fails;
    case SimFrameworkBehaviour::Answer::Exception:
        return Mode::Throws;
    case SimFrameworkBehaviour::Answer::None:
        return Mode::Silent;
    case SimFrameworkBehaviour::Answer::Success:
        break;
    }
    return Mode::Answers;
}

QList<SimApplication> SimulatorPanel::catalogue()
{
    SimApplication slow =
        application(u"com.mossgate.Sluggard"_s, u"Sluggard"_s, {SimulatorPanel::menuBarItem({}, u"Sluggard"_s, 28)});
    slow.responseDelay = 0.5;
    return {
        application(u"com.pinecrest.Beacon"_s, u"Beacon"_s, {SimulatorPanel::menuBarItem({}, u"Beacon"_s, 28)}),
        application(u"com.reedwing.Metronome"_s, u"Metronome"_s,
                    {SimulatorPanel::menuBarItem(u"120 bpm"_s, u"Tempo"_s, 64)}),
        application(u"com.lapwing.Stopwatch"_s, u"Lapwing"_s,
                    {SimulatorPanel::menuBarItem(u"00:00"_s, u"Stopwatch"_s, 50)}),
        application(u"com.quillnote.Quillnote"_s, u"Quillnote"_s,
                    {SimulatorPanel::menuBarItem({}, u"Quillnote"_s, 28), SimulatorPanel::menuBarItem({}, u"Capture"_s, 28)}),
        application({}, u"trayhelper"_s, {SimulatorPanel::menuBarItem(u"th"_s, {}, 26)}),
        slow,
    };
}

// An application that quit starts again as a new process.
QList<SimApplication> SimulatorPanel::launchables() const
{
    QList<SimApplication> result = catalogue();
    const qsizetype offered = result.size();
    for (SimApplication app : m_desktop.quitApplications()) {
        const auto same = [&](const SimApplication& known) {
            return known.bundleIdentifier == app.bundleIdentifier && known.name == app.name;
        };
        if (std::none_of(result.cbegin(), result.cbegin() + offered, same)) {
            app.pid = 0;
            result.append(app);
        }
    }
    return result;
}

} // namespace tk
