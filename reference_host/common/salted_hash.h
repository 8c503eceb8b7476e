// A hash of texts and numbers that nobody outside the process can foresee: for tables whose keys come from outside.
#pragma once

#include <VordalBaseR/Export.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vordal {

/// Drawn when it is first asked for, the same from then on until the process ends. Any thread.
std::array<std::uint64_t, 2> const& ProgramSalt();

/// SipHash-1-3 of the text's characters under the program's salt. Any thread; nothing here fails.
VORDAL_API std::uint64_t SaltedHash(std::wstring_view text);
/// The same of a number.
VORDAL_API std::uint64_t SaltedHash(std::uint32_t number);

/// For the tables of the standard library, whose own hash of texts anybody can compute.
struct SaltedTextHash
{
    std::size_t operator()(std::wstring_view text) const { return static_cast<std::size_t>(SaltedHash(text)); }
};

} // namespace vordal
