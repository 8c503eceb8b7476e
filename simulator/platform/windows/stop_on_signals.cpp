// What ends the simulated sonar on Windows: Ctrl+C, Ctrl+Break, a console that is closed, a session that ends.
#include <simulator/run_simulator.h>

#include <windows.h>

#include <mutex>

namespace qx5::simulator {

namespace {

std::mutex mutex; // guards `stopped`
SimulatorStop* stopped = nullptr;

BOOL WINAPI OnEvent(DWORD event)
{
    {
        std::lock_guard const lock(mutex);
        if (stopped == nullptr) {
            return FALSE;
        }
        stopped->Request();
    }
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        // The system ends the process on return, and after some seconds anyway: until then there is time for an orderly
        // end.
        Sleep(INFINITE);
    }
    return TRUE;
}

} // namespace

struct StopOnSignals::Implementation
{
};

StopOnSignals::StopOnSignals(SimulatorStop& stop)
{
    {
        std::lock_guard const lock(mutex);
        stopped = &stop;
    }
    SetConsoleCtrlHandler(OnEvent, TRUE);
}

StopOnSignals::~StopOnSignals()
{
    SetConsoleCtrlHandler(OnEvent, FALSE);
    std::lock_guard const lock(mutex);
    stopped = nullptr;
}

} // namespace qx5::simulator
