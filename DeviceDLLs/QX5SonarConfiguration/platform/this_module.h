// Which loaded module this code is, on this platform.
#pragma once

#include <vordalhostdllR/VordalHost.h>

namespace qx5::platform {

/// The module, as the host's resource look-ups name it. Any thread.
HINSTANCE ThisModule();

} // namespace qx5::platform
