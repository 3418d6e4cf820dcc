#include "ScriptArguments.h"

#include "simulator/SessionScript.h"

#include <QRegularExpression>
#include <cmath>

namespace tk {

using namespace Qt::StringLiterals;

std::optional<double> ScriptArguments::number(const QString& text, double limit)
{
    bool ok = false;
    const double value = text.toDouble(&ok);
    if (!ok || !std::isfinite(value) || std::abs(value) > limit)
        return std::nullopt;
    return value;
}

QString ScriptArguments::oneOf(const QString& value, const QStringList& allowed,
                               const QString& what)
{
    if (allowed.contains(value))
        return {};
    return u"%1 must be %2, not \"%3\""_s.arg(what, allowed.join(u'|'), value);
}

ScriptArguments::Check ScriptArguments::none()
{
    return [](const QStringList& a) { return a.isEmpty() ? QString() : u"takes no argument"_s; };
}

ScriptArguments::Check ScriptArguments::exactly(int count, Check then)
{
    return [count, then](const QStringList& a) {
        if (a.size() != count)
            return u"takes %1 argument(s), got %2"_s.arg(count).arg(a.size());
        return then ? then(a) : QString();
    };
}

ScriptArguments::Check ScriptArguments::word(const QStringList& allowed, const QString& what)
{
    return exactly(1, [allowed, what](const QStringList& a) { return oneOf(a[0], allowed, what); });
}

QString ScriptArguments::checkApplication(const QString& app)
{
    static const QRegularExpression pid(u"^pid:[0-9]{1,9}$"_s);
    if (app.isEmpty())
        return u"an application must be named"_s;
    if (app.startsWith(u"pid:"_s) && !pid.match(app).hasMatch())
        return u"\"%1\" is not pid: followed by a process number"_s.arg(app);
    return {};
}

QString ScriptArguments::applications(const QStringList& a)
{
    for (const QString& app : a) {
        if (const QString error = checkApplication(app); !error.isEmpty())
            return error;
    }
    return {};
}

QString ScriptArguments::checkSection(const QString& section)
{
    bool ok = false;
    const int index = section.toInt(&ok);
    if ((ok && index >= 0 && index < SessionScript::sectionNames().size()) ||
        SessionScript::sectionNames().contains(section))
        return {};
    return oneOf(section, SessionScript::sectionNames() + QStringList{u"0…4"_s}, u"the section"_s);
}

} // namespace tk
