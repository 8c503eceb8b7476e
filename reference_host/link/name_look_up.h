// Looking up host names without ever waiting for the answer.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "sonar_link.h"

namespace vordal {

/// What a look-up gave: addresses, or why there are none.
struct NameLookUpResult
{
    std::vector<std::string> addresses;
    std::string failure;
};

/// Starts `lookUp` (empty: the system's) for `host` on a thread of its own, which nobody ever joins, and calls `done`
/// there with the result. False when too many look-ups are under way or no thread is to be had; `done` is not called
/// then. `done` must own all it touches: it may be called long after everybody has lost interest.
bool StartNameLookUp(std::string host, NameLookUp lookUp, std::function<void(NameLookUpResult)> done);

inline constexpr std::size_t NameLookUpsAtATime = 16;

} // namespace vordal
