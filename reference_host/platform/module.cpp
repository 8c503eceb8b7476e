// Loading a module: the POSIX loader.
#include "reference_host/platform/module.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>
#include <string_view>
#include <utility>

namespace vordal::platform {

namespace {

/// Reads what stands at that place of the file as it stands there, in this machine's own order.
template <typename Plain>
bool ReadAt(std::ifstream& file, std::uint64_t place, Plain& into)
{
    if (place > static_cast<std::uint64_t>(std::numeric_limits<std::streamoff>::max())) {
        return false;
    }
    char bytes[sizeof(Plain)];
    file.seekg(static_cast<std::streamoff>(place));
    if (!file.read(bytes, sizeof bytes)) {
        return false;
    }
    std::memcpy(&into, bytes, sizeof bytes);
    return true;
}

/// Whether a module of this machine's kind ends before what its own tables tell of. The system's loader would map it
/// all the same, and the process would end where it touches what is not there.
bool IsCutShort(std::filesystem::path const& name)
{
    std::error_code unknown;
    std::uint64_t const size = std::filesystem::file_size(name, unknown);
    std::ifstream file(name, std::ios::binary);
    ElfW(Ehdr) header;
    if (unknown || !ReadAt(file, 0, header) ||
        std::string_view(reinterpret_cast<char const*>(header.e_ident), SELFMAG) != ELFMAG) {
        return false; // the loader says what it is instead
    }
    auto const isWithin = [size](std::uint64_t at, std::uint64_t length) { return at <= size && length <= size - at; };
    if (!isWithin(header.e_shoff, std::uint64_t{header.e_shnum} * header.e_shentsize)) {
        return true;
    }
    for (std::uint64_t i = 0; i < header.e_phnum; ++i) {
        ElfW(Phdr) part;
        if (header.e_phentsize < sizeof part || !ReadAt(file, header.e_phoff + i * header.e_phentsize, part) ||
            (part.p_type == PT_LOAD && !isWithin(part.p_offset, part.p_filesz))) {
            return true;
        }
    }
    return false;
}

/// Whether it is a module or program of Windows. The loader's words would be of a header that is not valid.
bool IsForWindows(std::filesystem::path const& name)
{
    constexpr std::uint64_t placeOfHeader = 0x3C;
    std::ifstream file(name, std::ios::binary);
    std::array<char, 2> mark{};
    std::array<char, 4> header{};
    std::uint32_t at = 0;
    return ReadAt(file, 0, mark) && mark == std::array{'M', 'Z'} && ReadAt(file, placeOfHeader, at) &&
           ReadAt(file, at, header) && header == std::array{'P', 'E', '\0', '\0'};
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
        dlclose(m_handle);
    }
}

Module Module::Load(std::filesystem::path const& file, std::string& reason)
{
    Module module;
    // A name without a folder would be looked for along the system's search path.
    std::error_code ignored;
    auto const absolute = std::filesystem::absolute(file, ignored);
    if (IsCutShort(ignored ? file : absolute)) {
        reason = "the file is cut short";
        return module;
    }
    if (IsForWindows(ignored ? file : absolute)) {
        reason = "it is built for Windows";
        return module;
    }
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
