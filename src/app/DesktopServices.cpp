#include "DesktopServices.h"

DesktopServices::~DesktopServices() = default;
