#include "XdgAutostart.h"

#include "core/FileAccess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace tk {

namespace {

constexpr qint64 largestEntry = 64 * 1024;

Error fileError(const QString& description)
{
    return Error{FileAccess::errorDomain, 1, description};
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

// The program an Exec value starts: its first argument, unquoted as desktop entries quote.
QString execProgram(const QString& value)
{
    if (!value.startsWith(QLatin1Char('"')))
        return value.section(QLatin1Char(' '), 0, 0);
    QString program;
    for (qsizetype i = 1; i < value.size(); ++i) {
        if (value.at(i) == QLatin1Char('"'))
            return program;
        if (value.at(i) == QLatin1Char('\\') && i + 1 < value.size())
            ++i;
        program += value.at(i);
    }
    return QString(); // the quote never closes
}

// The Exec value of the entry's main group; nothing when it has none.
QString execValue(const QByteArray& content)
{
    bool mainGroup = false;
    for (const QByteArray& line : content.split('\n')) {
        if (line.startsWith('['))
            mainGroup = line.trimmed() == "[Desktop Entry]";
        else if (mainGroup && line.startsWith("Exec="))
            return QString::fromUtf8(line.mid(5)).trimmed();
    }
    return QString();
}

bool sameFile(const QString& a, const QString& b)
{
    const QString canonical = QFileInfo(a).canonicalFilePath();
    return a == b || (!canonical.isEmpty() && canonical == QFileInfo(b).canonicalFilePath());
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
    // Read only when it is a regular file: a pipe in its place would block.
    const Result<QByteArray> entry = FileAccess::readRegularFile(entryPath(), largestEntry);
    if (!entry || !sameFile(execProgram(execValue(entry.value())), m_executable))
        return Status::NotRegistered;
    // Another tool may have switched the entry off without removing it.
    const QByteArray& content = entry.value();
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
    if (const auto reason = FileAccess::writeAtomically(entryPath(), entryContent(m_executable)))
        return fileError(
            QStringLiteral("The file “%1” couldn’t be saved: %2").arg(entryPath(), *reason));
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
