// The private menu-bar framework behind four plain functions: a capability probe, an
// activation that always answers on the main queue, the bridge's error values and a
// guarded invalidation. Nothing else in the program touches the framework.
#pragma once

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

// Exactly one of the two is present: the activated assertion, or the error.
typedef void (^TKNativeVisibilityCompletion)(id _Nullable assertion, NSError* _Nullable error);

// Whether the framework loads and offers everything activation and invalidation need.
// Evaluated afresh on every call.
FOUNDATION_EXPORT BOOL TKNativeVisibilityIsAvailable(void);

// Asks for an assertion that keeps only the listed system items and applications visible.
// `completion` runs on a later turn of the main queue, never inside this call.
FOUNDATION_EXPORT void TKNativeVisibilityActivate(NSArray<NSNumber*>* allowedSystemItems,
                                                  NSArray<NSString*>* allowedBundleIdentifiers,
                                                  TKNativeVisibilityCompletion completion);

// Domain "TKNativeVisibility", code 1, `message` as the localized description.
FOUNDATION_EXPORT NSError* TKNativeVisibilityError(NSString* message);

// Ends an assertion. Anything that does not respond to invalidate, nil included, is left
// alone; an exception the framework raises is logged and goes no further.
FOUNDATION_EXPORT void TKNativeVisibilityInvalidate(id _Nullable assertion);

NS_ASSUME_NONNULL_END
