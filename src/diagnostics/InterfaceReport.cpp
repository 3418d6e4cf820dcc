#include "InterfaceReport.h"

#include "core/FileAccess.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>

namespace tk {

using namespace Qt::StringLiterals;

namespace {

QString rectText(const std::optional<Rect>& rect)
{
    return rect ? rect->text() : u"nil"_s;
}

bool writeAtomically(const QString& path, const QByteArray& bytes)
{
    return !FileAccess::writeAtomically(path, bytes);
}

QByteArray pngData(const QImage& image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (image.isNull() || !buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG"))
        return {};
    return bytes;
}

} // namespace

QByteArray InterfaceReport::json() const
{
    const QJsonObject object{
        {u"path"_s, path},
        {u"window"_s, window.text()},
        {u"screen"_s, screen.text()},
        {u"centerErrorX"_s, centerErrorX()},
        {u"centerErrorY"_s, centerErrorY()},
        {u"language"_s, language},
        {u"symbol"_s, symbol},
        {u"collapsed"_s, collapsed},
        {u"scanning"_s, scanning},
        {u"trusted"_s, trusted},
        {u"status"_s, status},
        {u"notice"_s, notice},
        {u"separatorWindow"_s, rectText(separatorWindow)},
        {u"separatorScreen"_s, rectText(separatorScreen)},
    };
    // QJsonObject keeps its keys sorted, so the text lists them in ascending order.
    return QJsonDocument(object).toJson(QJsonDocument::Indented);
}

bool InterfaceReport::write(const QString& reportPath, const QImage& image) const
{
    const QByteArray png = pngData(image);
    if (!png.isEmpty())
        writeAtomically(QFileInfo(reportPath).dir().filePath(imageFileName), png);
    return writeAtomically(reportPath, json());
}

} // namespace tk
