// Compiled with ARC (-fobjc-arc).
#import "TKNativeVisibility.h"

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

static const char* const TKFrameworkPath =
    "/System/Library/PrivateFrameworks/MenuBarClientCore.framework/MenuBarClientCore";

static Class TKConfigurationClass(void)
{
    return NSClassFromString(@"MBAssessmentModeConfiguration");
}

static Class TKAssertionClass(void)
{
    return NSClassFromString(@"MBAssessmentModeAssertion");
}

BOOL TKNativeVisibilityIsAvailable(void)
{
    // Never closed; loading again only raises the loader's reference count.
    if (dlopen(TKFrameworkPath, RTLD_NOW | RTLD_LOCAL) == NULL)
        return NO;
    Class configuration = TKConfigurationClass();
    Class assertion = TKAssertionClass();
    if (configuration == nil || assertion == nil)
        return NO;
    if (![configuration instancesRespondToSelector:@selector(initWithAllowedSystemItems:
                                                               allowedBundleIdentifiers:)])
        return NO;
    if (![assertion instancesRespondToSelector:@selector(activateWithConfiguration:
                                                                 completionHandler:)])
        return NO;
    return [assertion instancesRespondToSelector:@selector(invalidate)];
}

NSError* TKNativeVisibilityError(NSString* message)
{
    return [NSError errorWithDomain:@"TKNativeVisibility"
                               code:1
                           userInfo:@{NSLocalizedDescriptionKey : message}];
}

void TKNativeVisibilityActivate(NSArray<NSNumber*>* allowedSystemItems,
                                NSArray<NSString*>* allowedBundleIdentifiers,
                                TKNativeVisibilityCompletion completion)
{
    // Every outcome reaches `completion` on a later turn of the main queue, whichever
    // thread produced it.
    const TKNativeVisibilityCompletion callback = [completion copy];
    void (^deliver)(id _Nullable, NSError* _Nullable) = ^(id _Nullable assertion,
                                                          NSError* _Nullable error) {
      dispatch_async(dispatch_get_main_queue(), ^{
        callback(assertion, error);
      });
    };
    if (!TKNativeVisibilityIsAvailable()) {
        deliver(nil, TKNativeVisibilityError(@"MenuBarClientCore is unavailable on this macOS"));
        return;
    }
    @try {
        id<TKAssessmentModeConfiguration> configuration =
            [(id<TKAssessmentModeConfiguration>)[TKConfigurationClass() alloc]
                initWithAllowedSystemItems:[allowedSystemItems copy]
                  allowedBundleIdentifiers:[allowedBundleIdentifiers copy]];
        id<TKAssessmentModeAssertion> assertion = [[TKAssertionClass() alloc] init];
        if (configuration == nil || assertion == nil) {
            deliver(nil, TKNativeVisibilityError(@"Could not create the visibility configuration"));
            return;
        }
        // The handler holds the assertion until the framework answers.
        [assertion activateWithConfiguration:configuration
                           completionHandler:^(NSError* _Nullable error) {
                             deliver(error == nil ? assertion : nil, error);
                           }];
    } @catch (NSException* exception) {
        deliver(nil, TKNativeVisibilityError([NSString
                         stringWithFormat:@"%@: %@", exception.name, exception.reason]));
    }
}

void TKNativeVisibilityInvalidate(id _Nullable assertion)
{
    if (![assertion respondsToSelector:@selector(invalidate)])
        return;
    @try {
        [(id<TKAssessmentModeAssertion>)assertion invalidate];
    } @catch (NSException* exception) {
        NSLog(@"NativeVisibility: invalidate raised %@: %@", exception.name, exception.reason);
    }
}
