#include "app/FrontEnd.h"

namespace tk {

// On a Mac the status item in the system's menu bar is the whole of a run.
void FrontEnd::prepare(const CommandLine&, PlatformOptions&) {}

std::unique_ptr<QObject> FrontEnd::show(Platform&, AppDelegate&, const CommandLine&)
{
    return nullptr;
}

} // namespace tk
