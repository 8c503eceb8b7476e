// What the simulated sonar does, as lines of text for people.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include <simulator/sonar_server.h>

namespace qx5::simulator {

struct ConsoleOptions
{
    bool verbose = false; ///< every field of every record, below its line
    bool pings = false;   ///< a line for each ping and for its echoes
};

/// Takes lines without the ending newline, some of several lines. On the sonar's thread.
using LineSink = std::function<void(std::string_view line)>;

/// "12:34:56.789  #1  1003 range  x5Range=50 m": time (UTC), connection, record, what it sets. `options` tell what is
/// left out; nothing when the event is.
std::string EventLine(SonarEvent const& event, ConsoleOptions const& options);

/// A sink of events that gives a line for each one that is shown.
EventSink ConsoleSink(ConsoleOptions options, LineSink lines);

} // namespace qx5::simulator
