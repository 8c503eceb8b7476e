// The commit that the program qx5 is built from.
#pragma once

namespace qx5::cli {

/// Its first twelve digits, with a word when files differed from it; "unknown" when it was built outside a checkout
/// and of no archive that tells it.
/// Only the program itself has it, not the library of its commands.
extern char const* const programCommit;

} // namespace qx5::cli
