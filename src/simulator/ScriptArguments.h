#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

namespace tk {

// How a script step's arguments are checked as the script is read: a check answers the
// reason the arguments are wrong, or nothing when they are right.
namespace ScriptArguments {

using Check = std::function<QString(const QStringList&)>;

inline constexpr double maximumCoordinate = 1.0e6;

// A finite number no farther from 0 than `limit`.
std::optional<double> number(const QString& text, double limit);
QString oneOf(const QString& value, const QStringList& allowed, const QString& what);

Check none();
// `count` arguments, then `then` on them.
Check exactly(int count, Check then = {});
// One argument, one of `allowed`.
Check word(const QStringList& allowed, const QString& what);

// A bundle identifier or "pid:N".
QString checkApplication(const QString& app);
// Any number of applications.
QString applications(const QStringList& a);
// A settings section by name or by index.
QString checkSection(const QString& section);

} // namespace ScriptArguments

} // namespace tk
