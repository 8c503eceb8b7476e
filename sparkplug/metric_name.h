// Names of metrics: where an attribute stands in its device's tree, as one text.
//
// A name is the keys from the root on with / between them, in UTF-8. In a key, % and / and [ and control characters
// stand as %XX, one for each of their bytes; what is no character as %{hexadecimal number}, and a key without any
// character as %{}. The second and each later attribute of one key among its siblings has its number behind the key:
// key[2]. The first level's names that a device has beside its attributes begin with an escaped letter where a key is
// called so, too.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qx5::sparkplug {

/// Below these stand, beside the attributes of a device, who commands it, what Sparkplug itself has names for, and how
/// the connection of a sonar to its vessel is.
inline constexpr std::string_view LeaseBranch = "Lease";
inline constexpr std::string_view DeviceControlBranch = "Device Control";
inline constexpr std::string_view NodeControlBranch = "Node Control";
inline constexpr std::string_view LinkBranch = "Link";

/// An attribute among its siblings.
struct NameLevel
{
    std::wstring key;
    int occurrence = 0; ///< 0 for the first of its key

    friend bool operator==(NameLevel const&, NameLevel const&) = default;
};

/// Appends a level to the name of its parent, which is empty for the root. `isAttribute`: at the first level it keeps
/// clear of the names that are reserved.
void AppendLevel(std::string& name, std::wstring_view key, int occurrence, bool isAttribute = true);

/// The levels of a name. It takes the names of others, too: what is no escape and no number of an occurrence there is
/// part of the key.
std::vector<NameLevel> LevelsOfName(std::string_view name);

/// Whether the name is that branch or stands below it, and not an attribute.
bool IsBelow(std::string_view name, std::string_view branch);
/// Whether the name is none of an attribute.
bool IsReserved(std::string_view name);

} // namespace qx5::sparkplug
