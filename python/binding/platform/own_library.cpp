// Finding what was installed together with this module.
#include "python/binding/platform/own_library.h"

#include "reference_host/core/host.h"

#include <stdexcept>
#include <string>
#include <system_error>

#include <dlfcn.h>

namespace qx5::python::platform {

namespace {

std::filesystem::path FileOf(void const* address)
{
    Dl_info found{};
    return dladdr(address, &found) != 0 && found.dli_fname != nullptr ? std::filesystem::path(found.dli_fname)
                                                                      : std::filesystem::path();
}

/// The first of the two places that is there, seen from the folder of this module; the second when neither is.
std::filesystem::path Beside(char const* installed, char const* built)
{
    static char const here = 0;
    std::error_code problem;
    auto const folder = std::filesystem::absolute(FileOf(&here), problem).parent_path();
    auto const first = (folder / installed).lexically_normal();
    return std::filesystem::exists(first, problem) ? first : (folder / built).lexically_normal();
}

} // namespace

void ShowHostLibrary()
{
    auto const file = FileOf(reinterpret_cast<void const*>(&vordal::Host::CurrentOrNull));
    // For as long as the process lives, as Python never lets go of a module.
    if (file.empty() || dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL) == nullptr) {
        throw std::runtime_error("the host library " + file.string() + " cannot be shown to plug-ins");
    }
}

std::filesystem::path PlugInFolder()
{
    return Beside(QX5_MODULES_FROM_PACKAGE, "../../lib/qx5");
}

std::filesystem::path Program()
{
    return Beside(QX5_PROGRAM_FROM_PACKAGE, "../../bin/qx5");
}

} // namespace qx5::python::platform
