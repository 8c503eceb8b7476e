// What a program ashore says of itself, retained at the broker: that it is there, and since when.
#pragma once

#include "sparkplug/message.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qx5::sparkplug {

struct HostState
{
    bool isOnline = false;
    std::uint64_t timestamp = 0; ///< milliseconds since 1970, UTC, when the connection was made that says so

    friend bool operator==(HostState const&, HostState const&) = default;
};

/// To be published once connected, and, offline and with the same time, the will of that connection. QoS 1, retained.
Message MakeHostState(std::string_view host, HostState const& state);

/// Takes any bytes. Nothing, and one line in `error`, when they are no such state.
std::optional<HostState> ReadHostState(std::string_view payload, std::string& error);

} // namespace qx5::sparkplug
