// The settings of a sonar: keys whose values it keeps until it is given others, as the commands' tables tell.
#pragma once

#include "command.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <span>
#include <string_view>

namespace qx5 {

/// One setting.
struct Setting
{
    Command const* command; ///< the first in the chain that takes it
    Operand const* operand;

    protocol::Key const& Key() const { return *operand->key; }
};

/// All settings in the order in which the chain takes them, each once.
std::span<Setting const> Settings();

/// The setting of that key; null when there is none.
Setting const* FindSetting(std::wstring_view key);

/// The node of the device's tree that holds the setting, or null.
CAttributeMap const* StoredNode(CAttributeMap const& tree, Setting const& setting);

} // namespace qx5
