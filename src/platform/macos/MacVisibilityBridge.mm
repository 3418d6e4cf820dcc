// Compiled with ARC (-fobjc-arc): framework objects held below are strong references.
#include "MacVisibilityBridge.h"

#import "platform/macos/TKNativeVisibility.h"

namespace tk {

namespace {

// A framework object as the rest of the program holds it.
class MacNativeObject final : public NativeObject {
public:
    explicit MacNativeObject(id framework) : object(framework) {}
    const id object;
};

Error errorFrom(NSError* error)
{
    return Error{QString::fromNSString(error.domain), static_cast<qint64>(error.code),
                 QString::fromNSString(error.localizedDescription)};
}

NSArray<NSNumber*>* numbers(const QList<int>& values)
{
    NSMutableArray<NSNumber*>* array = [NSMutableArray arrayWithCapacity:values.size()];
    for (const int value : values)
        [array addObject:@(value)];
    return array;
}

NSArray<NSString*>* strings(const QStringList& values)
{
    NSMutableArray<NSString*>* array = [NSMutableArray arrayWithCapacity:values.size()];
    for (const QString& value : values)
        [array addObject:value.toNSString()];
    return array;
}

} // namespace

bool MacVisibilityBridge::isAvailable()
{
    @autoreleasepool {
        return TKNativeVisibilityIsAvailable();
    }
}

void MacVisibilityBridge::activate(const QList<int>& allowedSystemItems,
                                   const QStringList& allowedBundleIdentifiers,
                                   Completion completion)
{
    // A plain local, so that the block holds a copy of its own.
    const Completion callback = std::move(completion);
    @autoreleasepool {
        TKNativeVisibilityActivate(numbers(allowedSystemItems), strings(allowedBundleIdentifiers),
                                   ^(id _Nullable assertion, NSError* _Nullable error) {
                                     if (error != nil)
                                         callback(nullptr, errorFrom(error));
                                     else
                                         callback(std::make_shared<MacNativeObject>(assertion),
                                                  std::nullopt);
                                   });
    }
}

void MacVisibilityBridge::invalidate(const NativeObjectPtr& object)
{
    const auto native = std::dynamic_pointer_cast<MacNativeObject>(object);
    if (!native)
        return;
    @autoreleasepool {
        TKNativeVisibilityInvalidate(native->object);
    }
}

} // namespace tk
