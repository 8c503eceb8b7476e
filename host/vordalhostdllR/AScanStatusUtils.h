// The state of the A-scan monitor.
#pragma once

#include <VordalBaseR/Export.h>

namespace AScanStatusUtils {

/// Whether the A-scan monitor is on. Any thread; may change at any time.
VORDAL_API bool GetAScanStatus();

} // namespace AScanStatusUtils
