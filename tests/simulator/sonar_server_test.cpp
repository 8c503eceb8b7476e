// The sonar on the network: answers, pings and failures, seen from a host's socket.
#include <simulator/sonar_server.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>

#include <simulator/misbehaviour.h>

#include "test_host.h"

namespace qx5::simulator {
namespace {

using namespace std::chrono_literals;
using protocol::Value;
using test::Bytes;
using test::Hex;
using test::Host;
using test::WaitUntil;

class SonarServerTest : public ::testing::Test
{
protected:
    void Start(ServerOptions options = {})
    {
        m_server = std::make_unique<SonarServer>(std::move(options), [this](SonarEvent const& event) {
            std::lock_guard const lock(m_mutex);
            m_kinds.push_back(event.kind);
            if (event.kind == EventKind::Pinged || event.kind == EventKind::Echoed) {
                m_pings.push_back({event.kind, event.head, event.pingNumber, std::chrono::steady_clock::now()});
            }
            if (event.kind == EventKind::Pinged) {
                m_course.emplace_back("ping");
            } else if (event.kind == EventKind::Echoed) {
                m_course.emplace_back("echoes");
            } else if (event.kind == EventKind::Answered && event.text.starts_with("settings of ping")) {
                m_course.emplace_back(event.text);
            }
        });
        auto const error = m_server->Start();
        ASSERT_FALSE(error) << error->text;
        ASSERT_NE(m_server->Port(), 0);
    }
    void StartWithRoomFor(std::size_t connections, std::chrono::milliseconds quietLimit)
    {
        ServerOptions options;
        options.greatestConnections = connections;
        options.quietLimit = quietLimit;
        Start(options);
    }
    std::string Do(std::string_view line, bool good = true)
    {
        std::string answer;
        EXPECT_EQ(m_server->Command(line, answer), good) << line << ": " << answer;
        return answer;
    }
    std::size_t Count(EventKind kind)
    {
        std::lock_guard const lock(m_mutex);
        return static_cast<std::size_t>(std::count(m_kinds.begin(), m_kinds.end(), kind));
    }
    /// What happened about pings, in order.
    std::vector<std::string> Course()
    {
        std::lock_guard const lock(m_mutex);
        return m_course;
    }
    struct PingEvent
    {
        EventKind kind;
        std::int32_t head;
        std::int32_t number;
        std::chrono::steady_clock::time_point time;
    };
    std::vector<PingEvent> Pings()
    {
        std::lock_guard const lock(m_mutex);
        return m_pings;
    }
    std::uint16_t Port() const { return m_server->Port(); }

    std::mutex m_mutex;
    std::vector<EventKind> m_kinds;
    std::vector<PingEvent> m_pings;
    std::vector<std::string> m_course;
    std::unique_ptr<SonarServer> m_server; // ends before what its sink uses
};

TEST_F(SonarServerTest, IntroducesItselfAndReportsWhatWasCommanded)
{
    Start();
    Host host(Port());
    ASSERT_TRUE(host.Connected());
    EXPECT_EQ(host.Told(L"DeviceId"), Value(std::int32_t{7125}));
    ASSERT_TRUE(host.Send(test::RangeFifty()));
    EXPECT_EQ(host.Told(L"x5Range"), Value(50.0));
    // The report byte by byte: one node "x5Range" of kind 4 (double), without children.
    Bytes const& frame = host.LastFrame();
    Bytes const tree = Hex("01 00 00 00  01 00 00 00  07 00 00 00 78 35 52 61 6e 67 65  04 00 00 00 00 00 00 49 40"
                           "00 00 00 00");
    ASSERT_EQ(frame.size(), 64 + tree.size() + 4);
    EXPECT_EQ(Bytes(frame.begin() + 64, frame.end() - 4), tree);
    EXPECT_EQ(Bytes(frame.begin(), frame.begin() + 12), Hex("05 00 3c 00 ff ff 00 00 64 00 00 00"));
    EXPECT_EQ(Bytes(frame.begin() + 32, frame.begin() + 36), Hex("9a 5f 01 00")); // 90010
}

TEST_F(SonarServerTest, ReportsManyChangesTogether)
{
    ServerOptions options;
    options.reportLatency = 100ms;
    Start(options);
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Bytes bytes = test::RangeFifty();
    for (Bytes const& more : {test::Command(1008, Hex("00 00 20 41")), test::Command(1100)}) {
        bytes.insert(bytes.end(), more.begin(), more.end());
    }
    ASSERT_TRUE(host.Send(bytes));
    EXPECT_EQ(host.Told(L"x5Range"), Value(50.0));
    ASSERT_EQ(host.LastTree().size(), 3U);
    EXPECT_EQ(host.LastTree()[1].value, Value(10.0));
    EXPECT_EQ(host.LastTree()[2].value, Value(std::int32_t{1}));
}

TEST_F(SonarServerTest, AnswersRequestsAndCountsThoseThatItCannot)
{
    Start();
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    ASSERT_TRUE(host.Send(test::RecordRequest(7777)));
    ASSERT_TRUE(host.Send(test::RecordRequest(7503)));
    EXPECT_EQ(host.Told(L"x5SampleRateSelection"), Value(std::int32_t{0}));
    EXPECT_EQ(host.LastTree().front().key, L"x5SonarSettings");
    EXPECT_NE(Do("status").find("1 unanswered request"), std::string::npos);
}

TEST_F(SonarServerTest, TakesFramesInAnySplit)
{
    Start();
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Bytes bytes = test::RangeFifty();
    Bytes const gain = test::Command(1008, Hex("00 00 20 41"));
    bytes.insert(bytes.end(), gain.begin(), gain.end());
    for (unsigned char const byte : bytes) {
        ASSERT_TRUE(host.Send(&byte, 1));
    }
    EXPECT_EQ(host.Told(L"x5Gain"), Value(10.0));
    EXPECT_NE(Do("state x5Range").find("50 m"), std::string::npos);
}

TEST_F(SonarServerTest, FindsTheNextFrameAfterGarbage)
{
    Start();
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Bytes bytes(5000, 0x05);
    Bytes const range = test::RangeFifty();
    bytes.insert(bytes.end(), range.begin(), range.begin() + 40);
    bytes.insert(bytes.end(), range.begin(), range.end());
    // The cut frame claims 96 bytes; two more frames make sure that its end is seen.
    bytes.insert(bytes.end(), range.begin(), range.end());
    bytes.insert(bytes.end(), range.begin(), range.end());
    ASSERT_TRUE(host.Send(bytes));
    EXPECT_EQ(host.Told(L"x5Range"), Value(50.0));
    ASSERT_TRUE(WaitUntil([&] { return m_server->Counts().recordsReceived == 3; }));
    EXPECT_EQ(m_server->Counts().skippedBytes, 5040U);
    EXPECT_EQ(Count(EventKind::Damaged), 1U);
}

TEST_F(SonarServerTest, GivesUpAFrameThatIsNeverFinished)
{
    ServerOptions options;
    options.idleLimit = 40ms;
    Start(options);
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    // The start of a frame of 1 MiB, and a range of 50 m behind it.
    Bytes bytes = Hex("05 00 3c 00 ff ff 00 00 00 00 10 00");
    Bytes const range = test::RangeFifty();
    bytes.insert(bytes.end(), range.begin(), range.end());
    ASSERT_TRUE(host.Send(bytes));
    EXPECT_EQ(host.Told(L"x5Range"), Value(50.0));
    EXPECT_EQ(m_server->Counts().skippedBytes, 12U);
    ASSERT_TRUE(WaitUntil([&] { return Count(EventKind::Damaged) == 1; }));
    ASSERT_TRUE(host.Send(bytes));
    ASSERT_TRUE(WaitUntil([&] { return m_server->Counts().recordsReceived == 2; }));
    EXPECT_EQ(Count(EventKind::Damaged), 1U);
}

TEST_F(SonarServerTest, HearsAHostThatGoesOnTalkingAfterAFalseSizeWord)
{
    ServerOptions options;
    options.idleLimit = 1h;
    Start(options);
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    // The start of a frame of 127 MiB, and commands that do not amount to it within this test.
    ASSERT_TRUE(host.Send(Hex("05 00 3c 00 ff ff 00 00 00 00 f0 07")));
    std::uint64_t sent = 0;
    ASSERT_TRUE(WaitUntil([&] {
        ++sent;
        return host.Send(test::RangeFifty()) && m_server->Counts().recordsReceived > 0;
    }));
    ASSERT_TRUE(WaitUntil([&] { return m_server->Counts().recordsReceived == sent; })) << "none is lost";
    EXPECT_EQ(host.Told(L"x5Range"), Value(50.0));
    EXPECT_EQ(m_server->Counts().skippedBytes, 12U);
    EXPECT_EQ(Count(EventKind::Damaged), 1U);
}

TEST_F(SonarServerTest, ServesTwoHosts)
{
    Start();
    Host first(Port());
    Host second(Port());
    ASSERT_TRUE(first.Told(L"DeviceId"));
    ASSERT_TRUE(second.Told(L"DeviceId"));
    ASSERT_TRUE(first.Send(test::RangeFifty()));
    EXPECT_EQ(first.Told(L"x5Range"), Value(50.0));
    EXPECT_EQ(second.Told(L"x5Range"), Value(50.0));
    EXPECT_EQ(m_server->Counts().open, 2U);
}

TEST_F(SonarServerTest, RefusesMoreHostsThanItHasRoomForWhileAllAreAtWork)
{
    StartWithRoomFor(1, 1h);
    Host first(Port());
    ASSERT_TRUE(first.Send(test::RangeFifty()));
    EXPECT_EQ(first.Told(L"x5Range"), Value(100.0));
    EXPECT_EQ(first.Told(L"x5Range"), Value(50.0));
    Host second(Port());
    EXPECT_TRUE(second.Ends());
    EXPECT_EQ(m_server->Counts().refused, 1U);
}

TEST_F(SonarServerTest, IdleConnectionsDoNotLockAHostOut)
{
    Start();
    std::vector<std::unique_ptr<Host>> idle;
    for (std::size_t i = 0; i < ServerOptions().greatestConnections; ++i) {
        idle.push_back(std::make_unique<Host>(Port()));
        ASSERT_TRUE(idle.back()->Told(L"DeviceId"));
    }
    Host host(Port());
    EXPECT_EQ(host.Told(L"DeviceId"), Value(std::int32_t{7125}));
    EXPECT_TRUE(idle.front()->Ends());
}

TEST_F(SonarServerTest, WhoNeverSentAFrameGivesWayTheOldestFirst)
{
    StartWithRoomFor(3, 1h);
    Host known(Port());
    ASSERT_TRUE(known.Send(test::RangeFifty()));
    ASSERT_TRUE(WaitUntil([&] { return m_server->Counts().recordsReceived == 1; }));
    Host older(Port());
    ASSERT_TRUE(older.Told(L"DeviceId"));
    Host younger(Port());
    ASSERT_TRUE(younger.Told(L"DeviceId"));
    Host another(Port());
    EXPECT_TRUE(another.Told(L"DeviceId"));
    EXPECT_TRUE(older.Ends());
    Do("set x5Gain=7");
    for (Host* const host : {&known, &younger, &another}) {
        EXPECT_EQ(host->Told(L"x5Gain"), Value(host == &known ? 20.0 : 7.0));
    }
    EXPECT_EQ(known.Told(L"x5Gain"), Value(7.0)) << "the introduction came before";
    EXPECT_EQ(m_server->Counts().open, 3U);
    EXPECT_EQ(m_server->Counts().refused, 0U);
}

TEST_F(SonarServerTest, WhoSentAFrameOnceAndThenNothingGivesWayInTheEnd)
{
    StartWithRoomFor(1, 1s);
    Host quiet(Port());
    ASSERT_TRUE(quiet.Send(test::RangeFifty()));
    EXPECT_TRUE(WaitUntil([&] { return Host(Port()).Told(L"DeviceId").has_value(); }));
    EXPECT_TRUE(quiet.Ends());
}

TEST_F(SonarServerTest, EndsAConnectionThatSendsNoFrame)
{
    StartWithRoomFor(1, 100ms); // no room to spare
    Host silent(Port());
    EXPECT_TRUE(silent.Ends());
    Host talking(Port());
    ASSERT_TRUE(talking.Connected());
    Bytes const nonsense(100, 0x05);
    EXPECT_TRUE(WaitUntil([&] {
        talking.SendSome(nonsense);
        return m_server->Counts().connections == 2 && m_server->Counts().open == 0;
    }));
}

TEST_F(SonarServerTest, KeepsAHostThatOnlyReadsWhileThereIsRoom)
{
    ServerOptions options;
    options.quietLimit = 100ms;
    Start(options);
    Host reader(Port());
    ASSERT_TRUE(reader.Told(L"DeviceId"));
    // The limit of a connection that began later has passed.
    Host talking(Port());
    ASSERT_TRUE(talking.Send(Bytes(100, 0x05)));
    EXPECT_TRUE(talking.Ends());
    Do("set x5Gain=7");
    EXPECT_EQ(reader.Told(L"x5Gain"), Value(7.0));
}

TEST_F(SonarServerTest, KeepsAHostThatHasSentAFrame)
{
    StartWithRoomFor(2, 1s);
    Host host(Port());
    ASSERT_TRUE(host.Send(test::RangeFifty()));
    // The limit of a connection that began later has passed.
    ASSERT_TRUE(WaitUntil([&] { return m_server->Counts().recordsReceived == 1; }));
    EXPECT_TRUE(Host(Port()).Ends());
    EXPECT_EQ(m_server->Counts().open, 1U);
}

TEST_F(SonarServerTest, UnfinishedFramesOfAllConnectionsHaveABound)
{
    ServerOptions options;
    options.greatestUnfinished = std::size_t{1} << 20;
    options.idleLimit = 1h;
    options.frameShare = 1h;
    options.quietLimit = 1h;
    Start(options);
    Host known(Port());
    ASSERT_TRUE(known.Send(test::RangeFifty()));
    Bytes const large = test::DataFrame(7000, Bytes(900'000));
    Bytes const claim(large.begin(), large.end() - 400'000);
    ASSERT_TRUE(known.Send(claim));
    ASSERT_TRUE(WaitUntil([&] { return m_server->Counts().bytesReceived == 96 + claim.size(); }));
    // Together 1,000,136 bytes, and then more than the bound: a stranger goes, though it has the smaller part.
    Host stranger(Port());
    ASSERT_TRUE(stranger.Send(Bytes(claim.begin(), claim.end() - 68)));
    ASSERT_TRUE(WaitUntil([&] { return m_server->Counts().bytesReceived == 96 + 2 * claim.size() - 68; }));
    EXPECT_EQ(m_server->Counts().open, 2U);
    ASSERT_TRUE(stranger.Send(Bytes(100'000)));
    EXPECT_TRUE(stranger.Ends());
    ASSERT_TRUE(known.Send(Bytes(large.end() - 400'000, large.end())));
    EXPECT_TRUE(WaitUntil([&] { return m_server->Counts().recordsReceived == 2; }));
    // Of hosts that are known the one with most.
    Host second(Port());
    ASSERT_TRUE(second.Send(test::RangeFifty()));
    ASSERT_TRUE(WaitUntil([&] { return m_server->Counts().recordsReceived == 3; }));
    ASSERT_TRUE(known.Send(Bytes(claim.begin(), claim.end() - 200'000)));
    second.Send(Bytes(large.begin(), large.end() - 100'000));
    EXPECT_TRUE(second.Ends());
    EXPECT_EQ(m_server->Counts().open, 1U);
}

TEST_F(SonarServerTest, TellsItsSettingsAsItPings)
{
    Start();
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    auto const commanded = std::chrono::steady_clock::now();
    ASSERT_TRUE(host.Send(test::Command(1107))); // range 100 m, 1500 m/s: 133.3 ms
    EXPECT_EQ(host.Told(L"x5PingNumber"), Value(std::int32_t{1}));
    ASSERT_EQ(host.LastTree().size(), 4U);
    EXPECT_EQ(host.LastTree()[1].key, L"x5PingTime");
    EXPECT_EQ(host.LastTree()[2].value, Value(100.0));
    EXPECT_EQ(host.LastTree()[3].value, Value(1500.0));
    ASSERT_TRUE(WaitUntil([&] { return Count(EventKind::Echoed) == 1; }));
    EXPECT_EQ(Course(), (std::vector<std::string>{"ping", "settings of ping 1", "echoes"}));
    EXPECT_GE(Pings()[1].time - commanded, 133ms);
    EXPECT_EQ(Do("ping"), "ping 2");
    EXPECT_EQ(host.Told(L"x5PingNumber"), Value(std::int32_t{2}));
}

TEST_F(SonarServerTest, TellsTheSettingsOfItsOwnPingsAsItPings)
{
    ServerOptions options;
    options.announcePings = true;
    Start(options);
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    ASSERT_TRUE(host.Send(test::Command(1004, Hex("00 00 80 3f")))); // one a second
    ASSERT_TRUE(host.Told(L"x5MaxPingRate"));
    ASSERT_TRUE(host.Send(test::Command(1100)));
    EXPECT_EQ(host.Told(L"x5PingNumber"), Value(std::int32_t{1}));
    ASSERT_TRUE(WaitUntil([&] { return Count(EventKind::Echoed) >= 1; }));
    auto course = Course();
    course.resize(3);
    EXPECT_EQ(course, (std::vector<std::string>{"ping", "settings of ping 1", "echoes"}));
}

TEST_F(SonarServerTest, HasOnePingInTheWaterAndTheNextWaitsForItsEchoes)
{
    Start();
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Bytes bytes;
    for (int i = 0; i < 3; ++i) {
        Bytes const ping = test::Command(1107);
        bytes.insert(bytes.end(), ping.begin(), ping.end());
    }
    auto const commanded = std::chrono::steady_clock::now();
    ASSERT_TRUE(host.Send(bytes));
    ASSERT_TRUE(WaitUntil([&] { return Count(EventKind::Echoed) == 3; }));
    auto const pings = Pings();
    ASSERT_EQ(pings.size(), 6U);
    for (std::size_t i = 0; i < pings.size(); ++i) {
        EXPECT_EQ(pings[i].kind, i % 2 == 0 ? EventKind::Pinged : EventKind::Echoed) << i;
        EXPECT_EQ(pings[i].number, static_cast<std::int32_t>(i / 2) + 1);
        EXPECT_EQ(pings[i].head, -1) << "it has one head";
    }
    // A ping can be told of late, its echoes never early.
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_GE(pings[2 * i + 1].time - commanded, (i + 1) * 133ms) << i;
    }
}

TEST_F(SonarServerTest, LeavesOutPingsBeyondThoseThatCanWait)
{
    Start();
    Do("set x5Range=500"); // 667 ms
    EXPECT_EQ(Do("ping"), "ping 1");
    int waiting = 0;
    std::string answer;
    while (m_server->Command("ping", answer)) {
        EXPECT_EQ(answer, "the sonar listens; the ping waits until the echoes are in");
        ASSERT_LT(++waiting, 1000);
    }
    EXPECT_EQ(answer, "too many pings wait; this one is left out");
    EXPECT_GE(waiting, 64);
    EXPECT_EQ(Count(EventKind::Notice), 1U);
}

TEST_F(SonarServerTest, ASingleHeadBearsTheNumberOfItsOperationMode)
{
    Start();
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    EXPECT_EQ(Bytes(host.LastFrame().begin() + 36, host.LastFrame().begin() + 44), Hex("d5 1b 00 00 00 00 00 00"));
    ASSERT_TRUE(host.Send(test::Command(1011, Hex("01 00 00 00"))));
    EXPECT_EQ(host.Told(L"DeviceEnum"), Value(std::int32_t{1}));
    EXPECT_EQ(Bytes(host.LastFrame().begin() + 36, host.LastFrame().begin() + 44), Hex("d5 1b 00 00 00 00 01 00"));
}

TEST_F(SonarServerTest, EachOfTwoHeadsIntroducesItselfUnderItsOwnEnumerator)
{
    ServerOptions options;
    options.heads = 2;
    Start(options);
    Host host(Port());
    for (unsigned char head = 0; head < 2; ++head) {
        EXPECT_EQ(host.Told(L"DeviceEnum"), Value(std::int32_t{head}));
        EXPECT_EQ(Bytes(host.LastFrame().begin() + 36, host.LastFrame().begin() + 40), Hex("d5 1b 00 00")); // 7125
        EXPECT_EQ(Bytes(host.LastFrame().begin() + 42, host.LastFrame().begin() + 44), (Bytes{head, 0}));
        std::vector<Value> modes;
        for (auto const& node : host.LastTree()) {
            if (node.key == L"x5EnumIsFixed") {
                EXPECT_EQ(node.value, Value(true));
            }
            if (node.key == L"x5SonarSettings") {
                modes.push_back(node.children[1].value);
            }
        }
        EXPECT_EQ(modes, (std::vector<Value>{std::int32_t{0}, std::int32_t{1}}));
    }
    // What is said to the sonar as a whole holds for both, and each reports it.
    ASSERT_TRUE(host.Send(test::RangeFifty()));
    for (unsigned char head = 0; head < 2; ++head) {
        EXPECT_EQ(host.Told(L"x5Range"), Value(50.0));
        EXPECT_EQ(host.LastFrame()[42], head);
    }
    // A head's number is no operation mode to choose.
    ASSERT_TRUE(host.Send(test::Command(1011, Hex("01 00 00 00"))));
    EXPECT_EQ(host.Told(L"DeviceEnum"), Value(std::int32_t{0}));
    EXPECT_EQ(host.Told(L"DeviceEnum"), Value(std::int32_t{1}));
}

TEST_F(SonarServerTest, AHeadThatIsAddressedPingsAndAnswersAlone)
{
    ServerOptions options;
    options.heads = 2;
    Start(options);
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    ASSERT_TRUE(host.Told(L"DeviceId"));
    auto const to = [](unsigned char enumerator, Bytes frame) {
        frame[36] = 0xd5; // 7125
        frame[37] = 0x1b;
        frame[42] = enumerator;
        frame[43] = 0;
        return frame;
    };
    ASSERT_TRUE(host.Send(to(1, test::Command(1107))));
    EXPECT_EQ(host.Told(L"x5PingNumber"), Value(std::int32_t{1}));
    EXPECT_EQ(host.LastFrame()[42], 1);
    // The other head does not wait for its echoes.
    ASSERT_TRUE(host.Send(to(0, test::Command(1107))));
    EXPECT_EQ(host.Told(L"x5PingNumber"), Value(std::int32_t{2}));
    EXPECT_EQ(host.LastFrame()[42], 0);
    ASSERT_TRUE(host.Send(to(1, test::RecordRequest(7504))));
    EXPECT_TRUE(host.Told(L"x5PingOnOffState"));
    EXPECT_EQ(host.LastFrame()[42], 1);
    ASSERT_TRUE(host.Send(to(7, test::Command(1107)))); // there is no such head
    ASSERT_TRUE(WaitUntil([&] { return Count(EventKind::Notice) == 1; }));
    auto const pings = Pings();
    ASSERT_GE(pings.size(), 2U);
    EXPECT_EQ(pings[0].head, 1);
    EXPECT_EQ(m_server->Counts().pings, 2U);
    // At a command to the sonar as a whole both ping.
    ASSERT_TRUE(WaitUntil([&] { return Count(EventKind::Echoed) == 2; }));
    ASSERT_TRUE(host.Send(test::Command(1107)));
    EXPECT_EQ(host.Told(L"x5PingNumber"), Value(std::int32_t{3}));
    EXPECT_EQ(host.LastFrame()[42], 0);
    EXPECT_EQ(host.Told(L"x5PingNumber"), Value(std::int32_t{4}));
    EXPECT_EQ(host.LastFrame()[42], 1);
}

TEST_F(SonarServerTest, PingsByItsRateNoFasterThanTheEchoesAllow)
{
    ServerOptions options;
    options.announcePings = true;
    Start(options);
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Do("set x5Range=15");         // 20 ms both ways
    Do("set x5MaxPingRate=1000"); // it takes 50 at most
    EXPECT_NE(Do("state x5MaxPingRate").find("50"), std::string::npos);
    auto const before = std::chrono::steady_clock::now();
    ASSERT_TRUE(host.Send(test::Command(1100)));
    for (std::int32_t number = 1; number <= 10; ++number) {
        ASSERT_EQ(host.Told(L"x5PingNumber"), Value(number));
    }
    EXPECT_GE(std::chrono::steady_clock::now() - before, 179ms); // nine intervals
    ASSERT_TRUE(host.Send(test::Command(1101)));
    EXPECT_EQ(host.Told(L"x5PingOnOffState"), Value(std::int32_t{0}));
}

TEST_F(SonarServerTest, DoesNotPingAtARateOfZero)
{
    Start();
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    ASSERT_TRUE(host.Send(test::Command(1004, Hex("00 00 00 00"))));
    ASSERT_TRUE(host.Send(test::Command(1100)));
    EXPECT_EQ(host.Told(L"x5PingOnOffState"), Value(std::int32_t{1}));
    EXPECT_EQ(m_server->Counts().pings, 0U);
}

TEST_F(SonarServerTest, TellsOfTheRecordingWhileItGrows)
{
    ServerOptions options;
    options.recordingTick = 10ms;
    Start(options);
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    ASSERT_TRUE(host.Send(test::Command(1200, Bytes(260))));
    EXPECT_EQ(host.Told(L"x5DataRecording"), Value(std::int32_t{1}));
    ASSERT_TRUE(host.Send(test::Command(1100))); // with each ping
    std::int64_t last = 0;
    for (int i = 0; i < 3; ++i) {
        auto const size = host.Told(L"x5FileSize");
        ASSERT_TRUE(size && std::holds_alternative<std::int64_t>(*size));
        EXPECT_GT(std::get<std::int64_t>(*size), last);
        last = std::get<std::int64_t>(*size);
    }
    ASSERT_TRUE(host.Send(test::Command(1201)));
    EXPECT_EQ(host.Told(L"x5DataRecording"), Value(std::int32_t{0}));
}

TEST_F(SonarServerTest, ShutsDownAndStartsAgain)
{
    Start();
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    ASSERT_TRUE(host.Send(test::Command(1000)));
    EXPECT_TRUE(host.Ends());
    EXPECT_FALSE(Host(Port()).Connected());
    Do("ping", false);
    EXPECT_EQ(Do("start"), "on");
    Host again(Port());
    EXPECT_EQ(again.Told(L"DeviceId"), Value(std::int32_t{7125}));
}

TEST_F(SonarServerTest, ComesBackFromARebootWithoutPingingAndWithItsSettings)
{
    ServerOptions options;
    options.rebootTime = 50ms;
    Start(options);
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    ASSERT_TRUE(host.Send(test::RangeFifty()));
    ASSERT_TRUE(host.Send(test::Command(1100)));
    ASSERT_TRUE(host.Send(test::Command(1001)));
    EXPECT_TRUE(host.Ends());
    ASSERT_TRUE(WaitUntil([&] { return Do("status").starts_with("listening"); }));
    Host again(Port());
    ASSERT_TRUE(again.Connected());
    EXPECT_EQ(again.Told(L"x5Range"), Value(50.0));
    EXPECT_NE(Do("state x5PingOnOffState").find("= 0"), std::string::npos);
}

TEST_F(SonarServerTest, DropsTheLinkAtOnceOrAfterSomeRecords)
{
    Start();
    {
        Host host(Port());
        ASSERT_TRUE(host.Told(L"DeviceId"));
        Do("misbehave drop-link");
        EXPECT_TRUE(host.Ends());
    }
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Do("misbehave drop-link 2");
    ASSERT_TRUE(host.Send(test::RangeFifty()));
    EXPECT_EQ(host.Told(L"x5Range"), Value(50.0));
    ASSERT_TRUE(host.Send(test::RangeFifty()));
    EXPECT_TRUE(host.Ends());
    Host third(Port()); // it happens once
    ASSERT_TRUE(third.Told(L"DeviceId"));
    ASSERT_TRUE(third.Send(test::RangeFifty()));
    ASSERT_TRUE(third.Send(test::RangeFifty()));
    EXPECT_EQ(third.Told(L"x5Range"), Value(50.0));
    EXPECT_EQ(Do("drop"), "1 connection dropped");
    EXPECT_TRUE(third.Ends());
}

TEST_F(SonarServerTest, AnswersLate)
{
    Start();
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Do("misbehave answer-late 150");
    auto const before = std::chrono::steady_clock::now();
    ASSERT_TRUE(host.Send(test::RecordRequest(7002)));
    ASSERT_TRUE(host.Told(L"x5PulseLength"));
    EXPECT_GE(std::chrono::steady_clock::now() - before, 150ms);
    // Answers keep their order when the delay ends.
    ASSERT_TRUE(host.Send(test::RecordRequest(7002)));
    ASSERT_TRUE(WaitUntil([&] { return m_server->Counts().recordsReceived == 2; }));
    Do("behave");
    ASSERT_TRUE(host.Send(test::RecordRequest(7504)));
    EXPECT_TRUE(host.Told(L"x5PulseLength"));
    EXPECT_TRUE(host.Told(L"x5PingOnOffState"));
}

TEST_F(SonarServerTest, RefusesConnections)
{
    Start();
    Do("misbehave refuse");
    {
        Host host(Port());
        EXPECT_TRUE(!host.Connected() || host.Ends());
        EXPECT_TRUE(host.AllBytes().empty());
    }
    Do("misbehave refuse not-listening");
    EXPECT_FALSE(Host(Port()).Connected());
    EXPECT_TRUE(Do("status").starts_with("not listening"));
    Do("behave");
    Host host(Port());
    ASSERT_TRUE(host.Connected());
    EXPECT_TRUE(host.Told(L"DeviceId"));
}

TEST_F(SonarServerTest, SendsGarbageBetweenItsFrames)
{
    Start();
    Do("misbehave garbage 100");
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    ASSERT_TRUE(host.Send(test::RangeFifty()));
    EXPECT_EQ(host.Told(L"x5Range"), Value(50.0));
    EXPECT_EQ(host.Reader().SkippedBytes(), 200U);
}

TEST_F(SonarServerTest, SendsByteByByte)
{
    Start();
    Do("misbehave split");
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    EXPECT_EQ(host.Reader().SkippedBytes(), 0U);
}

TEST_F(SonarServerTest, IsSilentAndTakesEverythingAllTheSame)
{
    Start();
    Do("misbehave silent");
    Host host(Port());
    ASSERT_TRUE(host.Connected());
    ASSERT_TRUE(host.Send(test::RangeFifty()));
    ASSERT_TRUE(host.Send(test::RecordRequest(7503)));
    ASSERT_TRUE(WaitUntil([&] { return m_server->Counts().recordsReceived == 2; }));
    EXPECT_NE(Do("state x5Range").find("50"), std::string::npos);
    EXPECT_EQ(m_server->Counts().framesSent, 0U);
    Do("behave");
    ASSERT_TRUE(host.Send(test::RecordRequest(7002)));
    EXPECT_TRUE(host.Told(L"x5PulseLength"));
}

TEST_F(SonarServerTest, SendsHalfAFrameAndDropsTheLink)
{
    Start();
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    std::size_t const before = host.AllBytes().size();
    Do("misbehave half-frame");
    ASSERT_TRUE(host.Send(test::RangeFifty()));
    EXPECT_TRUE(host.Ends());
    EXPECT_EQ(host.AllBytes().size(), before + 50); // of 100
    Host again(Port());
    EXPECT_TRUE(again.Told(L"DeviceId"));
}

TEST_F(SonarServerTest, StallsReadingAndGoesOn)
{
    Start();
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Do("misbehave stall");
    // More than one read takes, and less than the system does. All is there once all is acknowledged.
    Bytes many;
    constexpr std::size_t records = 1000;
    for (std::size_t i = 0; i < records; ++i) {
        Bytes const range = test::RangeFifty();
        many.insert(many.end(), range.begin(), range.end());
    }
    ASSERT_TRUE(host.Send(many));
    ASSERT_TRUE(WaitUntil([&] { return host.UnacknowledgedBytes() == 0; }));
    EXPECT_LE(m_server->Counts().bytesReceived, 65536U);
    EXPECT_EQ(m_server->Counts().recordsReceived, 0U);
    EXPECT_NE(Do("state x5Range").find("100"), std::string::npos);
    Do("behave");
    EXPECT_EQ(host.Told(L"x5Range"), Value(50.0));
    EXPECT_TRUE(WaitUntil([&] { return m_server->Counts().recordsReceived == records; }));
}

TEST_F(SonarServerTest, GivesUpAHostThatDoesNotRead)
{
    ServerOptions options;
    options.greatestSendQueue = 100000;
    Start(options);
    Host host(Port());
    ASSERT_TRUE(host.Connected());
    Bytes const request = test::RecordRequest(7503);
    EXPECT_TRUE(WaitUntil([&] {
        host.SendSome(request);
        return m_server->Counts().open == 0 && m_server->Counts().connections == 1;
    }));
    Host again(Port());
    EXPECT_TRUE(again.Told(L"DeviceId"));
}

TEST_F(SonarServerTest, StopsWhileBusy)
{
    ServerOptions options;
    options.announcePings = true;
    Start(options);
    Do("set x5Range=5");
    Do("set x5MaxPingRate=50");
    Do("set x5PingOnOffState=1");
    Do("misbehave answer-late 1");
    std::atomic<bool> ended = false;
    std::vector<std::thread> hosts;
    for (int i = 0; i < 3; ++i) {
        hosts.emplace_back([&] {
            Host host(Port());
            while (!ended && host.Send(test::RangeFifty()) && host.Send(test::RecordRequest(7503))) {
                host.Receive(10ms);
            }
        });
    }
    hosts.emplace_back([&] {
        std::string answer;
        while (!ended) {
            m_server->Command("status", answer);
        }
    });
    EXPECT_TRUE(WaitUntil([&] { return m_server->Counts().recordsReceived > 200; }));
    m_server->Stop();
    ended = true;
    for (std::thread& thread : hosts) {
        thread.join();
    }
    std::string answer;
    EXPECT_FALSE(m_server->Command("status", answer));
    EXPECT_EQ(answer, "the sonar is not running");
    m_server->Stop();
}

TEST_F(SonarServerTest, TellsWhyItCannotListen)
{
    Start();
    ServerOptions options;
    options.port = Port();
    auto const inUse = SonarServer(options).Start();
    ASSERT_TRUE(inUse);
    EXPECT_EQ(inUse->kind, StartError::Kind::PortInUse);
    EXPECT_EQ(inUse->text, "port " + std::to_string(Port()) + " on 127.0.0.1 is in use; choose another, or 0 for any");
    options.address = "sonar.invalid";
    auto const bad = SonarServer(options).Start();
    ASSERT_TRUE(bad);
    EXPECT_EQ(bad->kind, StartError::Kind::BadAddress);
}

TEST_F(SonarServerTest, AnswersWrongCommandsInOneLine)
{
    Start();
    for (std::string_view const wrong : {"",
                                         "  ",
                                         "sing",
                                         "misbehave",
                                         "misbehave badly",
                                         "misbehave answer-late",
                                         "misbehave answer-late soon",
                                         "misbehave drop-link 0",
                                         "misbehave split 3",
                                         "misbehave garbage -1",
                                         "misbehave refuse politely",
                                         "misbehave vanish now",
                                         "misbehave lie-about-size much",
                                         "misbehave lie-about-size 4294967296",
                                         "misbehave flood",
                                         "misbehave flood rivers",
                                         "misbehave collide 0",
                                         "misbehave collide 100001",
                                         "misbehave slow-drip 0",
                                         "misbehave slow-drip slowly",
                                         "set",
                                         "set x5Range",
                                         "state x5Unheard",
                                         "behave now",
                                         "ping 3",
                                         "drop 1",
                                         "status please"}) {
        auto const answer = Do(wrong, false);
        EXPECT_FALSE(answer.empty()) << wrong;
        EXPECT_EQ(answer.find('\n'), std::string::npos) << wrong;
    }
    EXPECT_NE(Do("status").find("failures: none"), std::string::npos);
    auto const help = Do("help");
    for (MisbehaviourName const& row : MisbehaviourNames()) {
        EXPECT_NE(help.find(row.name), std::string::npos);
    }
    EXPECT_NE(Do("state").find("x5Range = 100 m\n"), std::string::npos);
    EXPECT_EQ(Do("set x5Range=30"), "x5Range = 30 m");
}

} // namespace
} // namespace qx5::simulator
