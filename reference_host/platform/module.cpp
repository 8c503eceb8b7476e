// Loading a module: the POSIX loader. Another platform replaces this file alone.
#include "reference_host/platform/module.h"

#include <dlfcn.h>
#include <link.h>

#include <utility>

namespace vordal::platform {

Module::Module(Module&& other) noexcept : m_handle(std::exchange(other.m_handle, nullptr)) {}

Module& Module::operator=(Module&& other) noexcept
{
    std::swap(m_handle, other.m_handle);
    return *this;
}

Module::~Module()
{
    if (m_handle != nullptr) {
        dlclose(m_handle);
    }
}

Module Module::Load(std::filesystem::path const& file, std::string& reason)
{
    Module module;
    // A name without a folder would be looked for along the system's search path.
    std::error_code ignored;
    auto const absolute = std::filesystem::absolute(file, ignored);
    module.m_handle = dlopen((ignored ? file : absolute).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module.m_handle == nullptr) {
        auto const* const said = dlerror();
        reason = said != nullptr ? said : "unknown reason";
    }
    return module;
}

void* Module::Find(char const* name) const
{
    return m_handle != nullptr ? dlsym(m_handle, name) : nullptr;
}

bool Module::Holds(void const* address) const
{
    link_map* own = nullptr;
    link_map* found = nullptr;
    Dl_info info{};
    return m_handle != nullptr && dlinfo(m_handle, RTLD_DI_LINKMAP, &own) == 0 &&
           dladdr1(address, &info, reinterpret_cast<void**>(&found), RTLD_DL_LINKMAP) != 0 && found == own;
}

} // namespace vordal::platform
