#include "ItemPress.h"

#include <algorithm>

namespace tk {

namespace ItemPress {

using namespace Qt::StringLiterals;

// Ids are "<bundle or pid>:<path>:<title>"; the title may hold colons, the rest does not.
QString pathOf(const QString& itemId)
{
    return itemId.section(u':', 1, 1);
}

QString barItemOf(const QString& itemId)
{
    return pathOf(itemId).section(u'.', 0, 1);
}

QString applicationIdOf(const ExternalItem& item)
{
    return item.bundleID ? *item.bundleID : u"pid:"_s + item.id.section(u':', 0, 0);
}

QString actionFor(const QStringList& actions)
{
    for (const QString& preferred : {u"AXPress"_s, u"AXShowMenu"_s}) {
        if (actions.contains(preferred))
            return preferred;
    }
    // An item that lists none may list them in a form the scan could not read: it is asked
    // for the press all the same, and it is the one to refuse.
    return actions.isEmpty() ? u"AXPress"_s : actions.first();
}

namespace {

PressOutcome failedPress(qint32 error, const QString& action)
{
    PressOutcome outcome;
    outcome.error = error;
    outcome.action = action;
    switch (error) {
    case AXResult::apiDisabled:
        outcome.kind = PressOutcome::Kind::NoPermission;
        break;
    case AXResult::invalidUIElement:
        outcome.kind = PressOutcome::Kind::Quit;
        break;
    default:
        outcome.kind = PressOutcome::Kind::Refused;
    }
    return outcome;
}

} // namespace

PressOutcome scanAndPress(const ScanApp& app, const QString& path,
                          const ScanEnvironment& environment)
{
    const ScanResult scanned = AXScanner::scan({app}, environment);
    const auto found = std::find_if(scanned.items.cbegin(), scanned.items.cend(),
                                    [&](const ExternalItem& item) {
                                        return pathOf(item.id) == path && item.frame;
                                    });
    if (found == scanned.items.cend())
        return {};
    const QString action = actionFor(found->actions);
    Accessibility& accessibility = environment.accessibility;
    accessibility.setMessagingTimeout(found->element, AXScanner::messagingTimeout);
    const qint32 result = accessibility.performAction(found->element, action);
    if (result != AXResult::success)
        return failedPress(result, action);
    return {PressOutcome::Kind::Pressed, AXResult::success, action};
}

} // namespace ItemPress

} // namespace tk
