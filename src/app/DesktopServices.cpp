#include "DesktopServices.h"

namespace tk {

DesktopServices::~DesktopServices() = default;

} // namespace tk
