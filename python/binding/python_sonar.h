// A sonar as Python has it, with its requests and changes: what is the same for one on a connection of this process and
// one far away.
#pragma once

#include "python/binding/echoes.h"
#include "python/binding/python_values.h"
#include "python/binding/waiting.h"
#include "python/live/live_sonar.h"
#include "python/live/mailbox.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace qx5::python {

using Seconds = std::optional<double>;

/// What native threads put into it are signs; the numbers mean something to Python alone.
class PythonMailbox
{
public:
    std::shared_ptr<live::Mailbox> const& Box() const { return m_box; }

    std::function<void()> Putting(std::optional<std::uint64_t> sign) const;
    py::tuple Take(Seconds seconds);

private:
    std::shared_ptr<live::Mailbox> const m_box = std::make_shared<live::Mailbox>();
};

/// The changes that one follows.
class PythonFeed
{
public:
    explicit PythonFeed(std::shared_ptr<live::ChangeFeed> feed, std::weak_ptr<live::AnySonar> sonar)
        : m_feed(std::move(feed)), m_sonar(std::move(sonar))
    {
    }
    PythonFeed(PythonFeed&&) = default;
    PythonFeed& operator=(PythonFeed&&) = delete;
    ~PythonFeed();

    bool Wait(Seconds seconds);
    py::list Take(std::size_t greatest);
    void End();
    bool HasEnded() const { return m_feed->HasEnded(); }
    std::uint64_t Lost() const { return m_feed->Lost(); }

private:
    std::shared_ptr<live::ChangeFeed> m_feed;
    std::weak_ptr<live::AnySonar> m_sonar;
};

class PythonRequest
{
public:
    explicit PythonRequest(std::shared_ptr<live::LiveRequest> request) : m_request(std::move(request)) {}

    bool WaitUntilCarriedOut(Seconds seconds);
    bool Wait(Seconds seconds);
    /// The result's name, its reason, whether the connection was lost, who has the lease for want of which it was
    /// refused (None: it was not; empty: nobody).
    py::tuple Outcome() const;
    bool Stands() const { return m_request->Now().stands; }
    py::object Asked() const { return TreeToPython(m_request->Now().asked); }
    py::object Echoed() const { return TreeToPython(m_request->Now().echoed); }
    py::object Got() const { return TreeToPython(m_request->Now().got); }
    void TellWhenItStands(PythonMailbox const& mailbox, std::uint64_t sign)
    {
        m_request->WhenItStands(mailbox.Putting(sign));
    }

private:
    std::shared_ptr<live::LiveRequest> m_request;
};

/// A file that is being recorded into.
class PythonRecorder
{
public:
    explicit PythonRecorder(std::shared_ptr<recording::FlightRecorder> recorder, std::shared_ptr<live::LiveSonar> sonar)
        : m_recorder(std::move(recorder)), m_sonar(std::move(sonar))
    {
    }
    PythonRecorder(PythonRecorder&&) = default;
    PythonRecorder& operator=(PythonRecorder&&) = delete;
    ~PythonRecorder()
    {
        Away const away;
        m_recorder.reset();
        m_sonar.reset();
    }

    void Mark(std::string const& text) { m_recorder->Mark(text); }
    /// Empty when all was well.
    std::string Finish()
    {
        Away const away;
        m_sonar->RecordInto(nullptr);
        return m_recorder->Finish();
    }
    py::tuple Counts() const
    {
        auto const counts = m_recorder->Counts();
        return py::make_tuple(counts.messages, counts.bytes, counts.lost);
    }

private:
    std::shared_ptr<recording::FlightRecorder> m_recorder;
    std::shared_ptr<live::LiveSonar> m_sonar;
};

/// Ends with the interpreter's lock given away.
class PythonSonar
{
public:
    PythonSonar(PythonSonar const&) = delete;
    PythonSonar& operator=(PythonSonar const&) = delete;
    virtual ~PythonSonar();

    void Close();
    bool IsClosed() const { return m_any->News().IsClosed(); }
    bool IsConnected() const { return ConnectionNow().Stands(); }
    py::tuple Connection() const;
    std::string Condition() const;
    std::uint64_t News() const { return m_any->News().Count(); }
    /// None when nothing came.
    std::optional<std::uint64_t> WaitForNews(std::uint64_t seen, Seconds seconds);

    py::object Attributes() const;
    py::object Get(std::string const& name) const;
    std::vector<std::pair<std::optional<double>, std::optional<double>>> Limits(std::string const& name) const;
    PythonRequest Request(py::handle pairs);
    /// The same, carried out when it returns.
    PythonRequest RequestAndWait(py::handle pairs);
    PythonFeed Follow(std::vector<std::string> const& names, PythonMailbox const* mailbox,
                      std::optional<std::uint64_t> sign);
    virtual PythonEchoes Echoes(bool waterColumn);
    // Of one far away raise qx5.NotAshore.
    virtual bool Ping();
    virtual PythonRecorder Record(std::string const& file, std::string const& version);

protected:
    PythonSonar();
    /// Once, by who makes it.
    void SetSonar(std::shared_ptr<live::AnySonar> sonar) { m_any = std::move(sonar); }
    /// Raises qx5.Error in a process that was forked from the one that has the sonar.
    void RefuseAnotherProcess() const { python::RefuseAnotherProcess(m_process); }

private:
    live::SonarConnection ConnectionNow() const;

    std::shared_ptr<live::AnySonar> m_any;
    pid_t const m_process;
};

} // namespace qx5::python
