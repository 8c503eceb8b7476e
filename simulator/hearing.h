// What a simulated sonar hears: the scene that its options name, for each of its heads.
#pragma once

#include <string>

#include <simulator/echo_worker.h>

namespace qx5::simulator {

struct ServerOptions;

/// Empty, and one line in `error`, for a scene that there is not or a depth that it cannot have. The heads hear the
/// same scene from the same ship, each with a memory of its own.
EchoWorker::Hear HearingOf(ServerOptions const& options, std::string& error);

} // namespace qx5::simulator
