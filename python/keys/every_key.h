// All keys that Python knows: those of records, and those that a sonar tells of itself.
#pragma once

#include <protocol/record_layout.h>

#include <span>

namespace qx5::python {

/// Each once, those of records first, in the order of their texts.
std::span<protocol::Key const* const> EveryKey();

} // namespace qx5::python
