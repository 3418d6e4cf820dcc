#include "MacLoginItems.h"

#import <Foundation/Foundation.h>
#import <ServiceManagement/ServiceManagement.h>

namespace tk {

namespace {

Error errorFrom(NSError* error)
{
    return Error{QString::fromNSString(error.domain), static_cast<qint64>(error.code),
                 QString::fromNSString(error.localizedDescription)};
}

} // namespace

LoginItemService::Status MacLoginItems::status() const
{
    switch (SMAppService.mainAppService.status) {
    case SMAppServiceStatusEnabled:
        return Status::Enabled;
    case SMAppServiceStatusRequiresApproval:
        return Status::RequiresApproval;
    case SMAppServiceStatusNotRegistered:
        return Status::NotRegistered;
    case SMAppServiceStatusNotFound:
        return Status::NotFound;
    }
    return Status::NotFound;
}

std::optional<Error> MacLoginItems::registerApp()
{
    @autoreleasepool {
        NSError* error = nil;
        if ([SMAppService.mainAppService registerAndReturnError:&error])
            return std::nullopt;
        return errorFrom(error);
    }
}

std::optional<Error> MacLoginItems::unregisterApp()
{
    @autoreleasepool {
        NSError* error = nil;
        if ([SMAppService.mainAppService unregisterAndReturnError:&error])
            return std::nullopt;
        return errorFrom(error);
    }
}

} // namespace tk
