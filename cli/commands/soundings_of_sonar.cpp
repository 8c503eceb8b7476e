// `qx5 soundings --sonar`: what a sonar on the network sounds, as it tells it over its link.
#include "cli/commands.h"

#include "cli/key_values.h"
#include "cli/output.h"
#include "cli/plugins.h"
#include "cli/request_outcome.h"
#include "cli/session.h"
#include "cli/sounding_lines.h"
#include "cli/soundings_of_sonar.h"
#include "reference_host/streams/echo_items.h"

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalDataBlocksR/BaseDataSource.h>
#include <VordalDataBlocksR/SonarEchoItems.h>
#include <VordalSubscriberR/Subscriber.h>
#include <protocol/bytes.h>
#include <protocol/records/all.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

constexpr std::chrono::seconds sonarFoundLimit{5};
constexpr std::chrono::milliseconds sonarToldLimit{500};
constexpr std::chrono::seconds answerLimit{2};
/// From one ping to the next, or to a ping's echoes.
constexpr std::chrono::seconds pingLimit{10};

/// Where one array is shorter than the others, the rest is left out.
acoustics::PingEchoes EchoesOf(CDataBlock const& block)
{
    acoustics::PingEchoes echoes;
    echoes.number = vordal::EchoWhole(block, ECHO_PING_NUMBER);
    echoes.utcSeconds = block.GetTime();
    echoes.soundSpeed = vordal::EchoReal(block, ECHO_SOUND_VELOCITY);
    echoes.pose = {vordal::EchoReal(block, ECHO_POSE, 0), vordal::EchoReal(block, ECHO_POSE, 1),
                   vordal::EchoReal(block, ECHO_POSE, 2), vordal::EchoReal(block, ECHO_POSE, 3),
                   vordal::EchoReal(block, ECHO_POSE, 4), vordal::EchoReal(block, ECHO_POSE, 5),
                   vordal::EchoReal(block, ECHO_POSE, 6)};
    echoes.steering = vordal::EchoReal(block, ECHO_STEERING);
    echoes.beams = static_cast<std::uint16_t>(vordal::EchoWhole(block, ECHO_BEAM_COUNT));
    auto const beam = vordal::EchoBytes(block, DETECTION_BEAM);
    auto const angle = vordal::EchoBytes(block, DETECTION_ANGLE);
    auto const time = vordal::EchoBytes(block, DETECTION_TRAVEL_TIME);
    auto const level = vordal::EchoBytes(block, DETECTION_LEVEL);
    auto const quality = vordal::EchoBytes(block, DETECTION_QUALITY);
    std::size_t const count =
        std::min({beam.size() / 2, angle.size() / 4, time.size() / 4, level.size() / 4, quality.size() / 4});
    for (std::size_t i = 0; i < count; ++i) {
        echoes.detections.push_back({protocol::GetU16LE(beam, 2 * i), protocol::GetF32LE(angle, 4 * i),
                                     protocol::GetF32LE(time, 4 * i), protocol::GetF32LE(level, 4 * i),
                                     protocol::GetF32LE(quality, 4 * i)});
    }
    return echoes;
}

/// Keeps what a sonar's stream of detections tells. Made and destroyed on the host thread.
class Pings final : public Subscriber
{
public:
    explicit Pings(CDataId stream)
    {
        stream.SetGroupId(SONAR_DETECTIONS_GROUP);
        m_subscription.SetSubscriber(this, false);
        m_subscription.Subscribe(stream);
    }
    Pings(Pings const&) = delete;
    Pings& operator=(Pings const&) = delete;
    ~Pings() override { m_subscription.Unsubscribe(); }

    /// The next one; nothing when none comes in time. Any thread.
    std::optional<CDataBlock> Next()
    {
        std::unique_lock lock(m_mutex);
        if (!m_changed.wait_for(lock, pingLimit, [this] { return !m_blocks.empty(); })) {
            return std::nullopt;
        }
        CDataBlock block = m_blocks.front();
        m_blocks.pop_front();
        return block;
    }

private:
    static constexpr std::size_t Greatest = 1000;

    void Notify(NotificationInfo const*) override
    {
        CDataBlock block;
        auto* const buffer = m_subscription.GetDataBuffer();
        if (buffer == nullptr || !buffer->ReadBlock(block, DATA_ACCESS_LATEST)) {
            return;
        }
        {
            std::lock_guard const lock(m_mutex);
            if (m_blocks.size() < Greatest) {
                m_blocks.push_back(block);
            }
        }
        m_changed.notify_one();
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<CDataBlock> m_blocks;
    DataSubscription m_subscription;
};

/// Makes the request and waits for the sonar's answer; why it does not have what was asked for, or empty.
std::string RequestFirst(Session& session, RequestOutcome& outcome, CAttributeMap const& request)
{
    outcome.Begin(request);
    bool const carriedOut = session.Request(request);
    outcome.End();
    if (auto const dropped = outcome.Dropped(); !dropped.empty()) {
        return dropped;
    }
    if (!carriedOut || !outcome.HasSent()) {
        return "no record was sent of what is to be set; `qx5 explain KEY` tells what it takes";
    }
    if (outcome.AwaitsAnswer()) {
        session.WaitFor([&] { return outcome.IsAnswered(); }, answerLimit);
    }
    return outcome.Judge(true) == RequestOutcome::Verdict::Agrees
               ? std::string()
               : "the sonar does not have what was to be set; `qx5 send` with the same keys tells what it has";
}

bool IsPinging(Session& session)
{
    int state = 0;
    return session.Attributes().FindValue(AttributeKey(protocol::keys::x5PingOnOffState.text), 0).Get(state) &&
           state != 0;
}

void PingOnce(Session& session)
{
    session.OnHost([](vordal::Host&, Device& device) {
        if (auto* const sonar = dynamic_cast<QX5Device*>(&device)) {
            sonar->SendRemoteControlRecord(protocol::records::SinglePing.Id(), nullptr, 0, protocol::OwnSonar.deviceId,
                                           protocol::OwnSonar.enumerator);
        }
    });
}

} // namespace

int SoundingsOfSonar(SoundingsOptions const& options, SoundingForm form)
{
    std::string error;
    std::string host;
    std::uint16_t port = 0;
    if (!ParseEndpoint(options.sonar, host, port, error)) {
        return Complain(ExitWrong, "--sonar: " + error);
    }
    CAttributeMap request;
    for (std::string const& text : options.keyValues) {
        if (!AddKeyValue(request, text, error)) {
            return Complain(ExitWrong, error);
        }
    }
    RequestOutcome outcome;
    Session session([&](SessionEvent const& event) { outcome.Take(event); }, {}, vordal::RequestOrigin::CommandLine);
    LeavingWord const leavingWord(session.Switches(), options.sonar, true);
    if (!session.Reach(PluginPath(std::string()), host, port, sonarFoundLimit, sonarToldLimit, error)) {
        return Complain(ExitFailed, error);
    }
    if (!options.keyValues.empty()) {
        if (auto const problem = RequestFirst(session, outcome, request); !problem.empty()) {
            return Complain(ExitFailed, problem);
        }
    }

    std::optional<Pings> pings;
    session.OnHost([&](vordal::Host&, Device& device) { pings.emplace(device.GetDataId()); });
    int code = ExitGood;
    fmt::print("{}", SoundingHead(form, false));
    for (int ping = 0; ping < options.pings && code == ExitGood; ++ping) {
        // One that does not ping by itself is had ping, once for each.
        if (!IsPinging(session)) {
            PingOnce(session);
        }
        if (auto const block = pings->Next()) {
            fmt::print("{}", SoundingLines(form, EchoesOf(*block), {}));
            FlushOutput();
        } else {
            code =
                Complain(ExitFailed, session.IsConnected()
                                         ? fmt::format("the sonar told of no soundings within {} s", pingLimit.count())
                                         : std::string("the sonar told of no soundings, the connection was lost"));
        }
    }
    session.OnHost([&](vordal::Host&, Device&) { pings.reset(); });
    // So that it hears that it need not tell more.
    session.OnHost([](vordal::Host&, Device&) {});
    session.WaitUntilSent(answerLimit);
    return code;
}

} // namespace qx5::cli
