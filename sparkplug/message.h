// What passes between a state machine of Sparkplug and whoever has the connection.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace qx5::sparkplug {

/// To be published, or the will of a connection that is to be made.
struct Message
{
    std::string topic;
    std::string payload;
    int qos = 0;
    bool isRetained = false;
};

/// One moment on both clocks: of the one that never goes back, and of the one that people read.
struct Moment
{
    std::chrono::steady_clock::time_point steady;
    std::uint64_t utc = 0; ///< milliseconds since 1970
};
using Clock = std::function<Moment()>;

/// The system's clocks.
Moment SystemMoment();

} // namespace qx5::sparkplug
