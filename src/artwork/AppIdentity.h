#pragma once

#include "core/Result.h"

#include <QImage>
#include <QList>
#include <QStringList>
#include <functional>

namespace tk {

// The application's own icon: a turquoise tile with three dots ("B · Dots").
namespace AppIdentity {

// Returns the icon that ships inside the application bundle at a pixel size, or a null
// image when there is none or it cannot be read.
using BundleIconLoader = std::function<QImage(int pixelSize)>;

inline constexpr int defaultPixelSize = 512;

// A square image of `pixelSize` pixels: the bundle's icon when the loader finds one,
// otherwise the drawn one. A size below 1 gives a null image.
QImage icon(int pixelSize = defaultPixelSize, const BundleIconLoader& bundleIcon = {});

QImage drawnIcon(int pixelSize);

// The files an icon set folder holds, named as the icon compiler expects them.
struct IconSetEntry {
    QString fileName;
    int pixelSize = 0;
};
QList<IconSetEntry> iconSetEntries();

// Writes the drawn icon as PNG files into `directory` (created when missing), for the
// build step that compiles the bundle's icon. Returns the paths written.
Result<QStringList> writeIconSet(const QString& directory);

} // namespace AppIdentity

} // namespace tk
