// Calls whose exceptions end with them: what one says, for a line in the log.
#pragma once

#include <exception>
#include <optional>
#include <string>

namespace vordal {

/// Runs `call`; gives what an exception that left it says, nothing when none did.
template <typename Call>
std::optional<std::string> FailureOf(Call&& call)
{
    try {
        call();
        return std::nullopt;
    } catch (std::exception const& thrown) {
        return thrown.what();
    } catch (...) {
        return "an exception of an unknown kind";
    }
}

} // namespace vordal
