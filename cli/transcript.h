// What happens around one request of a session on the terminal, collected from all threads.
#pragma once

#include "cli/session.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include <simulator/sonar_server.h>

namespace qx5::cli {

/// Collects from Begin to Take, and shows it in a readable order. Of each kind the first `Greatest` are kept; of those
/// beyond, however fast a sonar tells them, there is one line that counts them. Any thread.
class Transcript
{
public:
    static constexpr std::size_t Greatest = 64;

    void OnSession(SessionEvent const& event);
    void OnSonar(simulator::SonarEvent const& event);

    /// What came before is of no request.
    void Begin();
    /// Waits until the sonar has taken what was sent and has answered, or is not going to.
    void WaitForSonar(bool simulated);
    /// What was collected, as text; forgets it.
    std::string Take();

private:
    /// What a sonar reports as a whole may be long; the host's tree has it all.
    struct Answer
    {
        CAttributeMap tree; ///< empty when it is long
        std::size_t lines = 0;
    };

    void Clear();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_collects = false;
    std::vector<SessionEvent> m_events;
    std::vector<std::string> m_understood;
    std::vector<Answer> m_answers;
    std::size_t m_sent = 0;
    std::size_t m_understoodAll = 0;
    std::size_t m_notKept = 0;
};

} // namespace qx5::cli
