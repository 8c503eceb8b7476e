// Loading a module and finding what it exports, on this platform.
#pragma once

#include <filesystem>
#include <string>

namespace vordal::platform {

/// What the name of a module's file ends in.
#if defined(_WIN32)
inline constexpr char const* ModuleExtension = ".dll";
#else
inline constexpr char const* ModuleExtension = ".so";
#endif

/// A loaded module; unloaded when this goes.
class Module
{
public:
    Module() = default;
    Module(Module const&) = delete;
    Module& operator=(Module const&) = delete;
    Module(Module&& other) noexcept;
    Module& operator=(Module&& other) noexcept;
    ~Module();

    /// Gives an unloaded object and the loader's words in `reason` when the file cannot be loaded. All of the module's
    /// own references are resolved at once, and its names are seen by nobody else.
    static Module Load(std::filesystem::path const& file, std::string& reason);

    explicit operator bool() const { return m_handle != nullptr; }
    /// Null when the module exports nothing of that name.
    void* Find(char const* name) const;
    /// Whether what lies at that address, code or data, was loaded with the module.
    bool Holds(void const* address) const;

private:
    void* m_handle = nullptr;
};

} // namespace vordal::platform
