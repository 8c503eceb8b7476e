// What the record tables say, in words: conversions, carriers, places.
#pragma once

#include <protocol/record_layout.h>

#include <string>
#include <string_view>

namespace qx5::cli {

/// What becomes of a value on its way to the wire; empty for None.
std::string_view ConvertText(protocol::Convert convert);

/// How a record travels, in one word or two, for scripts: "command", "data", "passed on".
std::string_view CarrierName(protocol::Carrier carrier);

/// Where the field lies: "@16", "@4 bit 3".
std::string Place(protocol::Field const& field);

} // namespace qx5::cli
