#include "app/FrontEnd.h"

#include <QtGlobal>

namespace tk {

// Qt's Cocoa integration brings the application to the front as it finishes launching unless
// this is set; a menu-bar application started at login must leave the focus where it is.
void FrontEnd::prepare(const CommandLine&, PlatformOptions&)
{
    qputenv("QT_MAC_DISABLE_FOREGROUND_APPLICATION_TRANSFORM", "1");
}

// On a Mac the status item in the system's menu bar is the whole of a run.
std::unique_ptr<QObject> FrontEnd::show(Platform&, AppDelegate&, const CommandLine&)
{
    return nullptr;
}

} // namespace tk
