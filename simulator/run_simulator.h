// The simulated sonar as a program: options, commands from a stream, lines to a stream, an orderly end.
#pragma once

#include <condition_variable>
#include <iosfwd>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include <simulator/sonar_server.h>

namespace qx5::simulator {

/// Ends a running simulator. Request is for any thread, not for a signal handler; see StopOnSignals.
class SimulatorStop
{
public:
    void Request();
    void Wait();
    bool IsRequested();

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_requested = false;
};

/// Turns an interrupt or a request to terminate (SIGINT, SIGTERM) into `stop.Request()` while it lives. One at a time.
class StopOnSignals
{
public:
    explicit StopOnSignals(SimulatorStop& stop);
    StopOnSignals(StopOnSignals const&) = delete;
    StopOnSignals& operator=(StopOnSignals const&) = delete;
    ~StopOnSignals();

private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

struct SimulatorOptions
{
    ServerOptions server;
    bool verbose = false;   ///< every field of every record
    bool showState = false; ///< the whole state when it ends
    /// End with the commands; otherwise their end is no reason to stop, so that the program runs without a terminal.
    bool stopAtEndOfCommands = false;
};

/// One line for an address at which other machines can reach the sonar; empty for one of this machine alone, and for
/// a text that is no address.
std::string ListenWarning(std::string_view address);

/// Listens, says where on `out` ("listening on 127.0.0.1:PORT" in the first line), prints what happens, carries out
/// commands line by line (those of SonarServer::Command, and "quit") and returns when `stop` was requested, or when
/// `out` has failed, which is left to its owner to tell. Gives 0 after an orderly end, 1 when it cannot listen, 2 for
/// an address or a scene that is none; why, in one line, on `err`, and ListenWarning.
///
/// A thread reads `commands`. When it still waits for a line at the end, it is left behind: `commands` must then live
/// as long as the process, as std::cin does. `out` and `err` are not touched after the return.
int RunSimulator(SimulatorOptions const& options, std::istream& commands, std::ostream& out, std::ostream& err,
                 SimulatorStop& stop);
/// The same with signals alone to end it.
int RunSimulator(SimulatorOptions const& options, std::istream& commands, std::ostream& out, std::ostream& err);

} // namespace qx5::simulator
