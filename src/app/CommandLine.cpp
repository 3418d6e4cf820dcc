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

const QString twoControls = QStringLiteral("Tuckaway: %1 y %2 no se pueden dar juntas: una orden "
                                           "de control cada vez. No se ha enviado nada.");
const QString controlWithRun = QStringLiteral("Tuckaway: %1 no se puede combinar con %2: cada uno "
                                              "es una ejecución aparte. No se ha hecho nada.");
const QString revealWithoutBundle =
    QStringLiteral("Tuckaway: --reveal necesita el identificador de bundle de una app oculta, "
                   "por ejemplo --reveal com.example.app.");

// The control switches and addresses among the arguments, each once, in the order given.
QStringList controlsGiven(const QStringList& arguments)
{
    QStringList given;
    for (const QString& argument : arguments) {
        const bool control = CommandLine::controlSwitches().contains(argument) ||
                             ControlProtocol::isAddress(argument);
        if (control && !given.contains(argument))
            given << argument;
    }
    return given;
}

std::variant<ControlRequest, ControlText> controlOf(const QString& given,
                                                    const QStringList& arguments)
{
    if (ControlProtocol::isAddress(given)) {
        RequestOrError request = ControlProtocol::fromAddress(given);
        if (const auto* error = std::get_if<ControlError>(&request))
            return error->text;
        return std::get<ControlRequest>(request);
    }
    const std::optional<ControlCommand> command = ControlProtocol::commandNamed(given.mid(2));
    if (command != ControlCommand::Reveal)
        return ControlRequest{command.value_or(ControlCommand::Status), {}};
    const std::optional<QString> bundle = valueAfter(arguments, CommandLine::revealSwitch);
    if (!bundle || !ControlProtocol::isApplicationId(*bundle))
        return ControlText{revealWithoutBundle, {}};
    return ControlRequest{ControlCommand::Reveal, *bundle};
}

// The first of the switches that make a run of their own, given with its value.
std::optional<QString> runGiven(const CommandLine& line)
{
    if (line.diagnosticReportPath)
        return CommandLine::diagnosticReportSwitch;
    if (line.exportScenarioPath)
        return CommandLine::exportScenarioSwitch;
    if (line.scriptPath)
        return CommandLine::scriptSwitch;
    return std::nullopt;
}

void parseControl(const QStringList& arguments, CommandLine& line)
{
    const QStringList given = controlsGiven(arguments);
    if (given.isEmpty())
        return;
    if (given.size() > 1) {
        line.controlMisuse = ControlText{twoControls, {given[0], given[1]}};
        return;
    }
    const std::optional<QString> run = runGiven(line);
    if (run) {
        line.controlMisuse = ControlText{controlWithRun, {given[0], *run}};
        return;
    }
    std::variant<ControlRequest, ControlText> control = controlOf(given[0], arguments);
    if (auto* misuse = std::get_if<ControlText>(&control))
        line.controlMisuse = std::move(*misuse);
    else
        line.controlRequest = std::get<ControlRequest>(control);
}

} // namespace

const QStringList& CommandLine::controlSwitches()
{
    static const QStringList switches{
        QStringLiteral("--collapse"), QStringLiteral("--expand"), QStringLiteral("--toggle"),
        QStringLiteral("--show-all"), revealSwitch,              QStringLiteral("--status")};
    return switches;
}

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
    parseControl(arguments, line);
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
