// Which loaded module this code is: the loader of Windows.
#include "platform/this_module.h"

#include <windows.h>

namespace qx5::platform {

HINSTANCE ThisModule()
{
    // A module is named by where it begins; any address inside of it tells.
    static char const inside = 0;
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<wchar_t const*>(&inside), &module);
    return module;
}

} // namespace qx5::platform
