// Loading a module: the loader of Windows.
#include "reference_host/platform/module.h"

#include "reference_host/platform/windows/system_text.h"

#include <windows.h>

#include <array>
#include <fstream>
#include <string_view>
#include <utility>

namespace vordal::platform {

namespace {

bool IsForLinux(std::filesystem::path const& file)
{
    std::array<char, 4> begin{};
    std::ifstream stream(file, std::ios::binary);
    return stream.read(begin.data(), begin.size()) && std::string_view(begin.data(), begin.size()) == "\177ELF";
}

} // namespace

Module::Module(Module&& other) noexcept : m_handle(std::exchange(other.m_handle, nullptr)) {}

Module& Module::operator=(Module&& other) noexcept
{
    std::swap(m_handle, other.m_handle);
    return *this;
}

Module::~Module()
{
    if (m_handle != nullptr) {
        FreeLibrary(static_cast<HMODULE>(m_handle));
    }
}

Module Module::Load(std::filesystem::path const& file, std::string& reason)
{
    Module module;
    // A name without a folder would be looked for along the system's search path.
    std::error_code ignored;
    auto absolute = std::filesystem::absolute(file, ignored);
    if (ignored) {
        absolute = file;
    }
    if (IsForLinux(absolute)) {
        reason = "it is built for Linux";
        return module;
    }
    // A module that cannot be loaded is told of in a line, not in a box that waits for somebody.
    DWORD before = 0;
    SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &before);
    module.m_handle = LoadLibraryExW(absolute.make_preferred().c_str(), nullptr,
                                     LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
    DWORD const problem = GetLastError();
    SetThreadErrorMode(before, nullptr);
    if (module.m_handle == nullptr) {
        // The system's own words ask for the file's name.
        reason = problem == ERROR_BAD_EXE_FORMAT ? "it is no module for 64-bit Windows, or not all of one"
                                                 : SystemText(problem);
    }
    return module;
}

void* Module::Find(char const* name) const
{
    return m_handle != nullptr ? reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(m_handle), name))
                               : nullptr;
}

bool Module::Holds(void const* address) const
{
    HMODULE found = nullptr;
    return m_handle != nullptr &&
           GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                              static_cast<wchar_t const*>(address), &found) != 0 &&
           found == m_handle;
}

} // namespace vordal::platform
