// Frames for the tests of the record monitor, and a wait that keeps the event loop running.
#pragma once

#include <cli/window/run_until.h>
#include <reference_host/monitor/record_queue.h>

#include <chrono>
#include <string>
#include <vector>

namespace qx5::test {

/// A frame of 96 bytes that asks for a range of 50 m.
std::vector<unsigned char> RangeFrame();
/// The same bytes with a range of 60 m.
std::vector<unsigned char> OtherRangeFrame();
/// A frame of 92 bytes that switches pings on, command 1100.
std::vector<unsigned char> PingsOnFrame();

vordal::CapturedFrame Captured(std::vector<unsigned char> bytes, bool outgoing = true, double time = 1700000000.0);

/// Runs the event loop until the condition holds; false when patience is over.
template <typename Condition>
bool RunUntil(Condition condition)
{
    return cli::RunUntil(condition, std::chrono::minutes(1));
}

} // namespace qx5::test
