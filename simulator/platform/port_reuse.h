// A port that was listened on a moment ago.
#pragma once

namespace qx5::simulator {

/// Lets a socket listen on a port on which connections of an earlier listener still come to their end, before it is
/// bound. Never on one on which another program listens.
void ReusePort(int socket);

} // namespace qx5::simulator
