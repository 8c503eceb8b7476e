// The thread on which a simulated sonar's echoes are computed, beside the one that its hosts are on.
#include <simulator/echo_worker.h>

#include <algorithm>
#include <exception>
#include <utility>

#include <simulator/echo_frames.h>

namespace qx5::simulator {

EchoWorker::EchoWorker(Hear hear, Done done) : m_hear(std::move(hear)), m_done(std::move(done)) {}

EchoWorker::~EchoWorker()
{
    Stop();
}

void EchoWorker::Submit(EchoJob job)
{
    {
        std::lock_guard const lock(m_mutex);
        if (m_isEnding) {
            return;
        }
        auto const before = std::find_if(m_waiting.begin(), m_waiting.end(),
                                         [&](EchoJob const& waiting) { return waiting.head == job.head; });
        if (before != m_waiting.end()) {
            m_skipped.fetch_add(1, std::memory_order_relaxed);
            *before = std::move(job);
        } else {
            m_waiting.push_back(std::move(job));
        }
        if (!m_thread.joinable()) {
            m_thread = std::thread([this] { Run(); });
        }
    }
    m_changed.notify_one();
}

void EchoWorker::Stop()
{
    {
        std::lock_guard const lock(m_mutex);
        m_isEnding = true;
    }
    m_changed.notify_one();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void EchoWorker::Run()
{
    for (;;) {
        EchoJob job;
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [this] { return m_isEnding || !m_waiting.empty(); });
            if (m_isEnding) {
                return;
            }
            job = std::move(m_waiting.front());
            m_waiting.erase(m_waiting.begin());
        }
        try {
            Compute(job);
        } catch (std::exception const&) { // no memory, or more than a container holds
            m_skipped.fetch_add(1, std::memory_order_relaxed);
        }
    }
}

void EchoWorker::Compute(EchoJob const& job)
{
    auto failure = m_hear(job, m_echoes);
    m_echoes.number = job.number;
    m_echoes.utcSeconds = job.utcSeconds;
    HeardPing heard{job.head, job.number, job.wish, nullptr, nullptr, {}, {}, {}};
    if (failure) {
        heard.failure = std::move(failure->line);
    }
    if (job.wish.detections) {
        heard.detections = DetectionsFrame(job.from, m_echoes);
    }
    if (job.wish.waterColumn) {
        heard.waterColumn = WaterColumnFrame(job.from, m_echoes);
    }
    if (job.tracking && !failure) {
        heard.settings = job.settings;
        heard.tracked = m_tracker.Next(m_echoes, job.settings, job.tracking->switches, job.tracking->limits);
    }
    m_done(std::move(heard));
}

} // namespace qx5::simulator
