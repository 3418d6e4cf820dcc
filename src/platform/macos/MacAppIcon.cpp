#include "MacAppIcon.h"

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <ImageIO/ImageIO.h>
#include <memory>
#include <type_traits>

namespace tk {

namespace {

struct CFReleaser {
    void operator()(CFTypeRef ref) const { CFRelease(ref); }
};
template <class Ref> using Owned = std::unique_ptr<std::remove_pointer_t<Ref>, CFReleaser>;

int pixelWidthAt(CGImageSourceRef source, size_t index)
{
    const Owned<CFDictionaryRef> properties(
        CGImageSourceCopyPropertiesAtIndex(source, index, nullptr));
    if (!properties)
        return 0;
    const auto width = static_cast<CFNumberRef>(
        CFDictionaryGetValue(properties.get(), kCGImagePropertyPixelWidth));
    int value = 0;
    if (!width || !CFNumberGetValue(width, kCFNumberIntType, &value))
        return 0;
    return value;
}

// Scaling down keeps more detail than scaling up: the smallest representation that is at
// least as large as wanted, otherwise the largest one.
size_t representationFor(CGImageSourceRef source, int pixelSize)
{
    size_t chosen = 0;
    int chosenWidth = 0;
    for (size_t i = 0; i < CGImageSourceGetCount(source); ++i) {
        const int width = pixelWidthAt(source, i);
        const bool chosenTooSmall = chosenWidth < pixelSize;
        if (chosenTooSmall ? width > chosenWidth : (width >= pixelSize && width < chosenWidth)) {
            chosen = i;
            chosenWidth = width;
        }
    }
    return chosen;
}

} // namespace

namespace MacAppIcon {

QImage rendered(CGImageRef image, int pixelSize)
{
    QImage result(pixelSize, pixelSize, QImage::Format_ARGB32_Premultiplied);
    result.fill(Qt::transparent);
    const Owned<CGColorSpaceRef> space(CGColorSpaceCreateWithName(kCGColorSpaceSRGB));
    // Premultiplied, alpha first, host byte order: the memory layout of the QImage format.
    const uint32_t layout = static_cast<uint32_t>(kCGImageAlphaPremultipliedFirst) |
                            static_cast<uint32_t>(kCGBitmapByteOrder32Host);
    const Owned<CGContextRef> context(CGBitmapContextCreate(
        result.bits(), static_cast<size_t>(pixelSize), static_cast<size_t>(pixelSize), 8,
        static_cast<size_t>(result.bytesPerLine()), space.get(), layout));
    if (!context)
        return {};
    CGContextSetInterpolationQuality(context.get(), kCGInterpolationHigh);
    CGContextDrawImage(context.get(), CGRectMake(0, 0, pixelSize, pixelSize), image);
    CGContextFlush(context.get());
    return result;
}

QImage bundleIcon(int pixelSize)
{
    if (pixelSize < 1)
        return {};
    const Owned<CFURLRef> url(
        CFBundleCopyResourceURL(CFBundleGetMainBundle(), CFSTR("AppIcon"), CFSTR("icns"), nullptr));
    if (!url)
        return {};
    const Owned<CGImageSourceRef> source(CGImageSourceCreateWithURL(url.get(), nullptr));
    if (!source || CGImageSourceGetCount(source.get()) == 0)
        return {};
    const Owned<CGImageRef> image(CGImageSourceCreateImageAtIndex(
        source.get(), representationFor(source.get(), pixelSize), nullptr));
    if (!image)
        return {};
    return rendered(image.get(), pixelSize);
}

} // namespace MacAppIcon

} // namespace tk
