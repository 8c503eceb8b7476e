// A value of the simulated sonar as an operator writes it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <simulator/attribute.h>

namespace qx5::simulator {

/// "KEY=VALUE" or "KEY:KIND=VALUE" (any kind that goes over the link); a key of no
/// table needs its kind. Nothing, and one line in `error` that says what to do, when the text is none.
std::optional<Attribute> ParseAssignment(std::string_view assignment, std::string& error);

} // namespace qx5::simulator
