// The manual that the program carries: its pages, one after the other.
#pragma once

#include <string>

namespace qx5::cli {

/// Markdown, UTF-8: each page begins with a heading of the first level, in the order of the manual's index.
std::string WholeManual();

} // namespace qx5::cli
