// Sonars, requests and changes for Python.
#include "python/binding/echoes.h"
#include "python/binding/module.h"
#include "python/binding/python_values.h"
#include "python/binding/waiting.h"

#include "operation/action_values.h"
#include "operation/endpoint.h"
#include "operation/sonar_limits.h"
#include "python/live/live_sonar.h"
#include "python/live/mailbox.h"
#include "recording/recording_error.h"
#include "reference_host/common/path_text.h"

#include <protocol/catalogue.h>
#include <protocol/utf8.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

#include <pybind11/stl.h>

namespace qx5::python {

namespace {

using live::Mailbox;
using Seconds = std::optional<double>;

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

/// What native threads put into it are signs; the numbers mean something to Python alone.
class PythonMailbox
{
public:
    std::shared_ptr<Mailbox> const& Box() const { return m_box; }

    std::function<void()> Putting(std::optional<std::uint64_t> sign) const
    {
        return sign ? std::function<void()>([box = m_box, number = *sign] { box->Put(number); })
                    : std::function<void()>();
    }

    py::tuple Take(Seconds seconds)
    {
        Mailbox::Post post;
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

private:
    std::shared_ptr<Mailbox> const m_box = std::make_shared<Mailbox>();
};

/// The changes that one follows.
class PythonFeed
{
public:
    explicit PythonFeed(std::shared_ptr<live::ChangeFeed> feed, std::weak_ptr<live::LiveSonar> sonar)
        : m_feed(std::move(feed)), m_sonar(std::move(sonar))
    {
    }
    PythonFeed(PythonFeed&&) = default;
    PythonFeed& operator=(PythonFeed&&) = delete;
    ~PythonFeed()
    {
        if (m_feed != nullptr) {
            End();
        }
    }

    bool Wait(Seconds seconds)
    {
        return WaitInterruptibly(seconds, [&](std::chrono::milliseconds limit) { return m_feed->Wait(limit); });
    }
    py::list Take(std::size_t greatest)
    {
        py::list taken;
        for (auto const& change : m_feed->Take(greatest)) {
            taken.append(py::make_tuple(protocol::EncodeUtf8(change.key), FirstToPython(change.now),
                                        FirstToPython(change.before), change.time));
        }
        return taken;
    }
    void End()
    {
        Away const away;
        if (auto const sonar = m_sonar.lock()) {
            sonar->State().Remove(m_feed.get());
        }
        m_feed->End();
    }
    bool HasEnded() const { return m_feed->HasEnded(); }
    std::uint64_t Lost() const { return m_feed->Lost(); }

private:
    std::shared_ptr<live::ChangeFeed> m_feed;
    std::weak_ptr<live::LiveSonar> m_sonar;
};

class PythonRequest
{
public:
    explicit PythonRequest(std::shared_ptr<live::LiveRequest> request) : m_request(std::move(request)) {}

    bool WaitUntilCarriedOut(Seconds seconds)
    {
        return WaitInterruptibly(
            seconds, [&](std::chrono::milliseconds limit) { return m_request->WaitUntilCarriedOut(limit); });
    }
    bool Wait(Seconds seconds)
    {
        return WaitInterruptibly(seconds,
                                 [&](std::chrono::milliseconds limit) { return m_request->WaitUntilItStands(limit); });
    }
    /// The result's name, its reason, whether the connection was lost.
    py::tuple Outcome() const
    {
        auto const state = m_request->Now();
        return py::make_tuple(operation::ToText(state.result), state.reason, state.isConnectionLost);
    }
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

class PythonSonar
{
public:
    PythonSonar(std::string const& plugin, std::string const& host, std::uint16_t port, std::string const& name)
        : m_process(getpid())
    {
        std::string error;
        {
            Away const away;
            try {
                m_sonar = std::make_shared<live::LiveSonar>(live::SonarOptions{plugin, host, port, name});
            } catch (std::runtime_error const& failure) {
                error = failure.what();
            }
        }
        if (!error.empty()) {
            Raise("PluginError", error);
        }
    }
    PythonSonar(PythonSonar const&) = delete;
    PythonSonar& operator=(PythonSonar const&) = delete;
    ~PythonSonar()
    {
        if (m_process != getpid()) {
            // The threads that the end would wait for did not come along.
            new std::shared_ptr<live::LiveSonar>(std::move(m_sonar));
            return;
        }
        Away const away;
        m_sonar.reset();
    }

    void Close()
    {
        RefuseAnotherProcess(m_process);
        Away const away;
        m_sonar->Close();
    }
    bool IsClosed() const { return m_sonar->State().IsClosed(); }
    bool IsConnected() const { return m_sonar->State().IsConnected(); }
    py::tuple Connection() const
    {
        auto const link = m_sonar->State().Link();
        return py::make_tuple(std::string(vordal::ToText(link.state)), link.reason);
    }
    std::string Condition() const { return ConditionName(m_sonar->Watch().condition); }
    std::uint64_t News() const { return m_sonar->State().News(); }
    /// None when nothing came.
    std::optional<std::uint64_t> WaitForNews(std::uint64_t seen, Seconds seconds)
    {
        std::uint64_t news = seen;
        WaitInterruptibly(seconds, [&](std::chrono::milliseconds limit) {
            news = m_sonar->State().WaitForNews(seen, limit);
            return news != seen || m_sonar->State().IsClosed();
        });
        return news != seen ? std::optional(news) : std::nullopt;
    }

    py::object Attributes() const
    {
        CAttributeMap tree;
        {
            Away const away;
            tree = m_sonar->Attributes();
        }
        return TreeToPython(tree);
    }
    py::object Get(std::string const& name) const
    {
        protocol::Key const& key = KeyNamed(name);
        return FirstToPython(live::NodesOf(m_sonar->Attributes(), key.text));
    }
    std::vector<std::pair<std::optional<double>, std::optional<double>>> Limits(std::string const& name) const
    {
        protocol::Key const& key = KeyNamed(name);
        std::vector<std::pair<std::optional<double>, std::optional<double>>> ranges;
        if (operation::SonarLimits::HasLimits(key)) {
            operation::SonarLimits const limits(m_sonar->Attributes(), CAttributeMap());
            for (std::size_t part = 0; part < (key.kind == protocol::Kind::Pair ? 2 : 1); ++part) {
                auto const range = limits.RangeOf(key, part);
                ranges.emplace_back(range.least, range.greatest);
            }
        }
        return ranges;
    }
    PythonRequest Request(py::handle pairs)
    {
        RefuseAnotherProcess(m_process);
        CAttributeMap const request = TreeFromPairs(pairs);
        return PythonRequest(m_sonar->Request(request));
    }
    /// The same, carried out when it returns.
    PythonRequest RequestAndWait(py::handle pairs)
    {
        PythonRequest request = Request(pairs);
        request.WaitUntilCarriedOut(std::nullopt);
        return request;
    }
    PythonFeed Follow(std::vector<std::string> const& names, PythonMailbox const* mailbox,
                      std::optional<std::uint64_t> sign)
    {
        RefuseAnotherProcess(m_process);
        std::vector<std::wstring> keys;
        for (std::string const& name : names) {
            keys.emplace_back(KeyNamed(name).text);
        }
        auto ready = mailbox != nullptr ? mailbox->Putting(sign) : std::function<void()>();
        Away const away;
        return PythonFeed(m_sonar->Follow(std::move(keys), std::move(ready)), m_sonar);
    }
    bool Ping()
    {
        RefuseAnotherProcess(m_process);
        Away const away;
        return m_sonar->Ping();
    }
    PythonEchoes Echoes(bool waterColumn)
    {
        RefuseAnotherProcess(m_process);
        Away const away;
        return {m_sonar, m_sonar->FollowEchoes(waterColumn ? SONAR_WATER_COLUMN_GROUP : SONAR_DETECTIONS_GROUP)};
    }
    PythonRecorder Record(std::string const& file, std::string const& version)
    {
        RefuseAnotherProcess(m_process);
        std::string error;
        std::shared_ptr<recording::FlightRecorder> recorder;
        {
            Away const away;
            try {
                recording::RecorderOptions options;
                options.program = {{"program", "qx5 for Python"}, {"version", version}};
                recorder = std::make_shared<recording::FlightRecorder>(file, std::move(options));
                m_sonar->RecordInto(recorder);
            } catch (recording::RecordingError const& failure) {
                error = failure.what();
            }
        }
        if (!error.empty()) {
            Raise("RecordingError", error);
        }
        return PythonRecorder(std::move(recorder), m_sonar);
    }

private:
    std::shared_ptr<live::LiveSonar> m_sonar;
    pid_t const m_process;
};

py::tuple ParsedAddress(std::string const& address)
{
    std::string host;
    std::uint16_t port = 0;
    std::string error;
    if (!operation::ParseEndpoint(address, host, port, error)) {
        Raise("BadAddress", error);
    }
    return py::make_tuple(host, port);
}

} // namespace

void AddSonars(py::module_& module)
{
    py::class_<PythonMailbox>(module, "Mailbox", PlainType())
        .def(py::init<>())
        .def("take", &PythonMailbox::Take, py::arg("timeout"))
        .def(
            "put", [](PythonMailbox const& mailbox, std::uint64_t sign) { mailbox.Box()->Put(sign); }, py::arg("sign"))
        .def("close", [](PythonMailbox const& mailbox) { mailbox.Box()->Close(); })
        .def("take_log_over",
             [](PythonMailbox const& mailbox) {
                 Away const away;
                 vordal::SetLogSink([box = mailbox.Box()](vordal::LogLevel level, std::string_view line) {
                     box->PutLine(level, line);
                 });
             })
        .def("give_log_back", [](PythonMailbox const&) {
            Away const away;
            vordal::SetLogSink({});
        });
    py::class_<PythonFeed>(module, "Feed", PlainType())
        .def("wait", &PythonFeed::Wait, py::arg("timeout"))
        .def("take", &PythonFeed::Take, py::arg("greatest"))
        .def("end", &PythonFeed::End)
        .def_property_readonly("ended", &PythonFeed::HasEnded)
        .def_property_readonly("lost", &PythonFeed::Lost);
    py::class_<PythonRequest>(module, "Request", PlainType())
        .def("wait_until_carried_out", &PythonRequest::WaitUntilCarriedOut, py::arg("timeout"))
        .def("wait", &PythonRequest::Wait, py::arg("timeout"))
        .def("outcome", &PythonRequest::Outcome)
        .def_property_readonly("stands", &PythonRequest::Stands)
        .def_property_readonly("asked", &PythonRequest::Asked)
        .def_property_readonly("echoed", &PythonRequest::Echoed)
        .def_property_readonly("got", &PythonRequest::Got)
        .def("tell_when_it_stands", &PythonRequest::TellWhenItStands, py::arg("mailbox"), py::arg("sign"));
    py::class_<PythonRecorder>(module, "Recorder", PlainType())
        .def("mark", &PythonRecorder::Mark, py::arg("text"))
        .def("finish", &PythonRecorder::Finish)
        .def("counts", &PythonRecorder::Counts);
    py::class_<PythonSonar>(module, "Sonar", PlainType())
        .def(py::init<std::string, std::string, std::uint16_t, std::string>(), py::arg("plugin"), py::arg("host"),
             py::arg("port"), py::arg("name"))
        .def("close", &PythonSonar::Close)
        .def_property_readonly("closed", &PythonSonar::IsClosed)
        .def_property_readonly("connected", &PythonSonar::IsConnected)
        .def("connection", &PythonSonar::Connection)
        .def("condition", &PythonSonar::Condition)
        .def("news", &PythonSonar::News)
        .def("wait_for_news", &PythonSonar::WaitForNews, py::arg("seen"), py::arg("timeout"))
        .def("attributes", &PythonSonar::Attributes)
        .def("get", &PythonSonar::Get, py::arg("key"))
        .def("limits", &PythonSonar::Limits, py::arg("key"))
        .def("request", &PythonSonar::Request, py::arg("pairs"))
        .def("request_and_wait", &PythonSonar::RequestAndWait, py::arg("pairs"))
        .def("follow", &PythonSonar::Follow, py::arg("keys"), py::arg("mailbox"), py::arg("sign"))
        .def("ping", &PythonSonar::Ping)
        .def("echoes", &PythonSonar::Echoes, py::arg("water_column"))
        .def("record", &PythonSonar::Record, py::arg("file"), py::arg("version"));
    module.def("parse_address", &ParsedAddress, py::arg("address"));
    module.def(
        "set_main_thread", [](unsigned long ident) { MainThread().store(ident); }, py::arg("ident"));
    module.def("threads_away", [] { return ThreadsAway().load(); });
}

} // namespace qx5::python
