// Calls whose exceptions end with them: what one says, for a line in the log.
#pragma once

#include "reference_host/common/log.h"

#include <exception>
#include <new>
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

/// Runs `call`, and once more when memory ran out in it, for what must not be left undone and can be begun again.
template <typename Call>
decltype(auto) OrOnceMore(Call const& call)
{
    try {
        return call();
    } catch (std::bad_alloc const&) {
        return call();
    }
}

/// Runs `call`; when it fails, one line in the log says `what` and why. Lets nothing out, also without any memory.
template <typename Call>
void LogFailureOf(char const* what, Call&& call) noexcept
{
    try {
        if (auto const failure = FailureOf(call)) {
            Log(LogLevel::Error, what + *failure);
        }
    } catch (...) {
        Log(LogLevel::Error, what);
    }
}

} // namespace vordal
