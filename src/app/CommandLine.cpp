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

std::optional<QString> CommandLine::conflict() const
{
    QStringList runs;
    if (diagnosticReportPath)
        runs << diagnosticReportSwitch;
    if (exportScenarioPath)
        runs << exportScenarioSwitch;
    if (scriptPath)
        runs << scriptSwitch;
    if (runs.size() < 2)
        return std::nullopt;
    const QString last = runs.takeLast();
    return QStringLiteral("Tuckaway: %1 and %2 cannot be given together: each is a run of its "
                          "own. Nothing was run.")
        .arg(runs.join(QStringLiteral(", ")), last);
}

} // namespace tk
