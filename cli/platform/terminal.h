// Whether a person sits at the other end of a standard stream.
#pragma once

namespace qx5::cli {

enum class Stream { Input, Output };

bool IsTerminal(Stream stream);

} // namespace qx5::cli
