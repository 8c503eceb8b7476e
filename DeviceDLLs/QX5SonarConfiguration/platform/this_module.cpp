// Which loaded module this code is: the POSIX loader.
#include "this_module.h"

#include <dlfcn.h>

namespace qx5::platform {

HINSTANCE ThisModule()
{
    // A module is named by where it begins; any address inside of it tells.
    static char const inside = 0;
    Dl_info module{};
    return dladdr(&inside, &module) != 0 ? module.dli_fbase : nullptr;
}

} // namespace qx5::platform
