#pragma once

#include <CoreGraphics/CoreGraphics.h>
#include <QImage>

namespace tk {

namespace MacAppIcon {

// The bundle's "AppIcon.icns" drawn at `pixelSize` × `pixelSize` pixels, or a null image
// when the bundle has none or it cannot be read. Fits AppIdentity::BundleIconLoader.
QImage bundleIcon(int pixelSize);

// `image` drawn at `pixelSize` × `pixelSize` pixels; null when it cannot be drawn.
QImage rendered(CGImageRef image, int pixelSize);

} // namespace MacAppIcon

} // namespace tk
