// Compiled with ARC (-fobjc-arc): framework objects held below are strong references,
// and Objective-C++ keeps ARC exception-safe by default.
#include "MacVisibilityBridge.h"

#import <Foundation/Foundation.h>
#include <dlfcn.h>

// What the framework's two classes are expected to offer. Never adopted: declared so the
// compiler knows the messages' signatures; every use is guarded by a responds check.
@protocol TKAssessmentModeConfiguration <NSObject>
- (instancetype)initWithAllowedSystemItems:(NSArray<NSNumber*>*)allowedSystemItems
                  allowedBundleIdentifiers:(NSArray<NSString*>*)allowedBundleIdentifiers;
@end

@protocol TKAssessmentModeAssertion <NSObject>
- (void)activateWithConfiguration:(id)configuration
                completionHandler:(void (^)(NSError* _Nullable error))completionHandler;
- (void)invalidate;
@end

namespace tk {

namespace {

const char* const frameworkPath =
    "/System/Library/PrivateFrameworks/MenuBarClientCore.framework/MenuBarClientCore";

// A framework object as the rest of the program holds it.
class MacNativeObject final : public NativeObject {
public:
    explicit MacNativeObject(id framework) : object(framework) {}
    const id object;
};

Class configurationClass()
{
    return NSClassFromString(@"MBAssessmentModeConfiguration");
}

Class assertionClass()
{
    return NSClassFromString(@"MBAssessmentModeAssertion");
}

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
    return [array copy];
}

NSArray<NSString*>* strings(const QStringList& values)
{
    NSMutableArray<NSString*>* array = [NSMutableArray arrayWithCapacity:values.size()];
    for (const QString& value : values)
        [array addObject:value.toNSString()];
    return [array copy];
}

// Every outcome reaches the caller on a later turn of the main queue, whichever thread
// produced it, and never before `activate` has returned.
using Deliver = std::function<void(NativeObjectPtr, std::optional<Error>)>;

Deliver delivererFor(NativeVisibilityBridge::Completion completion)
{
    return [completion](NativeObjectPtr assertion, std::optional<Error> error) {
        // Plain locals, so that the block holds copies of its own.
        const NativeVisibilityBridge::Completion callback = completion;
        const NativeObjectPtr answered = std::move(assertion);
        const std::optional<Error> failure = std::move(error);
        dispatch_async(dispatch_get_main_queue(), ^{
          callback(answered, failure);
        });
    };
}

// Runs inside the caller's exception guard: the framework may raise while making or
// activating the assertion.
// `deliver` is taken by value: a block captures a reference variable by reference.
void startActivation(NSArray<NSNumber*>* systemItems, NSArray<NSString*>* bundles, Deliver deliver)
{
    id<TKAssessmentModeConfiguration> configuration =
        [(id<TKAssessmentModeConfiguration>)[configurationClass() alloc]
            initWithAllowedSystemItems:systemItems
              allowedBundleIdentifiers:bundles];
    id<TKAssessmentModeAssertion> assertion = [[assertionClass() alloc] init];
    if (configuration == nil || assertion == nil) {
        deliver(nullptr,
                NativeVisibilityBridge::error(NativeVisibilityBridge::creationFailedDescription));
        return;
    }
    [assertion activateWithConfiguration:configuration
                       completionHandler:^(NSError* _Nullable error) {
                         // The block keeps the assertion alive until the framework answers.
                         if (error != nil)
                             deliver(nullptr, errorFrom(error));
                         else
                             deliver(std::make_shared<MacNativeObject>(assertion), std::nullopt);
                       }];
}

} // namespace

bool MacVisibilityBridge::isAvailable()
{
    @autoreleasepool {
        // Never closed; loading again only raises the loader's reference count.
        if (dlopen(frameworkPath, RTLD_NOW | RTLD_LOCAL) == nullptr)
            return false;
        Class configuration = configurationClass();
        Class assertion = assertionClass();
        if (configuration == nil || assertion == nil)
            return false;
        if (![configuration instancesRespondToSelector:@selector(initWithAllowedSystemItems:
                                                                   allowedBundleIdentifiers:)])
            return false;
        if (![assertion instancesRespondToSelector:@selector(activateWithConfiguration:
                                                                     completionHandler:)])
            return false;
        return [assertion instancesRespondToSelector:@selector(invalidate)];
    }
}

void MacVisibilityBridge::activate(const QList<int>& allowedSystemItems,
                                   const QStringList& allowedBundleIdentifiers,
                                   Completion completion)
{
    const Deliver deliver = delivererFor(std::move(completion));
    if (!isAvailable()) {
        deliver(nullptr, error(unavailableDescription));
        return;
    }
    @autoreleasepool {
        @try {
            startActivation(numbers(allowedSystemItems), strings(allowedBundleIdentifiers),
                            deliver);
        } @catch (NSException* exception) {
            NSString* description =
                [NSString stringWithFormat:@"%@: %@", exception.name, exception.reason];
            deliver(nullptr, error(QString::fromNSString(description)));
        }
    }
}

void MacVisibilityBridge::invalidate(const NativeObjectPtr& object)
{
    const auto native = std::dynamic_pointer_cast<MacNativeObject>(object);
    if (!native || ![native->object respondsToSelector:@selector(invalidate)])
        return;
    @autoreleasepool {
        @try {
            [(id<TKAssessmentModeAssertion>)native->object invalidate];
        } @catch (NSException* exception) {
            NSLog(@"NativeVisibility: invalidate raised %@: %@", exception.name, exception.reason);
        }
    }
}

} // namespace tk
