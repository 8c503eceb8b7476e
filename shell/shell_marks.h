// What the host's threads leave for the thread that answers shells: that attributes have changed, and what became of
// requests.
#pragma once

#include "operation/action_listener.h"
#include "shell/shell_messages.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace qx5::shell {

/// Neither side waits for the other. That something has changed is one mark, however often it happens.
class ShellMarks final : public operation::ActionListener
{
public:
    /// `wake` is called on any thread, with no lock held, when something begins to wait; it must not fail.
    explicit ShellMarks(std::function<void()> wake) : m_wake(std::move(wake)) {}

    // The thread that answers.
    /// Whether anybody wants to know of changes; without, they cost nothing.
    void SetWatched(bool watched) { m_isWatched.store(watched); }
    /// Whether attributes have changed since TakeChanged; until that nobody is woken for it again.
    bool HasChanged() const { return m_hasChanged.load(); }
    void TakeChanged() { m_hasChanged.store(false); }
    /// Takes what became of requests, by the tickets that they were given.
    std::vector<std::pair<std::uint64_t, Answer>> TakeStanding();

    /// Asks the device for something on behalf of a shell. Host thread.
    void Ask(std::uint64_t ticket, CDataId const& sonar, CAttributeMap const& request);

    void OnActionBegins(operation::Action const& action) override;
    void OnActionStands(operation::Action const& action) override;
    void OnChanged(CDataId const& sonar) override;

private:
    void Put(std::uint64_t ticket, Answer answer);

    std::function<void()> const m_wake;
    std::atomic<bool> m_isWatched{false};
    std::atomic<bool> m_hasChanged{false};

    // Host thread.
    std::uint64_t m_asking = 0;                       ///< ticket of what is being asked for; 0 for none
    std::map<std::uint64_t, std::uint64_t> m_awaited; ///< tickets by the numbers of actions

    std::mutex m_mutex; ///< guards what follows
    std::vector<std::pair<std::uint64_t, Answer>> m_standing;
};

} // namespace qx5::shell
