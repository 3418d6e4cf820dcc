#include "ControlEndpoint.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <unistd.h>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

const QString notPrivate =
    u"La carpeta %1 no es solo de este usuario: el canal de control no se usa."_s;
const QString cannotCreate = u"No se pudo crear la carpeta %1."_s;

constexpr QFileDevice::Permissions othersMayEnter =
    QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ExeGroup |
    QFileDevice::ReadOther | QFileDevice::WriteOther | QFileDevice::ExeOther;
constexpr QFileDevice::Permissions ownerOnly =
    QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner;

uint userId()
{
    return uint(::getuid());
}

ControlEndpoint endpointIn(const QString& folder)
{
    const QString name = u"tuckaway-%1.control"_s.arg(userId());
    const QDir dir(folder);
    return {folder, dir.filePath(name), dir.filePath(name + u".lock"_s)};
}

// The folder of our own in the temporary directory: made private when this user made it with
// wider permissions; anybody else's is refused by the privacy check that follows.
std::optional<ControlText> prepare(const QString& folder, bool create)
{
    const QFileInfo info(folder);
    if (!info.exists() && !info.isSymLink()) {
        if (!create)
            return ControlText{ControlEndpoint::notRunning, {}};
        if (!QDir().mkdir(folder, ownerOnly))
            return ControlText{cannotCreate, {folder}};
    } else if (create && !info.isSymLink() && info.isDir() && info.ownerId() == userId()) {
        QFile::setPermissions(folder, ownerOnly);
    }
    return ControlEndpoint::privacyProblem(folder);
}

} // namespace

EndpointOrProblem ControlEndpoint::locate(bool create)
{
    return locateIn(qEnvironmentVariable("XDG_RUNTIME_DIR"), QDir::tempPath(), create);
}

EndpointOrProblem ControlEndpoint::locateIn(const QString& runtimeFolder,
                                            const QString& temporaryFolder, bool create)
{
    if (!runtimeFolder.isEmpty() && QDir::isAbsolutePath(runtimeFolder) &&
        !privacyProblem(runtimeFolder))
        return endpointIn(QDir::cleanPath(runtimeFolder));
    const QString folder = QDir(temporaryFolder).filePath(u"tuckaway-%1"_s.arg(userId()));
    if (const std::optional<ControlText> problem = prepare(folder, create))
        return *problem;
    return endpointIn(folder);
}

std::optional<ControlText> ControlEndpoint::privacyProblem(const QString& folder)
{
    const QFileInfo info(folder);
    if (info.isSymLink() || !info.isDir() || info.ownerId() != userId() ||
        (info.permissions() & othersMayEnter))
        return ControlText{notPrivate, {folder}};
    return std::nullopt;
}

} // namespace tk
