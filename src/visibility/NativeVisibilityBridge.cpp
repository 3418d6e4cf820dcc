#include "NativeVisibilityBridge.h"

namespace tk {

Error NativeVisibilityBridge::error(const QString& description)
{
    return Error{errorDomain, 1, description};
}

Error NativeVisibilityBridge::exceptionError(const QString& name, const QString& reason)
{
    return error(QStringLiteral("%1: %2").arg(name, reason));
}

} // namespace tk
