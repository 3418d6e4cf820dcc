#pragma once

#include <QString>
#include <optional>

namespace tk {

struct ScriptStep;
struct SessionContext;

// What a script's "expect" steps check of the session as it stands.
namespace SessionExpectations {

// Nothing when `step` holds; otherwise "expected …, got …".
std::optional<QString> check(const SessionContext& context, const ScriptStep& step);

} // namespace SessionExpectations

} // namespace tk
