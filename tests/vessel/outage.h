// A vessel that works on while its line, its programs and the archive ashore are killed; and what the archive then has.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace qx5::test {

struct OutageOptions
{
    std::string program; ///< the file of `qx5`
    /// That the archive is to have in the end; an hour at 20 a second.
    std::uint64_t events = 72'000;
    std::uint64_t seed = 1; ///< of when what is killed
    unsigned sonars = 8;    ///< each is asked for one event after another
    /// Something is killed, stopped or started after so many events, on the average.
    std::uint64_t incidentEvery = 400;
    /// Nothing comes of anything for so long: it is given up.
    std::chrono::seconds patience{120};
    /// Takes a line on what is done, on the thread of RunOutage; empty for nobody.
    std::function<void(std::string const&)> tell;
};

/// What was done, and what came of it.
struct OutageResult
{
    std::uint64_t events = 0;       ///< that were taken: see RunOutage
    std::uint64_t vesselKills = 0;  ///< kill -9 of `qx5 serve`
    std::uint64_t brokerKills = 0;  ///< kill -9 of mosquitto
    std::uint64_t brokerStops = 0;  ///< in order
    std::uint64_t archiveKills = 0; ///< kill -9 of `qx5 fleet log`
    double away = 0.0;              ///< of 1: how many events were taken while there was no broker
    std::uint64_t lost = 0;         ///< taken, and not in the archive
    std::uint64_t twice = 0;
    std::uint64_t outOfOrder = 0; ///< behind one that came later
    std::uint64_t gaps = 0;       ///< numbers that the outbox gave up
    std::uint64_t outboxes = 0;   ///< that the archive knows: one is right
    /// Answered, but not on the disk yet when `qx5 serve` was killed: they were not taken.
    std::uint64_t untaken = 0;
    double oldestUntaken = 0.0;   ///< s from the answer to the kill
    std::uint64_t unanswered = 0; ///< asked for when `qx5 serve` was killed
    /// Answered otherwise than that the sonar has it: the connection to it was not there yet. They do not count.
    std::uint64_t otherwise = 0;
    double seconds = 0.0; ///< until the archive had all
    std::string problem;  ///< why it was given up, in one line; empty: it was not
};

/// Runs `qx5 serve` on a project of simulated sonars at a real broker by TLS, and `qx5 fleet log --archive` as the
/// archive ashore. The sonars, which outlive all kills, are asked by way of the program's own socket for a range that
/// no one was asked for before, one after another: each is an action of the log, which the outbox has to bring ashore.
/// Meanwhile programs are killed, as SIGKILL does, at moments that have nothing to do with what they are at; the
/// broker, which keeps nothing on its disk, is stopped and started besides. In the end all are there again, and the
/// archive takes what is left.
///
/// What is promised, and counted as an event: an action is taken once its entry is on the disk aboard, which it is
/// within OutboxOptions::longestDelay (0.1 s) of its answer as long as the disk keeps up. From then on it reaches the
/// archive once, in the order in which it was done. What was answered and not on the disk when the program was killed
/// was not taken: that is counted apart, with its greatest age. The outbox itself tells what was on the disk: it is
/// opened after each kill, before the program begins again. That an event which is missing had one behind it in the
/// same run of the program is a loss, whatever the disk says.
OutageResult RunOutage(OutageOptions const& options);

/// The result as one line of JSON, without its end.
std::string JsonOf(OutageResult const& result, OutageOptions const& options);

} // namespace qx5::test
