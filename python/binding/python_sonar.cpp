// A sonar as Python has it.
#include "python/binding/python_sonar.h"

#include "operation/action_values.h"
#include "operation/sonar_limits.h"

#include <protocol/catalogue.h>
#include <protocol/utf8.h>

#include <unistd.h>

#include <pybind11/stl.h>

namespace qx5::python {

namespace {

std::string ConditionName(operation::SonarCondition condition)
{
    switch (condition) {
    case operation::SonarCondition::NotConnected:
        return "not connected";
    case operation::SonarCondition::Well:
        return "well";
    case operation::SonarCondition::Silent:
        return "silent";
    }
    return {};
}

} // namespace

std::function<void()> PythonMailbox::Putting(std::optional<std::uint64_t> sign) const
{
    return sign ? std::function<void()>([box = m_box, number = *sign] { box->Put(number); }) : std::function<void()>();
}

py::tuple PythonMailbox::Take(Seconds seconds)
{
    live::Mailbox::Post post;
    WaitInterruptibly(seconds, [&](std::chrono::milliseconds limit) {
        post = m_box->Take(limit);
        return post.isClosed || !post.signs.empty() || !post.lines.empty();
    });
    py::list lines;
    for (auto const& line : post.lines) {
        lines.append(py::make_tuple(static_cast<int>(line.level),
                                    py::reinterpret_steal<py::object>(PyUnicode_DecodeUTF8(
                                        line.text.data(), static_cast<Py_ssize_t>(line.text.size()), "replace"))));
    }
    return py::make_tuple(py::cast(post.signs), lines, post.lostLines, post.isClosed);
}

PythonFeed::~PythonFeed()
{
    if (m_feed != nullptr) {
        End();
    }
}

bool PythonFeed::Wait(Seconds seconds)
{
    return WaitInterruptibly(seconds, [&](std::chrono::milliseconds limit) { return m_feed->Wait(limit); });
}

py::list PythonFeed::Take(std::size_t greatest)
{
    py::list taken;
    for (auto const& change : m_feed->Take(greatest)) {
        taken.append(py::make_tuple(protocol::EncodeUtf8(change.key), FirstToPython(change.now),
                                    FirstToPython(change.before), change.time));
    }
    return taken;
}

void PythonFeed::End()
{
    Away const away;
    if (auto const sonar = m_sonar.lock()) {
        sonar->News().Remove(m_feed.get());
    }
    m_feed->End();
}

bool PythonRequest::WaitUntilCarriedOut(Seconds seconds)
{
    return WaitInterruptibly(seconds,
                             [&](std::chrono::milliseconds limit) { return m_request->WaitUntilCarriedOut(limit); });
}

bool PythonRequest::Wait(Seconds seconds)
{
    return WaitInterruptibly(seconds,
                             [&](std::chrono::milliseconds limit) { return m_request->WaitUntilItStands(limit); });
}

py::tuple PythonRequest::Outcome() const
{
    auto const state = m_request->Now();
    return py::make_tuple(operation::ToText(state.result), state.reason, state.isConnectionLost, state.holder);
}

PythonSonar::PythonSonar() : m_process(getpid()) {}

PythonSonar::~PythonSonar()
{
    if (m_process != getpid()) {
        // The threads that the end would wait for did not come along.
        new std::shared_ptr<live::AnySonar>(std::move(m_any));
        return;
    }
    Away const away;
    m_any.reset();
}

void PythonSonar::Close()
{
    RefuseAnotherProcess();
    Away const away;
    m_any->Close();
}

live::SonarConnection PythonSonar::ConnectionNow() const
{
    Away const away;
    return m_any->Connection();
}

py::tuple PythonSonar::Connection() const
{
    auto const connection = ConnectionNow();
    return py::make_tuple(connection.state, connection.reason);
}

std::string PythonSonar::Condition() const
{
    Away const away;
    return ConditionName(m_any->Condition());
}

std::optional<std::uint64_t> PythonSonar::WaitForNews(std::uint64_t seen, Seconds seconds)
{
    std::uint64_t news = seen;
    WaitInterruptibly(seconds, [&](std::chrono::milliseconds limit) {
        news = m_any->News().Wait(seen, limit);
        return news != seen || m_any->News().IsClosed();
    });
    return news != seen ? std::optional(news) : std::nullopt;
}

py::object PythonSonar::Attributes() const
{
    CAttributeMap tree;
    {
        Away const away;
        tree = m_any->Attributes();
    }
    return TreeToPython(tree);
}

py::object PythonSonar::Get(std::string const& name) const
{
    protocol::Key const& key = KeyNamed(name);
    CAttributeMap tree;
    {
        Away const away;
        tree = m_any->Attributes();
    }
    return FirstToPython(live::NodesOf(tree, key.text));
}

std::vector<std::pair<std::optional<double>, std::optional<double>>> PythonSonar::Limits(std::string const& name) const
{
    protocol::Key const& key = KeyNamed(name);
    std::vector<std::pair<std::optional<double>, std::optional<double>>> ranges;
    if (operation::SonarLimits::HasLimits(key)) {
        CAttributeMap tree;
        {
            Away const away;
            tree = m_any->Attributes();
        }
        operation::SonarLimits const limits(tree, CAttributeMap());
        for (std::size_t part = 0; part < (key.kind == protocol::Kind::Pair ? 2 : 1); ++part) {
            auto const range = limits.RangeOf(key, part);
            ranges.emplace_back(range.least, range.greatest);
        }
    }
    return ranges;
}

PythonRequest PythonSonar::Request(py::handle pairs)
{
    RefuseAnotherProcess();
    CAttributeMap const request = TreeFromPairs(pairs);
    return PythonRequest(m_any->Request(request));
}

PythonRequest PythonSonar::RequestAndWait(py::handle pairs)
{
    PythonRequest request = Request(pairs);
    request.WaitUntilCarriedOut(std::nullopt);
    return request;
}

PythonFeed PythonSonar::Follow(std::vector<std::string> const& names, PythonMailbox const* mailbox,
                               std::optional<std::uint64_t> sign)
{
    RefuseAnotherProcess();
    std::vector<std::wstring> keys;
    for (std::string const& name : names) {
        keys.emplace_back(KeyNamed(name).text);
    }
    auto ready = mailbox != nullptr ? mailbox->Putting(sign) : std::function<void()>();
    Away const away;
    return PythonFeed(m_any->Follow(std::move(keys), std::move(ready)), m_any);
}

PythonEchoes PythonSonar::Echoes(bool waterColumn)
{
    RefuseAnotherProcess();
    Away const away;
    return {m_any, m_any->FollowEchoes(waterColumn ? SONAR_WATER_COLUMN_GROUP : SONAR_DETECTIONS_GROUP)};
}

bool PythonSonar::Ping()
{
    Raise("NotAshore",
          "a ping by itself is for who is aboard; ping_on_off_state and ping_rate are asked for from ashore, too");
}

PythonRecorder PythonSonar::Record(std::string const&, std::string const&)
{
    Raise("NotAshore", "what passes between a sonar and its vessel is recorded aboard: `qx5 run --record`");
}

} // namespace qx5::python
