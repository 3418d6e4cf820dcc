// Any scenario the loader accepts, exported and replayed: the export is accepted again, and
// the first scan and the decisions on the replay are those on the desktop it came from.
#include "FuzzSupport.h"
#include "app/ExportRoundTrip.h"

using namespace tk;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzz::ensureApplication();
    auto scenario = SimScenarioLoader::parse(fuzz::bytes(data, size), QStringLiteral("fuzz.json"));
    if (!scenario)
        return 0;
    const roundtrip::Outcome outcome = roundtrip::exportAndReplay(scenario.value());
    fuzz::check(outcome.refusal.isEmpty() ||
                    ScenarioExport::beyondLoaderLimits(outcome.json).has_value(),
                "an export the loader refuses is one the export check stops");
    fuzz::check(!outcome.refusal.isEmpty() || outcome.replayed == outcome.original,
                "the replay scans and decides as the desktop it came from");
    return 0;
}
