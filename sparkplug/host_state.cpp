// The state of a host as JSON.
#include "sparkplug/host_state.h"

#include "sparkplug/topic.h"

#include <json/json_parser.h>
#include <json/json_path.h>
#include <json/json_read.h>

#include <fmt/format.h>

#include <cstddef>
#include <limits>

namespace qx5::sparkplug {

namespace {

/// Far more than any takes.
constexpr std::size_t stateLimit = 4096;

} // namespace

Message MakeHostState(std::string_view host, HostState const& state)
{
    return {HostStateTopic(host), fmt::format(R"({{"online":{},"timestamp":{}}})", state.isOnline, state.timestamp), 1,
            true};
}

std::optional<HostState> ReadHostState(std::string_view payload, std::string& error)
{
    if (payload.size() > stateLimit) {
        error = fmt::format("the state of a host of {} bytes is refused; it may have {}", payload.size(), stateLimit);
        return std::nullopt;
    }
    try {
        auto const document = ParseJson(std::string(payload));
        JsonPath const root;
        MemberReader members(document.Root(), root);
        return HostState{ReadBool(members.Get("online"), members.At("online")),
                         static_cast<std::uint64_t>(ReadInteger(members.Get("timestamp"), members.At("timestamp"), 0,
                                                                std::numeric_limits<std::int64_t>::max()))};
    } catch (InvalidDocument const& problem) {
        error = fmt::format("the state of a host is none: {}", problem.what());
        return std::nullopt;
    }
}

} // namespace qx5::sparkplug
