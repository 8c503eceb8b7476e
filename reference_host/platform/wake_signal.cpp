// A signal for which one thread sleeps, at the least cost that the platform has.
#include "reference_host/platform/wake_signal.h"

#include <cerrno>
#include <system_error>

#include <semaphore.h>

namespace vordal::platform {

struct WakeSignal::State
{
    sem_t semaphore;
};

WakeSignal::WakeSignal() : m_state(std::make_unique<State>())
{
    if (sem_init(&m_state->semaphore, 0, 0) != 0) {
        throw std::system_error(errno, std::generic_category(), "no semaphore for the host thread");
    }
}

WakeSignal::~WakeSignal()
{
    sem_destroy(&m_state->semaphore);
}

void WakeSignal::Raise()
{
    sem_post(&m_state->semaphore);
}

void WakeSignal::Wait()
{
    // A signal handler of the process may end the sleep early.
    while (sem_wait(&m_state->semaphore) != 0 && errno == EINTR) {
    }
}

} // namespace vordal::platform
