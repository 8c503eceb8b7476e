// What an action asked for, value by value, and how people are told of it.
#pragma once

#include "operation/action.h"

#include <string>
#include <string_view>
#include <vector>

namespace qx5::operation {

/// One value of an action; null for none. Valid as long as the action.
struct ActionValue
{
    std::string path;      ///< the keys in UTF-8, with / between those of branches
    std::wstring_view key; ///< the last of them
    CVordalType const* before = nullptr;
    CVordalType const* asked = nullptr;
    CVordalType const* got = nullptr;

    /// Whether the sonar is known to have something else than was asked for.
    bool Differs() const;
};

/// Those of the nodes asked for that have a value or no children, in order.
std::vector<ActionValue> ValuesOf(Action const& action);

/// "50 m": the value with the unit of its key, in UTF-8, cut to a length that a line takes; "none" for null.
std::string ValueText(std::wstring_view key, CVordalType const* value);

/// "agrees", "differs", "not sent" and so on.
std::string_view ToText(Result result);

} // namespace qx5::operation
