// Lines to a broker on which nothing small is held back.
#pragma once

#include <cstdint>

namespace qx5::broker {

/// Has each line of this process to that port send what it is given at once. Otherwise what follows an acknowledgement
/// waits until the other end's system has confirmed that, 40 ms later: the client library does not ask for more, and
/// lets nobody at its sockets, so they are looked for among the process's own. What is lost on a line that carries
/// little is sent again after one and the same time each time, not after twice as long: at 800 ms both ways, a second
/// loss costs one second and not two. Any thread.
void HoldNothingBack(std::uint16_t port);

} // namespace qx5::broker
