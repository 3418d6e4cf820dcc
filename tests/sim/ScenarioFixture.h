#pragma once

#include "platform/sim/SimScenario.h"

namespace tk {

// A desktop written out in a test; one the loader refuses ends the run with its reason.
inline SimScenario scenario(const QByteArray& json)
{
    auto result = SimScenarioLoader::parse(json, QStringLiteral("test.json"));
    if (!result)
        qFatal("%s", qPrintable(result.error().description));
    return *result;
}

} // namespace tk
