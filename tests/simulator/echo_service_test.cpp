// The simulated sonar's echoes on the network: who is sent them, when they are computed, what is left out.
#include <simulator/echo_frames.h>
#include <simulator/sonar_server.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>

#include <protocol/bytes.h>
#include <protocol/echo_records.h>

#include "test_host.h"

namespace qx5::simulator {
namespace {

using namespace std::chrono_literals;
using protocol::Value;
using test::Bytes;
using test::Hex;
using test::Host;
using test::WaitUntil;

constexpr std::uint32_t DetectionsId = 90021;
constexpr std::uint32_t WaterColumnId = 90022;

Bytes EchoRequest(unsigned char wanted, int head = -1)
{
    auto frame = test::Command(90020, {wanted, 0, 0, 0});
    if (head >= 0) {
        frame[36] = 0xD5; // 7125
        frame[37] = 0x1B;
        frame[42] = static_cast<unsigned char>(head);
        frame[43] = 0;
    }
    return frame;
}

/// Hears what a test says, and waits where it is told to.
struct Ear
{
    std::atomic<int> heard{0};
    std::atomic<std::size_t> beams{2};
    std::atomic<std::uint32_t> samples{3};
    std::atomic<bool> isBad{false};
    std::mutex mutex;
    std::condition_variable changed;
    bool isHeld = false;
    int letGo = 0; ///< of those that are held
    std::vector<std::int32_t> numbers;

    void Hold(bool held)
    {
        std::lock_guard const lock(mutex);
        isHeld = held;
        changed.notify_all();
    }
    void LetOneGo()
    {
        std::lock_guard const lock(mutex);
        ++letGo;
        changed.notify_all();
    }
    std::vector<std::int32_t> Numbers()
    {
        std::lock_guard const lock(mutex);
        return numbers;
    }
    EchoWorker::Hear Hear()
    {
        return [this](EchoJob const& job, acoustics::PingEchoes& echoes) -> std::optional<acoustics::Failure> {
            {
                std::unique_lock lock(mutex);
                numbers.push_back(job.number);
                ++heard;
                changed.wait(lock, [this] { return !isHeld || letGo > 0; });
                letGo -= isHeld ? 1 : 0;
            }
            if (isBad) {
                echoes = {};
                return acoustics::Failure{"range 0 m, where more than 0 is wanted"};
            }
            echoes.soundSpeed = 1500.0;
            echoes.pose = {2.0, -4.0, 0.5, 90.0, 1.0, -1.0, 0.25};
            echoes.steering = -2.0;
            echoes.beams = static_cast<std::uint16_t>(beams);
            echoes.detections = {{1, -10.0F, 0.5F, 100.0F, 1.0F}};
            echoes.water = {std::vector<float>(beams, 20.0F),
                            samples,
                            0.125,
                            20.0,
                            0.5,
                            std::vector<std::uint8_t>(beams * samples, 7),
                            std::vector<float>(samples, 10.0F),
                            std::vector<float>(samples, 1.0F)};
            return std::nullopt;
        };
    }
};

class EchoServiceTest : public ::testing::Test
{
protected:
    void Start(ServerOptions options = {})
    {
        options.utc = [] { return 1.5; };
        options.hear = ear.Hear();
        StartAsIs(std::move(options));
        Do("set x5Range=5"); // echoes are in soon
    }
    void StartAsIs(ServerOptions options)
    {
        server = std::make_unique<SonarServer>(std::move(options), [this](SonarEvent const& event) {
            if (event.kind == EventKind::Echoed) {
                ++echoed;
            } else if (event.kind == EventKind::Notice) {
                std::lock_guard const lock(noticesMutex);
                notices.emplace_back(event.text);
            }
        });
        auto const error = server->Start();
        ASSERT_FALSE(error) << error->text;
    }
    ~EchoServiceTest() override
    {
        ear.Hold(false);
        server.reset();
    }
    std::string Do(std::string_view line)
    {
        std::string answer;
        EXPECT_TRUE(server->Command(line, answer)) << line << ": " << answer;
        return answer;
    }
    /// One ping, and its echoes are in.
    void Ping(int heads = 1)
    {
        int const before = echoed;
        Do("ping");
        ASSERT_TRUE(WaitUntil([&] { return echoed == before + heads; }));
    }
    /// The sonar has taken all that the host has sent.
    void Settle(Host& host)
    {
        double const rate = ++rates;
        Bytes number(4);
        protocol::PutF32LE(number, 0, static_cast<float>(rate));
        ASSERT_TRUE(host.Send(test::Command(1004, number)));
        std::optional<Value> told; // of others before
        do {
            told = host.Told(L"x5MaxPingRate");
            ASSERT_TRUE(told);
        } while (told != Value(rate));
    }
    void Ask(Host& host, unsigned char wanted, int head = -1)
    {
        ASSERT_TRUE(host.Send(EchoRequest(wanted, head)));
        Settle(host);
    }
    /// The next record of echoes; 0 at the end of the link.
    static std::uint32_t NextEchoes(Host& host)
    {
        while (host.Frame()) {
            if (host.LastId() != 90010) {
                return host.LastId();
            }
        }
        return 0;
    }
    static protocol::DetectionsView DetectionsIn(Host const& host)
    {
        std::string error;
        auto const view = protocol::DecodeDetections(host.LastData(), error);
        EXPECT_TRUE(view) << error;
        return view.value_or(protocol::DetectionsView{});
    }

    Ear ear;
    std::atomic<int> echoed{0};
    int rates = 10; ///< that were commanded
    std::mutex noticesMutex;
    std::vector<std::string> notices;
    std::unique_ptr<SonarServer> server;
};

TEST_F(EchoServiceTest, NothingIsComputedOrSentUntilAHostAsks)
{
    Start();
    Host idle(server->Port());
    Host host(server->Port());
    ASSERT_TRUE(idle.Told(L"DeviceId"));
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Settle(host);
    ASSERT_EQ(idle.Told(L"x5MaxPingRate"), Value(11.0));
    Ping();
    EXPECT_EQ(ear.heard, 0);
    EXPECT_EQ(Do("status").find("echoes"), std::string::npos);

    Ask(host, 1);
    Ping();
    ASSERT_EQ(NextEchoes(host), DetectionsId);
    // By hand: ping 2 at 1.5 s, 1500 m/s, the pose, tilt -2, two beams, one detection of beam 1.
    EXPECT_EQ(Bytes(host.LastData().begin(), host.LastData().end()),
              Hex("02000000 000000000000f83f 0000000000709740 0000000000000040 00000000000010c0 000000000000e03f"
                  "0000000000805640 000000000000f03f 000000000000f0bf 000000000000d03f 00000000000000c0 02000000"
                  "01000000 0100 000020c1 0000003f 0000c842 0000803f"));
    EXPECT_EQ(Bytes(host.LastFrame().begin() + 36, host.LastFrame().begin() + 44), Hex("d51b0000 0000 0000"));

    Ask(host, 2);
    Ping();
    ASSERT_EQ(NextEchoes(host), WaterColumnId);
    EXPECT_EQ(Bytes(host.LastData().begin() + 84, host.LastData().end()),
              Hex("02000000 03000000 000000000000c03f 0000000000003440 000000000000e03f"
                  "0000a041 0000a041 000020410000204100002041 0000803f0000803f0000803f 07 07 07 07 07 07"));

    Ask(host, 0);
    Ping();
    Settle(host);
    EXPECT_EQ(ear.Numbers(), (std::vector<std::int32_t>{2, 3}));
    // The other one was told of settings alone.
    ASSERT_TRUE(idle.Send(test::RecordRequest(7503)));
    while (idle.Frame() && idle.LastTree().empty()) {
        ASSERT_EQ(idle.LastId(), 90010U);
        if (idle.LastData().size() > 4000) {
            break;
        }
    }
    EXPECT_NE(Do("status").find("echoes: 2 frames given to hosts, 0 not, as those before had not gone, 0 too large "
                                "for a record, 0 pings left out"),
              std::string::npos)
        << Do("status");
}

TEST_F(EchoServiceTest, ARequestThatIsDamagedChangesNothing)
{
    Start();
    Host host(server->Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Ask(host, 1);
    ASSERT_TRUE(host.Send(test::Command(90020, {4, 0, 0, 0})));
    ASSERT_TRUE(host.Send(test::Command(90020, {0, 0, 0})));
    Settle(host);
    Ping();
    EXPECT_EQ(NextEchoes(host), DetectionsId);
}

TEST_F(EchoServiceTest, APingThatComesWhileOneIsComputedWaitsUntilANewerOneComes)
{
    Start();
    Host host(server->Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Ask(host, 1);
    ear.Hold(true);
    Ping();
    ASSERT_TRUE(WaitUntil([&] { return ear.heard == 1; }));
    for (int i = 0; i < 5; ++i) {
        Ping();
    }
    // The sonar goes on answering meanwhile.
    Settle(host);
    // One after the other: of frames that come while one has not gone yet some are left out.
    ear.LetOneGo();
    ASSERT_EQ(NextEchoes(host), DetectionsId);
    EXPECT_EQ(DetectionsIn(host).head.number, 1);
    ear.Hold(false);
    ASSERT_EQ(NextEchoes(host), DetectionsId);
    EXPECT_EQ(DetectionsIn(host).head.number, 6);
    EXPECT_EQ(ear.Numbers(), (std::vector<std::int32_t>{1, 6}));
    EXPECT_EQ(server->Counts().pingsNotComputed, 4U);
    EXPECT_NE(Do("status").find("4 pings left out"), std::string::npos);
}

TEST_F(EchoServiceTest, AHostThatDoesNotReadIsLeftOutWhileOthersAreNot)
{
    Start();
    ear.beams = 500;
    ear.samples = 1000;
    Host slow(server->Port());
    Host host(server->Port());
    ASSERT_TRUE(slow.Told(L"DeviceId"));
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Ask(slow, 3);
    Ask(host, 1);
    // Until the systems' buffers are full: then nothing more is given to it.
    int pings = 0;
    while (server->Counts().echoesDropped < 10 && pings < 500) {
        Ping();
        ++pings;
        ASSERT_EQ(NextEchoes(host), DetectionsId);
        EXPECT_EQ(DetectionsIn(host).head.number, pings);
    }
    EXPECT_GE(server->Counts().echoesDropped, 10U);
    auto const status = Do("status");
    EXPECT_NE(status.find(" not, as those before had not gone"), std::string::npos) << status;
    // What waits for it is bounded, a water column that is leaving and its detections.
    auto const waiting = status.substr(status.find(" frames sent, ", status.find("connection 1:")) + 14);
    EXPECT_LT(std::stoul(waiting), std::size_t{2} << 20) << status;
    EXPECT_EQ(server->Counts().open, 2U);

    // An answer waits behind no more than the frame that is leaving.
    ASSERT_TRUE(slow.Send(test::Command(1004, Hex("00 00 c8 41")))); // 25
    ASSERT_TRUE(WaitUntil([&] { return Do("state x5MaxPingRate") == "x5MaxPingRate = 25 pings/s"; }));
    ASSERT_EQ(host.Told(L"x5MaxPingRate"), Value(25.0));
    auto const given = server->Counts().echoesSent - static_cast<std::uint64_t>(pings);
    std::size_t echoes = 0;
    std::size_t beforeTheAnswer = 0;
    while (echoes < given && slow.Frame()) {
        std::string error;
        auto const tree = slow.LastId() == 90010 ? protocol::DecodeTree(slow.LastData(), error) : std::nullopt;
        echoes += tree ? 0 : 1;
        if (tree && tree->front().key == L"x5MaxPingRate") {
            beforeTheAnswer = echoes;
        }
    }
    EXPECT_EQ(echoes, given);
    EXPECT_NE(beforeTheAnswer, 0U);
    EXPECT_LT(beforeTheAnswer, given) << "echoes that waited come behind the answer";
    // It reads again and is told again.
    Ping();
    EXPECT_NE(NextEchoes(slow), 0U);
}

TEST_F(EchoServiceTest, HeadsAreAskedOneByOne)
{
    ServerOptions options;
    options.heads = 2;
    Start(options);
    Host host(server->Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Ask(host, 1, 1);
    Ping(2);
    ASSERT_EQ(NextEchoes(host), DetectionsId);
    EXPECT_EQ(host.LastFrame()[42], 1);
    Settle(host);
    EXPECT_EQ(ear.heard, 1);
    Ask(host, 2, 0);
    Ping(2);
    std::uint32_t const first = NextEchoes(host);
    auto const firstHead = host.LastFrame()[42];
    std::uint32_t const second = NextEchoes(host);
    auto const secondHead = host.LastFrame()[42];
    EXPECT_TRUE((first == WaterColumnId && firstHead == 0 && second == DetectionsId && secondHead == 1) ||
                (first == DetectionsId && firstHead == 1 && second == WaterColumnId && secondHead == 0));
}

TEST_F(EchoServiceTest, WhatNoRecordHoldsIsToldByTheStatus)
{
    Start();
    ear.beams = 4096;
    Host host(server->Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Ask(host, 3);
    Ping();
    ASSERT_TRUE(WaitUntil([&] { return Do("status").find("2 too large for a record") != std::string::npos; }));
    ear.beams = 2;
    Ping();
    EXPECT_EQ(NextEchoes(host), DetectionsId);
}

TEST_F(EchoServiceTest, SettingsThatAreNotGoodAreToldOnce)
{
    Start();
    ear.isBad = true;
    Host host(server->Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Ask(host, 1);
    for (int i = 0; i < 3; ++i) {
        Ping();
        ASSERT_EQ(NextEchoes(host), DetectionsId);
        EXPECT_EQ(DetectionsIn(host).count, 0U);
    }
    std::lock_guard const lock(noticesMutex);
    EXPECT_EQ(notices, std::vector<std::string>{"nothing is heard: range 0 m, where more than 0 is wanted"});
}

TEST_F(EchoServiceTest, ASonarThatVanishesInMidFrameIsAskedAnewByWhoComesBack)
{
    Start();
    {
        Host host(server->Port());
        ASSERT_TRUE(host.Told(L"DeviceId"));
        Ask(host, 2);
        Do("misbehave half-frame");
        Ping();
        EXPECT_TRUE(host.Ends());
        EXPECT_GT(host.Reader().BufferedBytes(), 0U) << "half of one";
    }
    Host host(server->Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    int const before = ear.heard;
    Ping();
    Settle(host);
    EXPECT_EQ(ear.heard, before) << "the new link has asked for nothing";
    Ask(host, 2);
    Ping();
    EXPECT_EQ(NextEchoes(host), WaterColumnId);
}

TEST_F(EchoServiceTest, ItEndsWhileAPingIsComputed)
{
    Start();
    Host host(server->Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Ask(host, 3);
    ear.Hold(true);
    Ping();
    ASSERT_TRUE(WaitUntil([&] { return ear.heard == 1; }));
    ASSERT_TRUE(host.Send(test::Command(1000))); // shut down
    EXPECT_TRUE(host.Ends());
    EXPECT_EQ(Do("start"), "on");
    std::thread let([&] { ear.Hold(false); });
    server->Stop();
    let.join();
}

TEST_F(EchoServiceTest, ASilentSonarSendsNone)
{
    Start();
    Host host(server->Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Ask(host, 1);
    Do("misbehave silent");
    Ping();
    ASSERT_TRUE(WaitUntil([&] { return ear.heard == 1; }));
    // Once the next one is being heard the first has been handed on.
    ear.Hold(true);
    Ping();
    ASSERT_TRUE(WaitUntil([&] { return ear.heard == 2; }));
    Do("behave");
    ear.Hold(false);
    ASSERT_EQ(NextEchoes(host), DetectionsId);
    EXPECT_EQ(DetectionsIn(host).head.number, 2);
}

TEST_F(EchoServiceTest, TheTrackerSetsWhatItHearsAReasonForAndReportsIt)
{
    Start(); // an echo from 375 m, of one beam of two
    Host host(server->Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Do("set x5TrackerRangeEnabled=true");
    Ping();
    EXPECT_EQ(ear.heard, 0) << "the sonar is in no tracker mode";
    Do("set x5SystemMode=1");
    Ping();
    EXPECT_TRUE(WaitUntil([&] { return ear.heard == 1; })) << "though no host has asked";
    EXPECT_TRUE(WaitUntil([&] { return Do("state x5Range") == "x5Range = 500 m"; }));
    Settle(host);
    bool isReported = false;
    for (auto const& tree : host.Trees()) {
        for (auto const& node : tree) {
            isReported = isReported || (node.key == L"x5Range" && node.value == Value(500.0));
        }
    }
    EXPECT_TRUE(isReported);

    // What an operator has changed meanwhile stays, and so does all once the tracker is off.
    Ask(host, 1);
    Do("set x5Range=5");
    ear.Hold(true);
    Ping();
    ASSERT_TRUE(WaitUntil([&] { return ear.heard == 2; }));
    Do("set x5Range=8");
    ear.Hold(false);
    ASSERT_EQ(NextEchoes(host), DetectionsId);
    EXPECT_EQ(Do("state x5Range"), "x5Range = 8 m");
    Do("set x5SystemMode=0");
    Do("set x5Range=5");
    Ping();
    ASSERT_EQ(NextEchoes(host), DetectionsId);
    Settle(host);
    EXPECT_EQ(Do("state x5Range"), "x5Range = 5 m");
}

TEST_F(EchoServiceTest, TheTrackerTransmitsNothingWhereNothingIsTransmitted)
{
    Start();
    Host host(server->Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Do("set x5Power=0");
    Do("set x5TrackerPowerGainEnabled=true");
    Do("set x5SystemMode=1");
    ear.isBad = false;
    ear.beams = 100; // one detection is as good as none
    Ping();
    ASSERT_TRUE(WaitUntil([&] { return Do("state x5SpreadingLoss") == "x5SpreadingLoss = 30 dB"; }));
    EXPECT_EQ(Do("state x5Power"), "x5Power = 0 dB");
}

TEST_F(EchoServiceTest, TheTrackerFindsTheRangeOfAScene)
{
    ServerOptions options;
    options.scene = "flat";
    options.depth = 5.0;
    options.calm = true;
    StartAsIs(options);
    Do("set x5Range=200");
    Do("set x5CoverageAngle=90");
    Do("set x5TrackerRangeEnabled=true");
    Do("set x5SystemMode=1");
    // Half of the swath of 90 degrees lies within 5 m x sqrt(2), with room 8 to 10 m.
    EXPECT_TRUE(WaitUntil([&] {
        Ping();
        auto const range = Do("state x5Range");
        return range == "x5Range = 8 m" || range == "x5Range = 10 m";
    })) << Do("state x5Range");
}

TEST_F(EchoServiceTest, TheSceneIsHeard)
{
    ServerOptions options;
    options.scene = "flat";
    options.depth = 20.0;
    options.calm = true;
    StartAsIs(options);
    Host host(server->Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Ask(host, 3);
    Ping();
    ASSERT_EQ(NextEchoes(host), DetectionsId);
    auto const detections = DetectionsIn(host);
    EXPECT_GT(detections.count, 100U);
    double nearest = 1e9; // the shortest way is straight down
    for (std::size_t i = 0; i < detections.count; ++i) {
        nearest = std::min<double>(nearest, protocol::GetF32LE(detections.travelTime, 4 * i));
    }
    EXPECT_NEAR(nearest * detections.head.soundVelocity / 2.0, 20.0, 1.0);
    ASSERT_EQ(NextEchoes(host), WaterColumnId);
    std::string error;
    auto const water = protocol::DecodeWaterColumn(host.LastData(), error);
    ASSERT_TRUE(water) << error;
    EXPECT_GT(water->samples, 100U);
}

TEST_F(EchoServiceTest, ASceneThatThereIsNotKeepsItFromStarting)
{
    ServerOptions options;
    options.scene = "moon";
    SonarServer none(options);
    auto const error = none.Start();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, StartError::Kind::BadScene);
    EXPECT_NE(error->text.find("moon"), std::string::npos) << error->text;
}

} // namespace
} // namespace qx5::simulator
