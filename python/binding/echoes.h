// What a sonar hears, for Python.
#pragma once

#include "python/binding/waiting.h"
#include "python/live/any_sonar.h"

#include <memory>
#include <utility>

namespace qx5::python {

/// A handle of a feed of echoes; it leaves when it goes.
class PythonEchoes
{
public:
    PythonEchoes(std::shared_ptr<live::AnySonar> const& sonar, std::shared_ptr<live::EchoFeed> feed)
        : m_sonar(sonar), m_feed(std::move(feed))
    {
    }
    PythonEchoes(PythonEchoes&&) = default;
    PythonEchoes& operator=(PythonEchoes&&) = delete;
    ~PythonEchoes() { End(); }

    /// None when nothing came in time or the feed has ended.
    py::object Next(std::optional<double> seconds);
    bool HasEnded() const { return m_feed == nullptr || m_feed->HasEnded(); }
    std::uint64_t Lost() const { return m_feed != nullptr ? m_feed->Lost() : 0; }
    void End()
    {
        if (m_feed == nullptr || m_feed->HasEnded()) {
            return;
        }
        Away const away;
        if (auto const sonar = m_sonar.lock()) {
            sonar->Leave(m_feed);
        }
    }

private:
    std::weak_ptr<live::AnySonar> m_sonar;
    std::shared_ptr<live::EchoFeed> m_feed;
};

} // namespace qx5::python
