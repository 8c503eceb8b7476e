// A recording's requests run through today's program.
#include "replay_check.h"

#include "frame_difference.h"
#include "replay_server.h"
#include "unasked_frames.h"

#include "operation/tree_walk.h"
#include "recording/recording_text.h"
#include "recording/recording_time.h"
#include "reference_host/attributes/host_keys.h"
#include "reference_host/common/clock.h"
#include "reference_host/common/request_observer.h"
#include "reference_host/project/live_host.h"
#include "json/json_value.h"
#include "json/tree_json.h"

#include <VordalBaseR/CString.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/Device.h>

#include <protocol/utf8.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <stdexcept>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

namespace kinds = recording::kinds;
using recording::RecordedMessage;
using vordal::RequestOrigin;

/// Nothing is slow on this machine's own network; what takes longer is broken.
constexpr std::chrono::seconds loopBackLimit{30};
/// Whatever leaves for one request finds room.
constexpr std::size_t loopBackQueue = std::size_t{512} << 20;

CString Wide(std::string const& text)
{
    return CString(protocol::DecodeUtf8(text));
}

RequestOrigin OriginOf(std::string_view who)
{
    for (auto origin = RequestOrigin::Program; origin != RequestOrigin::OtherHost;
         origin = static_cast<RequestOrigin>(static_cast<unsigned char>(origin) + 1)) {
        if (vordal::ToText(origin) == who) {
            return origin;
        }
    }
    return RequestOrigin::Program;
}

/// Something that today's program does within a request.
struct Doing
{
    enum class Kind
    {
        Frame,
        Echo,
        Request, ///< that the plug-in makes itself
    };
    Kind kind = Kind::Frame;
    std::vector<unsigned char> frame;
    std::string tree = {}; ///< of an echo or a request, as JSON
    std::optional<unsigned> flags = {};
};

bool IsSameDoing(Doing const& recorded, Doing const& today)
{
    if (recorded.kind != today.kind) {
        return false;
    }
    if (recorded.kind == Doing::Kind::Frame) {
        return AreSame(recorded.frame, today.frame);
    }
    return recorded.tree == today.tree && (!recorded.flags || !today.flags || recorded.flags == today.flags);
}

/// Whether one is the other with something else in it.
bool AreAlike(Doing const& recorded, Doing const& today)
{
    if (recorded.kind != today.kind || recorded.kind == Doing::Kind::Request) {
        return false;
    }
    if (recorded.kind == Doing::Kind::Echo) {
        return true;
    }
    auto const one = PartsOf(recorded.frame);
    auto const other = PartsOf(today.frame);
    return one && other && one->carrier == other->carrier && one->id == other->id;
}

std::string TextOf(Doing const& doing)
{
    switch (doing.kind) {
    case Doing::Kind::Frame:
        return "record " + NameOf(std::span<unsigned char const>(doing.frame));
    case Doing::Kind::Echo:
        return fmt::format("the echo {}", doing.tree);
    case Doing::Kind::Request:
        return fmt::format("the request {}", doing.tree);
    }
    return "";
}

/// "x5Range, x5Power".
std::string KeysOf(CAttributeMap const& request)
{
    constexpr std::size_t shown = 4;
    std::string text;
    std::size_t count = 0;
    for (CAttributeMap const& child : request) {
        if (count++ < shown) {
            text += (text.empty() ? "" : ", ") + protocol::EncodeUtf8(child.KeyText());
        }
    }
    return count > shown ? fmt::format("{} and {} more", text, count - shown) : text;
}

/// The host in which today's program runs, its links led to a loop-back that takes everything.
class LoopBackHost final : private vordal::RequestObserver
{
public:
    /// What is done on a line, in its order; on the host thread.
    using Take = std::function<void(std::string const& line, Doing doing)>;

    LoopBackHost(RecordedPart const& part, std::filesystem::path const& plugin, Take take)
        : m_part(part), m_take(std::move(take)), m_server({}), m_clock(0.0)
    {
        m_host.SetClock(&m_clock);
        SetApplication();
        std::string reason;
        if (!m_host.LoadPlugIn(plugin, reason)) {
            throw std::runtime_error(reason);
        }
        auto const sonarClass = m_host.SonarClass();
        if (sonarClass.IsEmpty()) {
            throw std::runtime_error(
                fmt::format("{}: the plug-in does not offer the sonar's device class", plugin.string()));
        }
        Open(sonarClass);
    }
    LoopBackHost(LoopBackHost const&) = delete;
    LoopBackHost& operator=(LoopBackHost const&) = delete;
    ~LoopBackHost() override
    {
        m_host.End(std::chrono::seconds(10), [this] { m_host.SetRequestObserver(nullptr); });
    }

    /// Seconds since 1970 UTC.
    void SetClock(double now) { m_clock.Set(now); }

    void Ask(std::string const& sonar, CAttributeMap const& request, RequestOrigin who)
    {
        CAttributeMap tree;
        *tree.Add(vordal::keys::Request) = request;
        m_host.RunAndWait([&] {
            vordal::OriginScope const scope(who);
            DataManager::GetDataManager().SetAttributeMap(SonarIdOf(sonar), tree, 4, false);
        });
        m_host.RunAndWait([] {}); // what it has left to do on the host thread is done
    }
    /// The sonar has told it.
    void Tell(std::string const& sonar, CAttributeMap const& tree)
    {
        m_host.RunAndWait([&] { m_host.MergeDecoded(*m_devices.at(sonar), tree); });
    }
    void Write(std::string const& sonar, CAttributeMap const& tree)
    {
        m_host.RunAndWait([&] { DataManager::GetDataManager().SetAttributeMap(SonarIdOf(sonar), tree, 0, false); });
    }
    void Replace(std::string const& sonar, CAttributeMap const& tree)
    {
        m_host.RunAndWait([&] { m_host.ReplaceAttributes(*m_devices.at(sonar), tree); });
    }

private:
    /// Hands on what leaves on one line.
    class Monitor final : public vordal::LinkObserver
    {
    public:
        Monitor(LoopBackHost& host, std::string line) : m_host(host), m_line(std::move(line)) {}

        void OnTrace(vordal::LinkTrace const& trace) override
        {
            // What the plug-in does on threads of its own has no place among requests.
            if (trace.outgoing && m_host.m_host.IsHostThread()) {
                m_host.m_take(m_line, {.kind = Doing::Kind::Frame, .frame = {trace.frame.begin(), trace.frame.end()}});
            }
        }

    private:
        LoopBackHost& m_host;
        std::string const m_line;
    };

    void SetApplication()
    {
        CString guid;
        for (auto const& [sonar, beginning] : m_part.sonars) {
            if (beginning.settings.host) {
                guid = Wide(beginning.settings.host->guid);
                m_host.SetUserIsOperator(beginning.settings.host->isOperator);
            }
        }
        // Without a main window nobody pings in turn.
        m_host.SetApplication({.guid = guid, .mainWindow = false, .lightMode = 4, .displays = {}});
    }

    void Open(CString const& sonarClass)
    {
        vordal::StoredProject project;
        std::set<unsigned short> vessels;
        std::set<std::string> lines;
        for (auto const& [sonar, beginning] : m_part.sonars) {
            auto const id = SonarIdOf(sonar);
            auto const line = LineOf(sonar, m_part);
            if (vessels.insert(id.GetVessel()).second) {
                project.vessels.push_back({.number = id.GetVessel(), .name = L"Vessel", .configuration = {}});
            }
            if (lines.insert(line).second) {
                project.ports.push_back({Wide(line), L"127.0.0.1", m_server.Port(), {}});
            }
            project.devices.push_back({.dataId = id,
                                       .className = sonarClass,
                                       .name = Wide(beginning.settings.name),
                                       .portName = Wide(line),
                                       .enabled = true,
                                       .attributes = beginning.settings.tree});
        }
        vordal::LinkOptions like;
        like.queueBytes = loopBackQueue;
        auto& open = m_host.Open(std::move(project), like);
        if (!open.Problems().empty()) {
            throw std::runtime_error(open.Problems().front());
        }
        m_host.RunAndWait([&] {
            for (auto const& [sonar, beginning] : m_part.sonars) {
                m_devices[sonar] = dynamic_cast<Device*>(DataManager::GetDataManager().FindDevice(SonarIdOf(sonar)));
            }
            m_host.SetRequestObserver(this);
        });
        for (auto const& port : open.Ports()) {
            port->GetLink().SetObserver(std::make_shared<Monitor>(*this, protocol::EncodeUtf8(port->GetName().View())));
            port->SetStatusListener([this](vordal::LinkStatus const& status) {
                {
                    std::lock_guard const lock(m_mutex);
                    m_connected += status.state == vordal::LinkState::Connected ? 1 : 0;
                }
                m_changed.notify_all();
            });
        }
        m_host.Start();
        {
            std::unique_lock lock(m_mutex);
            if (!m_changed.wait_for(lock, loopBackLimit, [&] { return m_connected >= open.Ports().size(); })) {
                throw std::runtime_error("the replay's own connection over 127.0.0.1 does not come up");
            }
        }
        // What the device takes up as it is brought to work has changed nothing of what it had then.
        for (auto const& [sonar, beginning] : m_part.sonars) {
            Replace(sonar, beginning.settings.tree);
        }
    }

    void OnRequest(BaseDevice& device, CAttributeMap const& request, RequestOrigin) override
    {
        if (m_depth++ != 0) {
            Hand(device, {.kind = Doing::Kind::Request, .frame = {}, .tree = WriteJson(WriteTree(request))});
        }
    }
    void OnRequestEnd(BaseDevice&, std::string const*) override { --m_depth; }
    void OnRequestRefused(BaseDevice&, CAttributeMap const&, RequestOrigin, std::string const&) override {}
    void OnSend(vordal::SendMark const&, std::span<unsigned char const>, bool) override {}
    void OnEcho(BaseDevice& device, CAttributeMap const& tree, unsigned flags) override
    {
        if (m_host.IsHostThread()) {
            Hand(device, {.kind = Doing::Kind::Echo, .frame = {}, .tree = WriteJson(WriteTree(tree)), .flags = flags});
        }
    }
    void OnDropped(BaseDevice&, AttributeKey const&, AttributeKey const&) override {}
    void OnTold(BaseDevice&, CAttributeMap const&) override {}

    void Hand(BaseDevice const& device, Doing doing)
    {
        // Its port bears the line's name.
        m_take(protocol::EncodeUtf8(device.GetPortName().View()), std::move(doing));
    }

    RecordedPart const& m_part;
    Take const m_take;
    ReplayServer m_server;
    vordal::FixedClock m_clock;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::size_t m_connected = 0;
    int m_depth = 0; ///< of requests within requests; host thread
    std::map<std::string, Device*> m_devices;
    vordal::LiveHost m_host;
};

class Checker
{
public:
    Checker(RecordedPart const& part, std::filesystem::path const& plugin,
            std::function<void(std::string const&)> const& tell)
        : m_part(part), m_tell(tell), m_host(part, plugin, [this](std::string const& line, Doing doing) {
              m_today[line].push_back(std::move(doing));
          })
    {
        m_today.clear(); // of the host's own beginning
    }

    void Take(RecordedMessage const& message)
    {
        if (auto const* const loss = std::get_if<recording::RecordedLoss>(&message.content)) {
            NotCompared("messages that found no room when it was recorded", loss->messages);
        }
        if (message.sonar == nullptr) {
            return;
        }
        auto const& sonar = *message.sonar;
        auto const& content = message.content;
        m_now = message.time;
        if (auto const* const request = std::get_if<recording::RecordedRequest>(&content)) {
            TakeRequest(sonar, *request, message.systemTime);
        } else if (auto const* const frame = std::get_if<recording::RecordedFrame>(&content)) {
            if (frame->isSent) {
                TakeFrame(sonar, frame->bytes);
            }
        } else if (auto const* const attributes = std::get_if<recording::RecordedAttributes>(&content)) {
            if (attributes->isEcho) {
                TakeEcho(sonar, *attributes);
            } else {
                Settle();
                m_host.Tell(sonar, attributes->tree);
            }
        } else if (auto const* const writing = std::get_if<recording::RecordedWriting>(&content)) {
            Settle();
            m_host.Write(sonar, writing->tree);
        } else if (auto const* const settings = std::get_if<recording::RecordedSettings>(&content);
                   settings != nullptr && !settings->isAgain) {
            Settle();
            m_host.Replace(sonar, settings->tree);
        } else if (auto const* const connection = std::get_if<recording::RecordedConnection>(&content)) {
            m_lines.Take(sonar, *connection);
        }
    }

    ReplayCheckResult End()
    {
        Settle();
        for (auto& [what, count] : m_notCompared) {
            m_result.notCompared.emplace_back(what, count);
        }
        return std::move(m_result);
    }

private:
    void TakeRequest(std::string const& sonar, recording::RecordedRequest const& request, std::uint64_t time)
    {
        Doing const recorded{
            .kind = Doing::Kind::Request, .frame = {}, .tree = WriteJson(WriteTree(request.asked)), .flags = {}};
        auto& queue = m_today[LineOf(sonar, m_part)];
        if (!queue.empty() && IsSameDoing(recorded, queue.front())) {
            queue.pop_front(); // the plug-in makes it itself, today as then
            return;
        }
        Settle();
        if (m_part.HasResult(request.number, operation::Result::Refused)) {
            NotCompared("requests that were refused");
            return;
        }
        m_hasAsked = true;
        m_didLeave = m_lines.DoesLeave(sonar, request.number);
        m_request = fmt::format("{}  {}  request {} of {}, {}", recording::IsoTime(m_now), NameOfSonar(sonar),
                                request.number, request.who, KeysOf(request.asked));
        m_host.SetClock(static_cast<double>(time) / 1e9);
        m_host.Ask(sonar, request.asked, OriginOf(request.who));
        ++m_result.requests;
    }

    void TakeFrame(std::string const& sonar, std::span<unsigned char const> frame)
    {
        Doing const recorded{.kind = Doing::Kind::Frame, .frame = {frame.begin(), frame.end()}};
        auto const unasked = UnaskedOf(frame);
        auto& queue = m_today[LineOf(sonar, m_part)];
        bool const isDoneToday =
            std::any_of(queue.begin(), queue.end(), [&](Doing const& today) { return IsSameDoing(recorded, today); });
        if (unasked != Unasked::None && !isDoneToday) {
            if (IsAsTodays(unasked, frame)) {
                NotCompared(std::string(ToText(unasked)) + "; their bytes are as today's, their moments not looked at");
            } else {
                Differ(fmt::format("{}: today's program would build other bytes for it", TextOf(recorded)));
            }
            return;
        }
        if (!m_hasAsked) {
            NotCompared("records that left before the first request");
            return;
        }
        Match(recorded, queue);
        ++m_result.frames;
        m_result.bytes += frame.size();
    }

    void TakeEcho(std::string const& sonar, recording::RecordedAttributes const& echo)
    {
        if (!m_hasAsked) {
            m_host.Write(sonar, echo.tree);
            NotCompared("echoes from before the first request");
            return;
        }
        if (!echo.flags) {
            NotCompared("flag words of echoes, which the recording does not tell");
        }
        Match({.kind = Doing::Kind::Echo, .frame = {}, .tree = WriteJson(WriteTree(echo.tree)), .flags = echo.flags},
              m_today[LineOf(sonar, m_part)]);
        ++m_result.echoes;
    }

    /// Finds what today's program does in the place of what was done then.
    void Match(Doing const& recorded, std::deque<Doing>& queue)
    {
        auto found =
            std::find_if(queue.begin(), queue.end(), [&](Doing const& today) { return IsSameDoing(recorded, today); });
        bool const isSame = found != queue.end();
        if (!isSame) {
            found =
                std::find_if(queue.begin(), queue.end(), [&](Doing const& today) { return AreAlike(recorded, today); });
        }
        if (found == queue.end()) {
            Differ(fmt::format("{}: recorded, and today nothing of the kind", TextOf(recorded)));
            return;
        }
        for (auto it = queue.begin(); it != found; ++it) {
            TellExtra(*it);
        }
        if (!isSame) {
            TellDifference(recorded, *found);
        }
        queue.erase(queue.begin(), found + 1);
    }

    void TellDifference(Doing const& recorded, Doing const& today)
    {
        if (recorded.kind == Doing::Kind::Frame) {
            Differ(TextOf(recorded) + " differs", FieldDifferences(recorded.frame, today.frame));
            return;
        }
        std::vector<std::string> lines;
        if (recorded.tree != today.tree) {
            lines.push_back(fmt::format("recorded {}", recorded.tree));
            lines.push_back(fmt::format("today    {}", today.tree));
        }
        if (recorded.flags && recorded.flags != today.flags) {
            lines.push_back(fmt::format("flag word: recorded {}, today {}", *recorded.flags, today.flags.value_or(0)));
        }
        Differ("the echo differs", lines);
    }

    void TellExtra(Doing const& today)
    {
        if (today.kind == Doing::Kind::Frame && !m_didLeave) {
            NotCompared("records that did not leave when it was recorded");
            return;
        }
        Differ(fmt::format("{}: today, and nothing of the kind was recorded", TextOf(today)));
    }

    /// What was recorded of the request is over: what today's program does beyond it is a difference.
    void Settle()
    {
        for (auto& [line, queue] : m_today) {
            for (Doing const& today : queue) {
                TellExtra(today);
            }
            queue.clear();
        }
    }

    void Differ(std::string const& what, std::vector<std::string> const& fields = {})
    {
        ++m_result.differences;
        m_tell(recording::Printable(fmt::format("{}: {}", m_request, what)));
        for (auto const& field : fields) {
            m_tell(recording::Printable("    " + field));
        }
    }

    void NotCompared(std::string const& what, std::uint64_t count = 1) { m_notCompared[what] += count; }

    std::string NameOfSonar(std::string const& sonar) const
    {
        auto const& name = m_part.sonars.at(sonar).settings.name;
        return name.empty() ? sonar : name;
    }

    RecordedPart const& m_part;
    std::function<void(std::string const&)> const& m_tell;
    RecordedLines m_lines{m_part};
    std::map<std::string, std::deque<Doing>> m_today; ///< by line; the host thread's while a request runs
    std::map<std::string, std::uint64_t> m_notCompared;
    std::string m_request = "before the first request";
    std::uint64_t m_now = 0;
    bool m_hasAsked = false;
    bool m_didLeave = true;
    ReplayCheckResult m_result;
    LoopBackHost m_host;
};

} // namespace

ReplayCheckResult CheckReplay(recording::RecordedSession& session, recording::RecordedRange const& range,
                              std::string const& file, std::filesystem::path const& plugin,
                              std::function<void(std::string const& line)> const& tell)
{
    auto const part = LookOver(session, range, file);
    Checker checker(part, plugin, tell);
    session.ForEach(range, [&](RecordedMessage const& message) {
        checker.Take(message);
        return true;
    });
    return checker.End();
}

} // namespace qx5::cli
