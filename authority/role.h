// What people may do with the sonars of a vessel.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace qx5::authority {

/// Each may what those before it may.
enum class Role : std::uint8_t
{
    Watch,        ///< hears everything, asks for nothing
    Operate,      ///< asks for the lease of a sonar, and the sonar for what it can do
    Administrate, ///< commands by programs that tell no person's name, and looks after the broker
};

/// "watch", "operate", "administrate".
std::string_view ToText(Role role);
/// Nothing for any other text.
std::optional<Role> RoleOf(std::string_view text);

/// Whoever stands at the sonar's own host; no person ashore has that name.
inline constexpr std::string_view Aboard = "aboard";
/// Who commands by a program that tells no person's name; no certificate has that name.
inline constexpr std::string_view Unnamed = "Sparkplug";

} // namespace qx5::authority
