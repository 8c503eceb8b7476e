// What asks a program to end on Windows: Ctrl+C, Ctrl+Break, a console that is closed, a session that ends.
#include "cli/platform/end_signals.h"

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <system_error>

namespace qx5::cli {

namespace {

/// Made once, for the life of the process: the system calls the handler on a thread of its own.
HANDLE wanted = nullptr;
std::atomic<int> count = 0;
std::atomic<int> interrupts = 0;

constexpr int enoughInterrupts = 3;
/// What the system gives a process that Ctrl+C has ended.
constexpr UINT endedByControl = 0xC000013A;

BOOL WINAPI OnEvent(DWORD event)
{
    bool const isInterrupt = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
    count.fetch_add(1);
    SetEvent(wanted);
    if (isInterrupt) {
        return interrupts.fetch_add(1) + 1 < enoughInterrupts ? TRUE : FALSE;
    }
    // The system ends the process on return, and after some seconds anyway: until then there is time for an orderly
    // end.
    Sleep(INFINITE);
    return TRUE;
}

} // namespace

EndSignals::EndSignals()
{
    if (wanted == nullptr) {
        wanted = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        if (wanted == nullptr) {
            throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                                    "no handle is left for the signals to end");
        }
    }
    // What came for an earlier one is not for this.
    ResetEvent(wanted);
    count = 0;
    interrupts = 0;
    SetConsoleCtrlHandler(OnEvent, TRUE);
}

EndSignals::~EndSignals()
{
    SetConsoleCtrlHandler(OnEvent, FALSE);
}

void EndSignals::PassOn()
{
    if (count.load() > 0) {
        std::fflush(stdout);
        ExitProcess(endedByControl);
    }
}

int EndSignals::Count()
{
    return count.load();
}

int EndSignals::Descriptor() const
{
    return static_cast<int>(reinterpret_cast<std::intptr_t>(wanted));
}

} // namespace qx5::cli
