// A line between an edge node and a host application, with a clock that a test sets.
#pragma once

#include "sparkplug/edge_node.h"
#include "sparkplug/host_application.h"
#include "sparkplug/payload.h"

#include <protocol/records/all.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace qx5::test {

namespace keys = protocol::keys;

/// Stands until it is moved.
class TestClock
{
public:
    sparkplug::Clock Read() const
    {
        return [this] { return now; };
    }
    void Pass(std::chrono::milliseconds time)
    {
        now.steady += time;
        now.utc += static_cast<std::uint64_t>(time.count());
    }
    sparkplug::Moment now{std::chrono::steady_clock::time_point(std::chrono::hours(1)), 1'700'000'000'000};
};

/// A message that was published, taken apart.
struct Told
{
    std::string topic;
    sparkplug::Payload payload;
    int qos = 0;
    bool isRetained = false;
};

inline Told TakeApart(sparkplug::Message const& message)
{
    std::string error;
    auto payload = sparkplug::DecodePayload(message.payload, error);
    EXPECT_TRUE(payload) << error;
    return {message.topic, payload ? *std::move(payload) : sparkplug::Payload(), message.qos, message.isRetained};
}

/// What was published and not yet taken.
class Published
{
public:
    bool Take(sparkplug::Message const& message)
    {
        if (!hasRoom) {
            return false;
        }
        messages.push_back(message);
        return true;
    }
    /// All topics since the last call, with the sequence number behind each.
    std::vector<std::string> Topics()
    {
        std::vector<std::string> topics;
        for (auto const& told : All()) {
            topics.push_back(told.topic + (told.payload.seq ? " " + std::to_string(*told.payload.seq) : ""));
        }
        return topics;
    }
    std::vector<Told> All()
    {
        std::vector<Told> all;
        for (auto const& message : std::exchange(messages, {})) {
            all.push_back(TakeApart(message));
        }
        return all;
    }

    std::vector<sparkplug::Message> messages;
    bool hasRoom = true;
};

inline sparkplug::Metric const* FindMetric(sparkplug::Payload const& payload, std::string_view name)
{
    for (auto const& metric : payload.metrics) {
        if (metric.name == name) {
            return &metric;
        }
    }
    return nullptr;
}

} // namespace qx5::test
