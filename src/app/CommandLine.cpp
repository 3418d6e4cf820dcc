#include "CommandLine.h"

namespace tk {

namespace {

std::optional<QString> valueAfter(const QStringList& arguments, const QString& name)
{
    const qsizetype at = arguments.indexOf(name);
    if (at < 0 || at + 1 >= arguments.size())
        return std::nullopt;
    return arguments.at(at + 1);
}

} // namespace

CommandLine CommandLine::parse(const QStringList& arguments)
{
    CommandLine line;
    line.diagnosticReportPath = valueAfter(arguments, diagnosticReportSwitch);
    line.diagnosticReportRequested = arguments.contains(diagnosticReportSwitch);
    line.uiReportPath = valueAfter(arguments, uiReportSwitch);
    line.openSettings = arguments.contains(settingsSwitch);
    line.scenarioPath = valueAfter(arguments, scenarioSwitch);
    line.scriptPath = valueAfter(arguments, scriptSwitch);
    line.exportScenarioPath = valueAfter(arguments, exportScenarioSwitch);
    return line;
}

} // namespace tk
