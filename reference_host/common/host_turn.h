// The span of one request or notification, for what must stay as it is until that has ended.
#pragma once

#include <cstdint>

namespace vordal {

/// Made where a request or a notification begins, on its thread's stack. Nested ones belong to the outermost.
class HostTurn
{
public:
    HostTurn();
    HostTurn(HostTurn const&) = delete;
    HostTurn& operator=(HostTurn const&) = delete;
    ~HostTurn();

    /// The number of the turn that this thread is in: the same for as long as it lasts, never used again. Outside of
    /// any turn each call gives a new number. Never 0.
    static std::uint64_t Current();
};

} // namespace vordal
