#include "XdgAutostart.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace tk {

namespace {

const QString fileErrorDomain = QStringLiteral("Tuckaway.File");

Error fileError(const QString& description)
{
    return Error{fileErrorDomain, 1, description};
}

QString quotedExec(const QString& executable)
{
    QString escaped = executable;
    escaped.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    escaped.replace(QLatin1Char('"'), QLatin1String("\\\""));
    escaped.replace(QLatin1Char('`'), QLatin1String("\\`"));
    escaped.replace(QLatin1Char('$'), QLatin1String("\\$"));
    return QLatin1Char('"') + escaped + QLatin1Char('"');
}

QByteArray entryContent(const QString& executable)
{
    const QString text = QStringLiteral("[Desktop Entry]\n"
                                        "Type=Application\n"
                                        "Name=Tuckaway\n"
                                        "Comment=Menu-bar organiser\n"
                                        "Exec=%1\n"
                                        "Terminal=false\n"
                                        "X-GNOME-Autostart-enabled=true\n")
                             .arg(quotedExec(executable));
    return text.toUtf8();
}

} // namespace

XdgAutostart::XdgAutostart(QString configHome, QString executable)
    : m_configHome(std::move(configHome)), m_executable(std::move(executable))
{
}

QString XdgAutostart::defaultConfigHome()
{
    const QString fromEnvironment = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (!fromEnvironment.isEmpty() && QDir::isAbsolutePath(fromEnvironment))
        return fromEnvironment;
    return QDir::home().filePath(QStringLiteral(".config"));
}

QString XdgAutostart::entryPath() const
{
    return QDir(m_configHome).filePath(QStringLiteral("autostart/tuckaway.desktop"));
}

LoginItemService::Status XdgAutostart::status() const
{
    if (!QFileInfo(m_executable).isExecutable())
        return Status::NotFound;
    QFile entry(entryPath());
    if (!entry.open(QIODevice::ReadOnly))
        return Status::NotRegistered;
    // Another tool may have switched the entry off without removing it.
    const QByteArray content = entry.read(64 * 1024);
    if (content.contains("\nHidden=true") || content.contains("\nX-GNOME-Autostart-enabled=false"))
        return Status::NotRegistered;
    return Status::Enabled;
}

std::optional<Error> XdgAutostart::registerApp()
{
    if (!QFileInfo(m_executable).isExecutable())
        return fileError(QStringLiteral("The application “%1” could not be found.").arg(m_executable));
    const QString folder = QFileInfo(entryPath()).absolutePath();
    if (!QDir().mkpath(folder))
        return fileError(QStringLiteral("The folder “%1” could not be created.").arg(folder));
    QSaveFile file(entryPath());
    if (!file.open(QIODevice::WriteOnly))
        return fileError(file.errorString());
    file.write(entryContent(m_executable));
    if (!file.commit())
        return fileError(file.errorString());
    return std::nullopt;
}

std::optional<Error> XdgAutostart::unregisterApp()
{
    QFile entry(entryPath());
    if (entry.exists() && !entry.remove())
        return fileError(entry.errorString());
    return std::nullopt;
}

} // namespace tk
