// Requests while three other sonars tell their water columns: with and without a recorder that takes all of it.
#include "one_processor.h"
#include "recording_folder.h"
#include "stage.h"

#include "operation/operator_desk.h"
#include "recording/flight_recorder.h"

#include <VordalAttributesR/CVordalType.h>
#include <protocol/echo_records.h>

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

namespace bench {

namespace {

namespace protocol = qx5::protocol;
using namespace std::chrono_literals;
using Recorder = std::shared_ptr<qx5::recording::FlightRecorder>;

constexpr int pingsPerSecond = 20;
constexpr std::size_t requestBytes = 96;
/// So many take some tenths of a second: they meet pings at any of their moments.
constexpr std::size_t requestsPerRound = 5000;

/// Hands the frames of a link to the recorder, if there is one.
class Watch final : public vordal::LinkObserver
{
public:
    Watch(CDataId const& sonar, Recorder recorder) : m_sonar(sonar), m_recorder(std::move(recorder)) {}
    void OnTrace(vordal::LinkTrace const& trace) override
    {
        if (m_recorder != nullptr) {
            m_recorder->Frame(m_sonar, trace.outgoing, trace.frame);
        }
    }

private:
    CDataId const m_sonar;
    Recorder const m_recorder;
};

void WatchOn(LiveSonar& sonar, Recorder const& recorder)
{
    sonar.Link().SetObserver(std::make_shared<Watch>(sonar.GetDevice().GetDataId(), recorder));
}

/// Three sonars whose far ends send a water column of 512 beams of 1,000 samples in turn, while it lives.
class PingingSonars
{
public:
    PingingSonars(Stage& stage, Recorder const& recorder)
    {
        for (std::size_t i = 0; i < m_sonars.size(); ++i) {
            m_sonars[i] = std::make_unique<LiveSonar>(stage.Host(), static_cast<unsigned short>(11 + i));
            WatchOn(*m_sonars[i], recorder);
        }
        protocol::WaterColumnView sizes;
        sizes.head.beams = 512;
        sizes.samples = 1000;
        m_frame = std::move(protocol::BeginWaterColumn(protocol::OwnSonar, sizes)->bytes);
        m_thread = std::thread([this] { Ping(); });
    }
    PingingSonars(PingingSonars const&) = delete;
    PingingSonars& operator=(PingingSonars const&) = delete;
    ~PingingSonars()
    {
        m_isEnding = true;
        m_thread.join();
    }

    std::uint64_t Pings() const { return m_pings.load(); }

private:
    void Ping()
    {
        constexpr auto interval = std::chrono::nanoseconds(1s) / (pingsPerSecond * 3);
        for (auto next = std::chrono::steady_clock::now(); !m_isEnding; next += interval) {
            std::this_thread::sleep_until(next);
            SendAll(m_sonars[m_pings.load() % m_sonars.size()]->FarEnd(), m_frame);
            m_pings.fetch_add(1);
        }
    }

    std::array<std::unique_ptr<LiveSonar>, 3> m_sonars;
    std::vector<unsigned char> m_frame;
    std::atomic<std::uint64_t> m_pings{0};
    std::atomic<bool> m_isEnding{false};
    std::thread m_thread;
};

void TakeRequests(Stage& stage, qx5::operation::OperatorDesk& desk, Recorder const& recorder, std::size_t samples,
                  std::vector<double>& nanoseconds)
{
    auto& sonar = stage.Drained().GetDevice();
    WatchOn(stage.Drained(), recorder);
    stage.OnHostLive([&] {
        OnCallersProcessor const placement(stage.DrainThread().Thread());
        desk.Join(stage.Host());
        desk.Tap().Set(recorder);
        auto arrived = stage.DrainThread().Bytes();
        double range = 1.0;
        for (std::size_t i = 0; i < samples; ++i) {
            range = range < 500.0 ? range + 0.5 : 1.0;
            CAttributeMap given;
            given.Add(rangeKey, CVordalDouble(range), 0);
            CAttributeMap request = given;
            Time(1, 1, nanoseconds, [&] { stage.Host().DeliverRequest(sonar, &request, &given); });
            arrived += requestBytes;
            stage.DrainThread().WaitFor(arrived);
            stage.Host().MergeDecoded(sonar, given);
        }
        desk.Tap().Set(nullptr);
        qx5::operation::OperatorDesk::Leave(stage.Host());
    });
    stage.Drained().Link().SetObserver(nullptr);
}

} // namespace

std::vector<Case> RecordedPingCases(Stage& stage)
{
    auto const desk = std::make_shared<qx5::operation::OperatorDesk>();
    return {
        {"request-beside-pings",
         "x5Range, live, followed and logged, while 3 sonars tell a water column of 512 x 1000 at 20 pings/s each",
         requestsPerRound,
         [&stage, desk](std::size_t samples, std::vector<double>& nanoseconds) {
             PingingSonars const pinging(stage, nullptr);
             TakeRequests(stage, *desk, nullptr, samples, nanoseconds);
         }},
        {"request-beside-pings-recorded", "the same while all of it is recorded into a file in memory; nothing is lost",
         requestsPerRound,
         [&stage, desk](std::size_t samples, std::vector<double>& nanoseconds) {
             RecordingFolder const folder;
             auto const recorder = std::make_shared<qx5::recording::FlightRecorder>(
                 folder.File(), qx5::recording::RecorderOptions{.program = {}, .tell = {}, .utc = {}, .steady = {}});
             std::uint64_t pings = 0;
             {
                 PingingSonars const pinging(stage, recorder);
                 TakeRequests(stage, *desk, recorder, samples, nanoseconds);
                 pings = pinging.Pings();
             }
             auto const problem = recorder->Finish();
             auto const counts = recorder->Counts();
             if (!problem.empty() || counts.lost != 0 || counts.messages < pings) {
                 throw std::runtime_error("the recording lacks something: " + problem + ' ' +
                                          std::to_string(counts.lost) + " lost, " + std::to_string(counts.messages) +
                                          " written of " + std::to_string(pings) + " pings and more");
             }
         }},
    };
}

} // namespace bench
