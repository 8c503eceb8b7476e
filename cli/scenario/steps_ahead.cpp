// Reads the steps of a scenario ahead of who runs them.
#include "cli/scenario/steps_ahead.h"

#include "cli/scenario/step_reader.h"

namespace qx5::cli {

StepsAhead::StepsAhead(JsonItems const& steps, JsonPath const& path, Scenario const& scenario, TakeStep const& check)
    : m_next(steps.begin()), m_end(steps.end()), m_path(path), m_scenario(scenario)
{
    Fill(m_batches.front(), check);
}

StepsAhead::~StepsAhead()
{
    {
        std::lock_guard const lock(m_mutex);
        m_isStopped = true;
    }
    m_changed.notify_all();
    if (m_reader.joinable()) {
        m_reader.join();
    }
}

void StepsAhead::Fill(Batch& batch, TakeStep const& check)
{
    batch.count = 0;
    batch.isLarge = false;
    batch.steps.reserve(Batch::Most);
    for (std::size_t bytes = 0; batch.count < Batch::Most && bytes < Batch::Enough && !IsAtEnd(); ++m_next, ++m_index) {
        auto const size = m_next->Extent();
        if (size >= Batch::Large) {
            if (batch.count > 0) {
                return;
            }
            batch.isLarge = true;
        }
        if (batch.count == batch.steps.size()) {
            batch.steps.emplace_back();
        }
        JsonPath const path(m_path, m_index);
        auto& step = batch.steps[batch.count];
        ReadStep(step, *m_next, path, m_scenario, StepUse::Run);
        if (check) {
            check(step, path);
        }
        ++batch.count;
        bytes += size;
    }
}

ScenarioStep* StepsAhead::Next()
{
    if (m_current == nullptr) {
        m_current = m_batches.data();
        m_filled = 1;
        m_isRead = IsAtEnd();
        if (!m_isRead) {
            m_reader = std::thread([this] { ReadOn(); });
        }
    }
    if (m_at == m_current->count) {
        if (m_current->isLarge) {
            m_current->steps.front().argument = NoArgument();
        }
        std::unique_lock lock(m_mutex);
        ++m_done;
        if (m_filled - m_done <= m_few) {
            m_changed.notify_all();
        }
        m_changed.wait(lock, [&] { return m_filled > m_done || m_isRead; });
        if (m_filled == m_done) {
            --m_done; // the caller keeps it, should it ask once more
            if (m_failure != nullptr) {
                std::rethrow_exception(m_failure);
            }
            return nullptr;
        }
        m_current = &BatchOf(m_done);
        m_at = 0;
    }
    return &m_current->steps[m_at++];
}

void StepsAhead::ReadOn()
{
    for (bool goesOn = true; goesOn;) {
        bool const isLarge = m_next->Extent() >= Batch::Large;
        std::size_t number = 0;
        {
            std::unique_lock lock(m_mutex);
            // Once all are filled, it waits until a few are left: to be woken for each costs more than the batch, and
            // those few are run while it wakes.
            constexpr std::size_t few = 4;
            if (m_filled - m_done >= (isLarge ? 1 : m_batches.size())) {
                m_few = isLarge ? 0 : few;
                m_changed.wait(lock, [&] { return m_isStopped || m_filled - m_done <= m_few; });
            }
            if (m_isStopped) {
                return;
            }
            number = m_filled;
        }
        std::exception_ptr failure;
        try {
            Fill(BatchOf(number));
        } catch (...) {
            failure = std::current_exception();
        }
        std::lock_guard const lock(m_mutex);
        m_filled += failure == nullptr ? 1 : 0;
        m_isRead = failure != nullptr || IsAtEnd();
        m_failure = failure;
        goesOn = !m_isRead;
        m_changed.notify_all();
    }
}

} // namespace qx5::cli
