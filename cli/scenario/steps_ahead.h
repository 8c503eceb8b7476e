// Reads the steps of a scenario ahead of who runs them.
#pragma once

#include "cli/scenario/scenario_model.h"
#include "json/json_document.h"
#include "json/json_path.h"

#include <array>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace qx5::cli {

/// Is told a step, to change as it likes, and where it stands.
using TakeStep = std::function<void(ScenarioStep& step, JsonPath const& path)>;

/// The steps of a scenario, one after the other. The first are read when this is made; of more than these the further
/// ones are read on a thread of its own while the ones before are run. How much is ahead is bounded, and a step with a
/// large tree is ahead of nothing.
class StepsAhead
{
public:
    /// The steps stand at `path`; scenario, path and document must outlive this. Throws what reading one of the first
    /// throws, and what `check` does, if there is one, which is told each of them.
    StepsAhead(JsonItems const& steps, JsonPath const& path, Scenario const& scenario, TakeStep const& check);
    StepsAhead(StepsAhead const&) = delete;
    StepsAhead& operator=(StepsAhead const&) = delete;
    ~StepsAhead();

    /// How many are read before Next is first called. The others are to be checked by then.
    std::size_t First() const { return m_batches.front().count; }
    bool HasFurther() const { return !IsAtEnd(); }
    /// The next step, for whoever calls to change until the next call; null after the last. Throws what reading it
    /// threw.
    ScenarioStep* Next();

private:
    /// Steps that are read, handed over and destroyed together: what a thread has allocated it frees, too.
    struct Batch
    {
        static constexpr std::size_t Most = 64;
        /// Bytes of the file from which on a batch has enough.
        static constexpr std::size_t Enough = 1 << 14;
        /// Bytes of the file from which on a step is large.
        static constexpr std::size_t Large = 1 << 16;

        std::vector<ScenarioStep> steps; ///< `count` of them, and what is left of earlier ones
        std::size_t count = 0;
        bool isLarge = false; ///< one step
    };

    bool IsAtEnd() const { return m_next == m_end; }
    void Fill(Batch& batch, TakeStep const& check = {});
    void ReadOn();
    Batch& BatchOf(std::size_t number) { return m_batches[number % m_batches.size()]; }

    // Of the thread that reads, once there is one.
    JsonItems::Iterator m_next;
    JsonItems::Iterator const m_end;
    JsonPath const& m_path;
    Scenario const& m_scenario;
    std::size_t m_index = 0;

    // Of the caller.
    Batch* m_current = nullptr;
    std::size_t m_at = 0; ///< in it

    std::array<Batch, 12> m_batches; ///< each of the caller's or of the reader's, as the counts tell
    std::mutex m_mutex;              ///< guards what follows
    std::condition_variable m_changed;
    std::size_t m_filled = 0; ///< batches
    std::size_t m_done = 0;   ///< of these, given back
    /// With so many left, or fewer, a reader that waits goes on.
    std::size_t m_few = 0;
    bool m_isRead = false; ///< nothing more comes
    bool m_isStopped = false;
    std::exception_ptr m_failure;
    std::thread m_reader;
};

} // namespace qx5::cli
