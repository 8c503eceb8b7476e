// Recordings for Python, and the comparison of scenarios with what they expect.
#include "python/binding/module.h"
#include "python/binding/python_values.h"
#include "python/binding/recorded_frame.h"
#include "python/binding/waiting.h"

#include "recording/recorded_session.h"
#include "recording/recording_error.h"
#include "recording/recording_text.h"
#include "json/event_difference.h"
#include "json/json_parser.h"

#include <protocol/bytes.h>
#include <protocol/echo_records.h>
#include <protocol/frame.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include <fmt/format.h>

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

namespace qx5::python {

namespace {

using recording::RecordedMessage;
using recording::RecordedSession;

/// One detection, for an array of them.
struct DetectionRow
{
    std::int32_t ping;
    double time; ///< of transmission, s since 1970 UTC
    std::uint16_t beam;
    float angle;
    float travelTime;
    float level;
    float quality;
};

/// The ping that detections are of.
struct PingRow
{
    std::int32_t ping;
    double time;
    double soundVelocity;
    double east;
    double north;
    double depth;
    double heading;
    double roll;
    double pitch;
    double heave;
    double steering;
    std::uint32_t beams;
    std::uint32_t detections;
};

/// A message beyond the walk that gave it.
struct KeptMessage
{
    std::string kind;
    std::optional<std::string> sonar;
    std::uint64_t time = 0;
    std::uint64_t systemTime = 0;
    recording::RecordedContent content; ///< of frames without bytes
    std::optional<SharedFrame> frame;
    std::size_t bytes = 0;
};

/// Which messages somebody wants.
struct Wanted
{
    recording::RecordedRange range;
    std::optional<std::uint32_t> record; ///< frames of that record alone
};

/// What was passed over in a file, in one line; empty for nothing.
std::string DamageOf(RecordedSession const& session)
{
    std::string text;
    auto const add = [&](std::uint64_t count, std::string_view what) {
        if (count != 0) {
            text += fmt::format("{}{} {}", text.empty() ? "" : ", ", count, what);
        }
    };
    add(session.File().SkippedBytes(), "bytes that are no whole record");
    add(session.File().DamagedChunks(), "damaged chunks");
    add(session.Unreadable(), "messages that are not what their kind says");
    return text;
}

/// Walks through a file on a thread of its own, a few messages ahead of who takes them.
class Cursor
{
public:
    Cursor(std::filesystem::path file, Wanted wanted)
        : m_thread([this, file = std::move(file), wanted = std::move(wanted)] { Walk(file, wanted); })
    {
    }
    Cursor(Cursor const&) = delete;
    Cursor& operator=(Cursor const&) = delete;
    ~Cursor()
    {
        {
            std::lock_guard const lock(m_mutex);
            m_isUnwanted = true;
        }
        m_changed.notify_all();
        m_thread.join();
    }

    /// Nothing at the end of the file, or when none was there within the limit: HasEnded tells.
    std::optional<KeptMessage> Next(std::chrono::milliseconds limit)
    {
        std::optional<KeptMessage> message;
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait_for(lock, limit, [this] { return m_hasEnded || !m_messages.empty(); });
            if (m_messages.empty()) {
                return std::nullopt;
            }
            message = std::move(m_messages.front());
            m_messages.pop_front();
            m_bytes -= message->bytes;
        }
        m_changed.notify_all();
        return message;
    }
    bool HasEnded() const
    {
        std::lock_guard const lock(m_mutex);
        return m_hasEnded && m_messages.empty();
    }
    /// Why the walk broke off, and what it passed over; empty when all was well. After the end.
    std::pair<std::string, std::string> Problems() const
    {
        std::lock_guard const lock(m_mutex);
        return {m_error, m_damage};
    }

private:
    static constexpr std::size_t GreatestAhead = 256;
    static constexpr std::size_t GreatestBytesAhead = std::size_t{8} << 20;

    void Walk(std::filesystem::path const& file, Wanted const& wanted)
    {
        std::string error;
        std::string damage;
        try {
            RecordedSession session(file);
            session.ForEach(wanted.range, [&](RecordedMessage const& message) { return Put(message, wanted); });
            damage = DamageOf(session);
        } catch (std::exception const& failure) {
            error = recording::Printable(failure.what());
        }
        {
            std::lock_guard const lock(m_mutex);
            m_hasEnded = true;
            m_error = std::move(error);
            m_damage = std::move(damage);
        }
        m_changed.notify_all();
    }

    bool Put(RecordedMessage const& message, Wanted const& wanted)
    {
        KeptMessage kept;
        auto const* const frame = std::get_if<recording::RecordedFrame>(&message.content);
        if (wanted.record && (frame == nullptr || protocol::RecordIdOf(frame->bytes) != *wanted.record)) {
            return true;
        }
        kept.kind = std::string(message.kind->name);
        if (message.sonar != nullptr) {
            kept.sonar = *message.sonar;
        }
        kept.time = message.time;
        kept.systemTime = message.systemTime;
        kept.bytes = message.data.size();
        if (frame != nullptr) {
            kept.frame.emplace(frame->bytes);
        } else {
            kept.content = message.content;
        }
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [this] {
                return m_isUnwanted || m_messages.empty() ||
                       (m_messages.size() < GreatestAhead && m_bytes < GreatestBytesAhead);
            });
            if (m_isUnwanted) {
                return false;
            }
            m_bytes += kept.bytes;
            m_messages.push_back(std::move(kept));
        }
        m_changed.notify_all();
        return true;
    }

    mutable std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    std::deque<KeptMessage> m_messages;
    std::size_t m_bytes = 0;
    bool m_hasEnded = false;
    bool m_isUnwanted = false;
    std::string m_error;
    std::string m_damage;

    std::thread m_thread;
};

/// What a message says, as a tuple that its kind gives a meaning.
py::object ContentToPython(KeptMessage const& message)
{
    if (message.frame) {
        return py::cast(*message.frame);
    }
    return std::visit(
        [](auto const& content) -> py::object {
            using Content = std::decay_t<decltype(content)>;
            if constexpr (std::is_same_v<Content, recording::RecordedSettings>) {
                return py::make_tuple(content.name, TreeToPython(content.tree));
            } else if constexpr (std::is_same_v<Content, recording::RecordedRequest>) {
                return py::make_tuple(content.number, content.who, TreeToPython(content.asked));
            } else if constexpr (std::is_same_v<Content, recording::RecordedResult>) {
                return py::make_tuple(content.number, content.result, TreeToPython(content.got), content.reason);
            } else if constexpr (std::is_same_v<Content, recording::RecordedAttributes>) {
                return py::make_tuple(content.isEcho, TreeToPython(content.tree));
            } else if constexpr (std::is_same_v<Content, recording::RecordedConnection>) {
                return py::make_tuple(content.state, content.reason);
            } else if constexpr (std::is_same_v<Content, recording::RecordedMark>) {
                return py::make_tuple(content.text);
            } else if constexpr (std::is_same_v<Content, recording::RecordedLoss>) {
                return py::make_tuple(content.messages, content.bytes);
            } else if constexpr (requires { content.tree; }) {
                return py::make_tuple(TreeToPython(content.tree));
            } else {
                return py::none();
            }
        },
        message.content);
}

class PythonCursor
{
public:
    PythonCursor(std::filesystem::path file, Wanted wanted)
        : m_cursor(std::make_unique<Cursor>(std::move(file), std::move(wanted)))
    {
    }
    PythonCursor(PythonCursor&&) = default;
    PythonCursor& operator=(PythonCursor&&) = delete;
    ~PythonCursor()
    {
        Away const away;
        m_cursor.reset();
    }

    /// None at the end.
    py::object Next()
    {
        std::optional<KeptMessage> message;
        WaitInterruptibly(std::nullopt, [&](std::chrono::milliseconds limit) {
            message = m_cursor->Next(limit);
            return message.has_value() || m_cursor->HasEnded();
        });
        if (!message) {
            return py::none();
        }
        return py::make_tuple(message->kind, message->sonar, message->time, message->systemTime,
                              ContentToPython(*message));
    }
    std::pair<std::string, std::string> Problems() const { return m_cursor->Problems(); }

private:
    std::unique_ptr<Cursor> m_cursor;
};

/// A vector as an array that owns it: nothing is copied.
template <typename Row>
py::array_t<Row> ArrayOf(std::vector<Row> rows)
{
    auto* const kept = new std::vector<Row>(std::move(rows));
    py::capsule const owner(kept, [](void* memory) { delete static_cast<std::vector<Row>*>(memory); });
    return py::array_t<Row>(static_cast<py::ssize_t>(kept->size()), kept->data(), owner);
}

class PythonRecording
{
public:
    explicit PythonRecording(std::string const& file) : m_file(file)
    {
        // A file that is none is told now and not at the first message.
        Work([&](RecordedSession&) {});
    }

    py::dict Summary() const
    {
        recording::RecordedSummary summary;
        Work([&](RecordedSession& session) { summary = session.Summary(); });
        py::dict told;
        told["start"] = summary.start;
        told["end"] = summary.end;
        told["records"] = summary.records;
        told["requests"] = summary.requests;
        told["messages"] = summary.messages;
        told["complete"] = summary.isComplete;
        py::list sonars;
        for (auto const& sonar : summary.sonars) {
            sonars.append(py::make_tuple(sonar.id, sonar.name));
        }
        told["sonars"] = sonars;
        told["program"] =
            std::vector<std::pair<std::string, std::string>>(summary.program.begin(), summary.program.end());
        return told;
    }
    std::optional<std::string> FindSonar(std::string const& name) const
    {
        std::optional<std::string> id;
        Work([&](RecordedSession& session) { id = session.FindSonar(name); });
        return id;
    }
    PythonCursor Messages(std::optional<std::uint64_t> from, std::optional<std::uint64_t> to, std::string const& sonar,
                          std::vector<std::string> const& kinds, std::optional<std::uint32_t> record) const
    {
        return PythonCursor(m_file, {RangeOf(from, to, sonar, kinds), record});
    }
    /// Detections, their pings, and what was passed over.
    py::tuple Detections(std::optional<std::uint64_t> from, std::optional<std::uint64_t> to,
                         std::string const& sonar) const
    {
        std::vector<DetectionRow> detections;
        std::vector<PingRow> pings;
        std::string damage;
        auto const range = RangeOf(from, to, sonar, {std::string(recording::kinds::Received.name)});
        Work([&](RecordedSession& session) {
            std::uint64_t damaged = 0;
            session.ForEach(range, [&](RecordedMessage const& message) {
                auto const& bytes = std::get<recording::RecordedFrame>(message.content).bytes;
                auto const frame = protocol::ParseFrame(bytes);
                if (!frame || frame->header.recordId != protocol::records::Detections.Id()) {
                    return true;
                }
                std::string ignored;
                if (auto const view = protocol::DecodeDetections(frame->data, ignored)) {
                    Append(*view, detections, pings);
                } else {
                    ++damaged;
                }
                return true;
            });
            damage = DamageOf(session);
            if (damaged != 0) {
                damage += fmt::format("{}{} damaged records of detections", damage.empty() ? "" : ", ", damaged);
            }
        });
        return py::make_tuple(ArrayOf(std::move(detections)), ArrayOf(std::move(pings)), damage);
    }

private:
    static void Append(protocol::DetectionsView const& view, std::vector<DetectionRow>& detections,
                       std::vector<PingRow>& pings)
    {
        auto const& head = view.head;
        pings.push_back({head.number, head.utcSeconds, head.soundVelocity, head.east, head.north, head.depth,
                         head.heading, head.roll, head.pitch, head.heave, head.steering, head.beams, view.count});
        for (std::size_t i = 0; i < view.count; ++i) {
            detections.push_back({head.number, head.utcSeconds, protocol::GetU16LE(view.beam, 2 * i),
                                  protocol::GetF32LE(view.angle, 4 * i), protocol::GetF32LE(view.travelTime, 4 * i),
                                  protocol::GetF32LE(view.level, 4 * i), protocol::GetF32LE(view.quality, 4 * i)});
        }
    }

    static recording::RecordedRange RangeOf(std::optional<std::uint64_t> from, std::optional<std::uint64_t> to,
                                            std::string const& sonar, std::vector<std::string> const& kinds)
    {
        recording::RecordedRange range;
        range.from = from.value_or(range.from);
        range.to = to.value_or(range.to);
        range.sonar = sonar;
        for (std::string const& name : kinds) {
            auto const* const* const found =
                std::find_if(recording::RecordedKinds.begin(), recording::RecordedKinds.end(),
                             [&](recording::RecordedKind const* kind) { return kind->name == name; });
            if (found == recording::RecordedKinds.end()) {
                Raise("Error", fmt::format("there is no kind '{}' of messages in recordings", name));
            }
            range.kinds.push_back(*found);
        }
        return range;
    }

    /// Without the interpreter's lock.
    template <typename Does>
    void Work(Does const& does) const
    {
        std::string error;
        {
            Away const away;
            try {
                RecordedSession session(m_file);
                does(session);
            } catch (recording::RecordingError const& failure) {
                error = recording::Printable(failure.what());
            }
        }
        if (!error.empty()) {
            Raise("RecordingError", error);
        }
    }

    std::filesystem::path const m_file;
};

/// Where two lists of events differ first, as JSON; none when they are the same.
std::optional<std::string> FindDifference(std::string const& expected, std::string const& got)
{
    auto const wanted = ParseJson(expected);
    auto const happened = ParseJson(got);
    return qx5::FindDifference(wanted.Root().Items().ToVector(), happened.Root().Items().ToVector());
}

} // namespace

void AddRecordings(py::module_& module)
{
    py::class_<PythonCursor>(module, "Cursor", PlainType())
        .def("next", &PythonCursor::Next)
        .def("problems", &PythonCursor::Problems);
    py::class_<PythonRecording>(module, "Recording", PlainType())
        .def(py::init<std::string>(), py::arg("file"))
        .def("summary", &PythonRecording::Summary)
        .def("find_sonar", &PythonRecording::FindSonar, py::arg("name"))
        .def("messages", &PythonRecording::Messages, py::arg("start"), py::arg("end"), py::arg("sonar"),
             py::arg("kinds"), py::arg("record"))
        .def("detections", &PythonRecording::Detections, py::arg("start"), py::arg("end"), py::arg("sonar"));
    // Not with the module: it brings NumPy in.
    module.def("prepare_arrays", [] {
        PYBIND11_NUMPY_DTYPE_EX(DetectionRow, ping, "ping", time, "time", beam, "beam", angle, "angle", travelTime,
                                "travel_time", level, "level", quality, "quality");
        PYBIND11_NUMPY_DTYPE_EX(PingRow, ping, "ping", time, "time", soundVelocity, "sound_velocity", east, "east",
                                north, "north", depth, "depth", heading, "heading", roll, "roll", pitch, "pitch", heave,
                                "heave", steering, "steering", beams, "beams", detections, "detections");
    });
    module.def("recorded_kinds", [] {
        std::vector<std::string> names;
        for (recording::RecordedKind const* const kind : recording::RecordedKinds) {
            names.emplace_back(kind->name);
        }
        return names;
    });
    module.attr("WATER_COLUMN") = protocol::records::WaterColumn.Id();
    module.def("find_difference", &FindDifference, py::arg("expected"), py::arg("got"));
}

} // namespace qx5::python
