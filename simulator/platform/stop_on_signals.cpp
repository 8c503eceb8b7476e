// Signals that end the simulated sonar, on POSIX systems.
#include <simulator/run_simulator.h>

#include <csignal>
#include <thread>

#include <asio.hpp>

namespace qx5::simulator {

struct StopOnSignals::Implementation
{
    asio::io_context context{1};
    asio::signal_set signals{context, SIGINT, SIGTERM};
    std::thread thread;
};

StopOnSignals::StopOnSignals(SimulatorStop& stop) : m_implementation(std::make_unique<Implementation>())
{
    m_implementation->signals.async_wait([&stop](asio::error_code const& error, int) {
        if (!error) {
            stop.Request();
        }
    });
    m_implementation->thread = std::thread([this] { m_implementation->context.run(); });
}

StopOnSignals::~StopOnSignals()
{
    m_implementation->context.stop();
    m_implementation->thread.join();
}

} // namespace qx5::simulator
