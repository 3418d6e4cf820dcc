#pragma once

#include "control/ControlProtocol.h"

#include <QString>
#include <QStringList>
#include <optional>

namespace tk {

// The switches a launch understands. Each is looked for among all process arguments,
// the program path included; only its first occurrence counts, and its value is the
// argument right after it. A switch that needs a value but comes last is ignored.
struct CommandLine {
    static inline const QString diagnosticReportSwitch = QStringLiteral("--diagnostic-report");
    static inline const QString uiReportSwitch = QStringLiteral("--ui-report");
    static inline const QString settingsSwitch = QStringLiteral("--settings");
    static inline const QString scenarioSwitch = QStringLiteral("--scenario");
    static inline const QString scriptSwitch = QStringLiteral("--script");
    static inline const QString exportScenarioSwitch = QStringLiteral("--export-scenario");
    static inline const QString revealSwitch = QStringLiteral("--reveal");
    // "--" and a command's name; --reveal takes a bundle identifier.
    static const QStringList& controlSwitches();

    std::optional<QString> diagnosticReportPath; // a diagnostic run replaces the launch
    bool diagnosticReportRequested = false;      // the switch anywhere, with a value or not
    std::optional<QString> uiReportPath;
    bool openSettings = false;
    std::optional<QString> scenarioPath; // the simulated desktop to load
    std::optional<QString> scriptPath;   // a session to play on it
    std::optional<QString> exportScenarioPath; // an export run replaces the launch
    // A control switch or tuckaway:// address: the request goes to the running copy, and
    // this launch starts nothing. Other arguments are ignored then.
    std::optional<ControlRequest> controlRequest;
    // Why the control switches and addresses given cannot be sent: two at once, one with
    // another run, --reveal without a bundle identifier, an address not understood.
    std::optional<ControlText> controlMisuse;

    // Whether a second copy should hand over to a running one and quit.
    bool checksSingleInstance() const { return !diagnosticReportRequested && !exportScenarioPath; }

    // A diagnostic run, an export run and a scripted session each replace the usual launch:
    // when more than one is asked for, the sentence that says so; nothing otherwise.
    std::optional<QString> conflict() const;

    static CommandLine parse(const QStringList& arguments);

    friend bool operator==(const CommandLine&, const CommandLine&) = default;
};

} // namespace tk
