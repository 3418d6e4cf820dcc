#include "SessionExpectations.h"

#include "app/AppDelegate.h"
#include "app/SettingsWindow.h"
#include "l10n/L10n.h"
#include "platform/sim/SimDesktop.h"
#include "platform/sim/SimDesktopServices.h"
#include "platform/sim/SimPlatform.h"
#include "platform/sim/SimStatusItem.h"
#include "settings/LoginItemService.h"
#include "visibility/BoundaryPolicy.h"
#include "simulator/SessionContext.h"
#include "simulator/SessionScript.h"

#include <QSet>
#include <algorithm>

namespace tk {

using namespace Qt::StringLiterals;
using namespace ScriptArguments;

namespace {

using Failure = std::optional<QString>;
using Check = Failure (*)(const SessionContext&, const ScriptStep&);

// "expected KIND EXPECTED, got KIND GOT", or nothing when the two are the same.
Failure compared(const ScriptStep& step, const QString& expected, const QString& got)
{
    if (got == expected)
        return std::nullopt;
    return u"expected %1 %2, got %1 %3"_s.arg(step.command.mid(7), expected, got);
}

// Texts compared as they are, shown in double quotes.
Failure comparedTexts(const ScriptStep& step, const QString& expected, const QString& got)
{
    const auto quoted = [](const QString& text) { return u"\""_s + text + u'"'; };
    return got == expected ? std::nullopt : compared(step, quoted(expected), quoted(got));
}

// The same applications, in any order.
Failure checkHidden(const SessionContext& context, const ScriptStep& step)
{
    const QStringList& expected = step.arguments;
    const QStringList hidden = context.hiddenApplications();
    if (QSet<QString>(expected.begin(), expected.end()) ==
        QSet<QString>(hidden.begin(), hidden.end()))
        return std::nullopt;
    return compared(step, listed(expected), listed(hidden));
}

// The applications with an item the latest scan found out of sight, in any order.
Failure checkUnseen(const SessionContext& context, const ScriptStep& step)
{
    const QStringList& expected = step.arguments;
    QStringList unseen;
    for (const UnseenIcon& icon : context.app.unseenIcons()) {
        if (!unseen.contains(icon.application))
            unseen << icon.application;
    }
    if (QSet<QString>(expected.begin(), expected.end()) ==
        QSet<QString>(unseen.begin(), unseen.end()))
        return std::nullopt;
    return compared(step, listed(expected), listed(unseen));
}

// The reason of the latest collapse in "boundary" mode; "none" for an application it did
// not judge.
Failure checkReason(const SessionContext& context, const ScriptStep& step)
{
    const QString& bundle = step.arguments[0];
    const QString& expected = step.arguments[1];
    QString got = u"none"_s;
    for (const BoundaryPolicy::Decision& decision : context.app.boundaryDecisions()) {
        if (decision.bundle == bundle)
            got = BoundaryPolicy::reasonWord(decision.reason);
    }
    if (got == expected)
        return std::nullopt;
    return u"expected reason %1 %2, got reason %1 %3"_s.arg(bundle, expected, got);
}

QString stateName(AppDelegate& app)
{
    const VisibilityController& visibility = app.visibility();
    if (visibility.pending())
        return u"requesting"_s;
    if (visibility.active())
        return u"hidden"_s;
    return app.inspector().isScanning() ? u"scanning"_s : u"shown"_s;
}

Failure checkState(const SessionContext& context, const ScriptStep& step)
{
    return compared(step, step.arguments[0], stateName(context.app));
}

Failure checkNotice(const SessionContext& context, const ScriptStep& step)
{
    return comparedTexts(step, step.arguments.value(0), context.app.preferences().notice());
}

Failure checkMessage(const SessionContext& context, const ScriptStep& step)
{
    return comparedTexts(step, step.arguments.value(0), context.app.visibility().message());
}

// The tooltip as shown, the expected text written in Spanish.
Failure checkTooltip(const SessionContext& context, const ScriptStep& step)
{
    const SimStatusItem* item = context.platform.simulatedDesktopServices().statusItem();
    const QString language = context.app.preferences().language();
    return comparedTexts(step, L10n::text(step.arguments.value(0), language),
                         item ? item->toolTip() : QString());
}

// "open" or "closed", or "open SECTION" when the script names the section.
Failure checkSettings(const SessionContext& context, const ScriptStep& step)
{
    const QStringList& a = step.arguments;
    const SettingsWindow* window = context.app.settingsWindow();
    const bool open = window && window->isVisible();
    if (a.size() != 2)
        return compared(step, a.value(0), open ? u"open"_s : u"closed"_s);
    const QStringList& sections = SessionScript::sectionNames();
    const QString section = sections.value(context.app.preferences().section());
    return compared(step, u"open "_s + sections.value(SessionScript::sectionIndex(a[1])),
                    open ? u"open "_s + section : u"closed"_s);
}

// The latest press an application acted on: its bundle, and its item's title when the script
// names one; "none" before any.
Failure checkPressed(const SessionContext& context, const ScriptStep& step)
{
    const QList<SimPress> presses = context.platform.desktop().presses();
    const auto acted = std::find_if(presses.crbegin(), presses.crend(),
                                    [](const SimPress& press) { return press.acted; });
    const bool titled = step.arguments.size() == 2;
    QString got = u"none"_s;
    if (acted != presses.crend())
        got = titled ? acted->applicationId() + u' ' + acted->title : acted->applicationId();
    return compared(step, step.arguments.join(u' '), got);
}

Failure checkMenuOpen(const SessionContext& context, const ScriptStep& step)
{
    const std::optional<SimPress> open = context.platform.desktop().openItemMenu();
    return compared(step, step.arguments.value(0), open ? open->applicationId() : u"none"_s);
}

// What Tuckaway's "Abrir al iniciar sesión" switch shows.
Failure checkLogin(const SessionContext& context, const ScriptStep& step)
{
    return compared(step, step.arguments[0],
                    context.app.preferences().loginEnabled() ? u"on"_s : u"off"_s);
}

// What the system has, whether or not Tuckaway has read it since.
Failure checkLoginItem(const SessionContext& context, const ScriptStep& step)
{
    const auto status = qsizetype(context.platform.loginItems().status());
    return compared(step, step.arguments[0], SessionScript::loginItemStatusWords().value(status));
}

struct Expectation {
    QString command;
    ScriptArguments::Check arguments;
    Check check;
};

QString checkReasonArguments(const QStringList& a)
{
    if (a[0].isEmpty())
        return u"a bundle identifier must be named"_s;
    return oneOf(a[1], BoundaryPolicy::reasonWords() + QStringList{u"none"_s}, u"the reason"_s);
}

QString checkPressedArguments(const QStringList& a)
{
    if (a.isEmpty() || a.size() > 2)
        return u"takes BUNDLE [TITLE]"_s;
    return a[0].isEmpty() ? u"a bundle identifier must be named"_s : QString();
}

QString checkMenuOpenArguments(const QStringList& a)
{
    return a[0].isEmpty() ? u"takes a bundle identifier or none"_s : QString();
}

QString checkSettingsArguments(const QStringList& a)
{
    if (a.isEmpty() || a.size() > 2)
        return u"takes open [SECTION] or closed"_s;
    if (const QString error = oneOf(a[0], {u"open"_s, u"closed"_s}, u"the window"_s);
        !error.isEmpty())
        return error;
    if (a.size() == 2)
        return a[0] == u"closed" ? u"a closed window has no section"_s : checkSection(a[1]);
    return QString();
}

const QList<Expectation>& expectations()
{
    static const QList<Expectation> table{
        {u"expect hidden"_s, applications, checkHidden},
        {u"expect unseen"_s, applications, checkUnseen},
        {u"expect state"_s,
         word({u"shown"_s, u"scanning"_s, u"requesting"_s, u"hidden"_s}, u"the state"_s),
         checkState},
        {u"expect reason"_s, exactly(2, checkReasonArguments), checkReason},
        {u"expect pressed"_s, checkPressedArguments, checkPressed},
        {u"expect menu-open"_s, exactly(1, checkMenuOpenArguments), checkMenuOpen},
        {u"expect login"_s, word({u"on"_s, u"off"_s}, u"the switch"_s), checkLogin},
        {u"expect login-item"_s, word(SessionScript::loginItemStatusWords(), u"the status"_s),
         checkLoginItem},
        {u"expect notice"_s, exactly(1), checkNotice},
        {u"expect message"_s, exactly(1), checkMessage},
        {u"expect tooltip"_s, exactly(1), checkTooltip},
        {u"expect settings"_s, checkSettingsArguments, checkSettings},
    };
    return table;
}

} // namespace

QHash<QString, ScriptArguments::Check> SessionExpectations::argumentChecks()
{
    QHash<QString, ScriptArguments::Check> checks;
    for (const Expectation& expectation : expectations())
        checks.insert(expectation.command, expectation.arguments);
    return checks;
}

std::optional<QString> SessionExpectations::check(const SessionContext& context,
                                                  const ScriptStep& step)
{
    for (const Expectation& expectation : expectations()) {
        if (expectation.command == step.command)
            return expectation.check(context, step);
    }
    return u"%1 is not an expectation"_s.arg(step.command);
}

} // namespace tk
