#pragma once

#include "simulator/ScriptArguments.h"

#include <QHash>
#include <QString>
#include <optional>

namespace tk {

struct ScriptStep;
struct SessionContext;

// What a script's "expect" steps check of the session as it stands. Each kind is a row of
// one table: its command, how its arguments are checked as the script is read, and how it
// is checked against the session.
namespace SessionExpectations {

// Every kind's command and argument check, for the script's reader.
QHash<QString, ScriptArguments::Check> argumentChecks();

// Nothing when `step` holds; otherwise "expected …, got …".
std::optional<QString> check(const SessionContext& context, const ScriptStep& step);

} // namespace SessionExpectations

} // namespace tk
