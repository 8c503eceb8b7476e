// The program around the simulated sonar.
#include <simulator/run_simulator.h>

#include <istream>
#include <ostream>
#include <string>
#include <thread>

#include <asio.hpp>

#include <simulator/sonar_console.h>

namespace qx5::simulator {

void SimulatorStop::Request()
{
    {
        std::lock_guard const lock(m_mutex);
        m_requested = true;
    }
    m_changed.notify_all();
}

void SimulatorStop::Wait()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_requested; });
}

bool SimulatorStop::IsRequested()
{
    std::lock_guard const lock(m_mutex);
    return m_requested;
}

namespace {

/// What the program and its reader of commands share; the reader may outlive the program.
struct Run
{
    std::mutex outMutex; // guards `out`
    std::ostream* out = nullptr;
    std::mutex commandMutex; // held through one command, so that the program does not end within it
    bool ended = false;
    bool readerDone = false;
    SonarServer* server = nullptr;
    SimulatorStop* stop = nullptr;

    void Line(std::string_view line)
    {
        std::lock_guard const lock(outMutex);
        *out << line << '\n' << std::flush;
        // A simulator that nobody can read ends; whose output it is tells why.
        if (!*out) {
            stop->Request();
        }
    }
};

void ReadCommands(std::shared_ptr<Run> const& run, std::istream& commands, bool stopAtEnd)
{
    std::string line;
    while (std::getline(commands, line)) {
        std::lock_guard const lock(run->commandMutex);
        if (run->ended) {
            return;
        }
        while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) {
            line.pop_back();
        }
        if (line.empty()) {
            continue;
        }
        if (line == "quit") {
            run->stop->Request();
            break;
        }
        std::string answer;
        run->server->Command(line, answer);
        if (!answer.empty()) {
            run->Line(answer);
        }
    }
    std::lock_guard const lock(run->commandMutex);
    run->readerDone = true;
    if (stopAtEnd && !run->ended) {
        run->stop->Request();
    }
}

} // namespace

std::string ListenWarning(std::string_view address)
{
    asio::error_code error;
    auto const parsed =
        asio::ip::make_address(address == "localhost" ? std::string("127.0.0.1") : std::string(address), error);
    if (error || parsed.is_loopback() ||
        (parsed.is_v6() && parsed.to_v6().is_v4_mapped() &&
         asio::ip::make_address_v4(asio::ip::v4_mapped, parsed.to_v6()).is_loopback())) {
        return {};
    }
    return "listening on " + std::string(address) +
           ": whoever reaches this machine can command the sonar; 127.0.0.1 is for this machine alone";
}

int RunSimulator(SimulatorOptions const& options, std::istream& commands, std::ostream& out, std::ostream& err,
                 SimulatorStop& stop)
{
    auto const run = std::make_shared<Run>();
    run->out = &out;
    run->stop = &stop;
    // The first line tells where it listens, whatever a host that is quicker makes happen; hence the lock.
    std::unique_lock firstLine(run->outMutex);
    SonarServer server(options.server, ConsoleSink({options.verbose, options.server.announcePings},
                                                   [run](std::string_view line) { run->Line(line); }));
    run->server = &server;
    if (auto const error = server.Start()) {
        err << "qx5 sim: " << error->text << '\n';
        return error->kind == StartError::Kind::BadAddress || error->kind == StartError::Kind::BadScene ? 2 : 1;
    }
    if (auto const warning = ListenWarning(options.server.address); !warning.empty()) {
        err << "qx5 sim: " << warning << '\n' << std::flush;
    }
    bool const isVersion6 = options.server.address.find(':') != std::string::npos;
    out << "listening on " << (isVersion6 ? "[" : "")
        << (options.server.address == "localhost" ? "127.0.0.1" : options.server.address) << (isVersion6 ? "]:" : ":")
        << std::to_string(server.Port()) << '\n'
        << std::flush;
    if (!out) {
        stop.Request();
    }
    firstLine.unlock();

    std::thread reader(
        [run, &commands, stopAtEnd = options.stopAtEndOfCommands] { ReadCommands(run, commands, stopAtEnd); });
    stop.Wait();
    bool readerDone = false;
    {
        std::lock_guard const lock(run->commandMutex);
        run->ended = true;
        readerDone = run->readerDone;
    }
    if (readerDone) {
        reader.join();
    } else {
        reader.detach();
    }

    std::string state;
    if (options.showState) {
        server.Command("state", state);
    }
    server.Stop();
    if (!state.empty()) {
        run->Line(state);
    }
    return 0;
}

int RunSimulator(SimulatorOptions const& options, std::istream& commands, std::ostream& out, std::ostream& err)
{
    SimulatorStop stop;
    StopOnSignals const signals(stop);
    return RunSimulator(options, commands, out, err, stop);
}

} // namespace qx5::simulator
