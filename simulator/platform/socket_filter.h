// What a pulled cable does to a socket.
#pragma once

namespace qx5::simulator {

/// Takes each segment away that arrives for the socket, as if it had never come: nothing is acknowledged, no
/// connection taken. Or lets them through again. `socket` is the system's handle. False where the system cannot.
bool DropWhatArrives(int socket, bool drop);

} // namespace qx5::simulator
