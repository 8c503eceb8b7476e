// Where a sonar is, as people write it.
#pragma once

#include <cstdint>
#include <string>

namespace qx5::operation {

/// Splits "HOST:PORT" (also "[::1]:7000"); false and one line in `error` when it is none.
bool ParseEndpoint(std::string const& text, std::string& host, std::uint16_t& port, std::string& error);

} // namespace qx5::operation
