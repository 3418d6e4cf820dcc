// The reader of scripted sessions on arbitrary bytes: it gives steps or one error, within its
// bounds, and the steps it gives read back, spelled as a script, as the same steps.
#include "FuzzSupport.h"
#include "simulator/SessionScript.h"

using namespace tk;

namespace {

bool sameSteps(const QList<ScriptStep>& a, const QList<ScriptStep>& b)
{
    if (a.size() != b.size())
        return false;
    for (qsizetype i = 0; i < a.size(); ++i) {
        if (a[i].command != b[i].command || a[i].arguments != b[i].arguments)
            return false;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = fuzz::bytes(data, size);
    const ScriptOrError read = SessionScript::read(bytes);
    if (const auto* error = std::get_if<ScriptError>(&read)) {
        fuzz::check(!error->reason.isEmpty(), "an error says why");
        fuzz::check(error->line >= 0 && error->line <= bytes.count('\n') + 1,
                    "an error names a line of the script");
        return 0;
    }
    const auto& steps = std::get<QList<ScriptStep>>(read);
    fuzz::check(steps.size() <= SessionScript::maximumSteps, "the step count is bounded");
    QStringList lines;
    for (const ScriptStep& step : steps)
        lines << step.text();
    const ScriptOrError again = SessionScript::read(lines.join(QLatin1Char('\n')).toUtf8());
    const auto* reread = std::get_if<QList<ScriptStep>>(&again);
    fuzz::check(reread && sameSteps(*reread, steps), "steps read back as themselves");
    return 0;
}
