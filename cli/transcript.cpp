// What happens around one request of a session on the terminal, collected from all threads.
#include "cli/transcript.h"

#include "cli/event_text.h"
#include "cli/sonar_frames.h"
#include "reference_host/attributes/tree_account.h"
#include "reference_host/attributes/tree_merge.h"

#include <chrono>
#include <utility>

#include <fmt/format.h>
#include <simulator/sonar_console.h>

namespace qx5::cli {

namespace {

/// An answer beyond one of these is told by its number of lines.
constexpr vordal::TreeSize greatestAnswer{12, std::size_t{16} << 10};

} // namespace

void Transcript::OnSession(SessionEvent const& event)
{
    std::lock_guard const lock(m_mutex);
    if (!m_collects) {
        return;
    }
    if (event.kind == SessionEvent::Kind::Received) {
        if (m_answers.size() == Greatest) {
            ++m_notKept;
        } else if (auto told = ToldAttributes(event.frame)) {
            auto const size = vordal::SizeOf(*told);
            bool const isLong = size.keys > greatestAnswer.keys || size.bytes > greatestAnswer.bytes;
            m_answers.push_back({isLong ? CAttributeMap() : std::move(*told), size.keys});
        }
    } else {
        m_sent += event.kind == SessionEvent::Kind::Sent ? 1 : 0;
        if (m_events.size() == Greatest) {
            ++m_notKept;
        } else {
            m_events.push_back(event);
        }
    }
    m_changed.notify_all();
}

void Transcript::OnSonar(simulator::SonarEvent const& event)
{
    if (event.kind != simulator::EventKind::Record) {
        return;
    }
    std::lock_guard const lock(m_mutex);
    if (!m_collects) {
        return;
    }
    ++m_understoodAll;
    if (m_understood.size() == Greatest) {
        ++m_notKept;
    } else {
        m_understood.push_back(simulator::EventLine(event, {}));
    }
    m_changed.notify_all();
}

void Transcript::Begin()
{
    std::lock_guard const lock(m_mutex);
    Clear();
    m_collects = true;
}

void Transcript::WaitForSonar(bool simulated)
{
    std::unique_lock lock(m_mutex);
    if (m_sent == 0) {
        return;
    }
    m_changed.wait_for(lock, std::chrono::seconds(2),
                       [&] { return !m_answers.empty() && (!simulated || m_understoodAll >= m_sent); });
}

std::string Transcript::Take()
{
    std::lock_guard const lock(m_mutex);
    std::string text;
    for (SessionEvent const& event : m_events) {
        text += EventText(event, "  ", false);
    }
    for (std::string const& line : m_understood) {
        text += fmt::format("  the sonar understood\n{}", Indented(line, "    "));
    }
    for (Answer const& answer : m_answers) {
        if (answer.tree.Count() > 0 || answer.lines == 0) {
            text += "  the sonar answered\n" + Indented(vordal::TreeText(answer.tree), "    ");
        } else if (answer.lines > greatestAnswer.keys) {
            text += fmt::format("  the sonar answered with {} lines of settings\n", answer.lines);
        } else {
            text += "  the sonar answered with a long text\n";
        }
    }
    if (m_notKept > 0) {
        text += fmt::format("  and {} more that are not shown\n", m_notKept);
    }
    Clear();
    m_collects = false;
    return text;
}

void Transcript::Clear()
{
    m_events.clear();
    m_understood.clear();
    m_answers.clear();
    m_sent = 0;
    m_understoodAll = 0;
    m_notKept = 0;
}

} // namespace qx5::cli
