// One attribute of the simulated sonar.
#pragma once

#include <string>

#include <protocol/record_layout.h>
#include <protocol/value.h>

namespace qx5::simulator {

/// One attribute that the sonar holds.
struct Attribute
{
    std::wstring text;
    protocol::Key const* key = nullptr; ///< null for a text that no table knows
    protocol::Value value;
};

} // namespace qx5::simulator
