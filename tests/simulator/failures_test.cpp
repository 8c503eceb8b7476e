// The failures that attack a host, seen from the host's end of a real connection.
#include <simulator/flood.h>
#include <simulator/misbehaviour.h>
#include <simulator/sonar_server.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include "test_host.h"
#include "tests/support/own_network.h"

namespace qx5::simulator {
namespace {

using namespace std::chrono_literals;
using protocol::TreeNode;
using protocol::Value;
using test::Bytes;
using test::Hex;
using test::Host;
using test::WaitUntil;

constexpr std::size_t GainFrame =
    99; // bytes of the report of "x5Gain": a node of 4+6+1+8+4 bytes, two counts, the frame

class Failures : public ::testing::Test
{
protected:
    void Start(ServerOptions options = {})
    {
        m_server = std::make_unique<SonarServer>(std::move(options), [this](SonarEvent const& event) {
            if (event.kind == EventKind::Answered) {
                ++m_answers;
            }
        });
        auto const error = m_server->Start();
        ASSERT_FALSE(error) << error->text;
    }
    std::string Do(std::string_view line, bool good = true)
    {
        std::string answer;
        EXPECT_EQ(m_server->Command(line, answer), good) << line << ": " << answer;
        return answer;
    }
    std::uint16_t Port() const { return m_server->Port(); }

    std::atomic<int> m_answers{0};
    std::unique_ptr<SonarServer> m_server; // ends before what its sink uses
};

tcp_info InfoOf(Host const& host)
{
    tcp_info info{};
    socklen_t size = sizeof info;
    EXPECT_EQ(getsockopt(host.Socket(), IPPROTO_TCP, TCP_INFO, &info, &size), 0);
    return info;
}

std::size_t Depth(std::vector<TreeNode> const& nodes)
{
    std::size_t depth = 0;
    for (TreeNode const& node : nodes) {
        depth = std::max(depth, 1 + Depth(node.children));
    }
    return depth;
}

/// As published, one step for each character; independent of what the tree of the host does.
std::uint64_t PlainHash(std::wstring const& text)
{
    std::uint64_t hash = 14695981039346656037U;
    for (wchar_t const character : text) {
        hash = (hash ^ static_cast<std::uint64_t>(character)) * 1099511628211U;
    }
    return hash;
}

/// A sonar that may vanish; each test of that begins here, before there are threads.
class VanishedSonar : public Failures
{
protected:
    void SetUp() override
    {
        if (std::string const why = qx5::test::PrepareToDropSegments(); !why.empty()) {
            GTEST_SKIP() << why;
        }
    }
};

TEST_F(VanishedSonar, AcknowledgesAndSendsNothingUntilItIsBack)
{
    Start();
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    int const answers = m_answers;
    EXPECT_EQ(Do("misbehave vanish"), "failures: vanish");
    ASSERT_TRUE(host.Send(test::RangeFifty()));
    Do("set x5Gain=5");
    ASSERT_TRUE(WaitUntil([&] { return InfoOf(host).tcpi_retransmits >= 2 && m_answers > answers; }));
    EXPECT_GE(InfoOf(host).tcpi_unacked, 1U);
    EXPECT_EQ(m_server->Counts().recordsReceived, 0U);
    EXPECT_FALSE(host.Receive(0ms));
    EXPECT_FALSE(host.Ended());
    Do("behave");
    EXPECT_EQ(host.Told(L"x5Gain"), Value(5.0));
    EXPECT_EQ(host.Told(L"x5Range"), Value(50.0));
    EXPECT_TRUE(WaitUntil([&] { return InfoOf(host).tcpi_unacked == 0; }));
}

TEST_F(VanishedSonar, EndsNoLinkEvenWhenTooMuchWaits)
{
    ServerOptions options;
    options.greatestSendQueue = 50000; // more than the introduction
    Start(options);
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    Do("misbehave vanish");
    Do("set x5BottomDetectionFilterInfo:string=" + std::string(60000, 'a'));
    int const answers = m_answers;
    ASSERT_TRUE(WaitUntil([&] { return m_answers > answers; }));
    EXPECT_EQ(m_server->Counts().open, 1U);
    EXPECT_FALSE(host.Receive(0ms));
    EXPECT_FALSE(host.Ended());
    Do("behave");
    EXPECT_TRUE(host.Ends());
}

TEST_F(VanishedSonar, TakesNoConnections)
{
    Start();
    Do("misbehave vanish");
    int const socket = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(Port());
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(connect(socket, reinterpret_cast<sockaddr const*>(&address), sizeof address), -1);
    EXPECT_EQ(errno, EINPROGRESS);
    // On this machine a connection is there, or refused, within the call.
    pollfd wait{socket, POLLOUT, 0};
    EXPECT_EQ(poll(&wait, 1, 0), 0);
    Do("behave");
    EXPECT_EQ(poll(&wait, 1, 20000), 1); // the next attempt of the system gets through
    EXPECT_EQ(wait.revents, POLLOUT);
    close(socket);
}

TEST_F(Failures, LiesAboutTheSizeOfEachThirdFrameAndSendsItWellBehind)
{
    Start();
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    EXPECT_EQ(Do("misbehave lie-about-size 1000"), "failures: lie-about-size 1000 bytes");
    std::size_t before = host.AllBytes().size();
    for (int frame = 0; frame < 7; ++frame) {
        std::size_t const size = frame % 3 == 0 ? 2 * GainFrame : GainFrame;
        Do("set x5Gain=" + std::to_string(frame));
        while (host.AllBytes().size() < before + size) {
            ASSERT_TRUE(host.Receive());
        }
        auto const at = host.AllBytes().begin() + static_cast<std::ptrdiff_t>(before);
        Bytes const arrived(at, host.AllBytes().end());
        ASSERT_EQ(arrived.size(), size);
        Bytes const good(arrived.end() - GainFrame, arrived.end());
        EXPECT_EQ(Bytes(good.begin(), good.begin() + 12), Hex("05 00 3c 00 ff ff 00 00 63 00 00 00"));
        if (size > GainFrame) {
            EXPECT_EQ(Bytes(arrived.begin(), arrived.begin() + 12), Hex("05 00 3c 00 ff ff 00 00 e8 03 00 00"));
            EXPECT_TRUE(std::equal(good.begin() + 12, good.end(), arrived.begin() + 12));
        }
        before += size;
    }
    EXPECT_EQ(Do("misbehave lie-about-size"), "failures: lie-about-size 8388608 bytes");
}

class Floods : public Failures, public ::testing::WithParamInterface<FloodKind>
{
};

TEST_P(Floods, FillTheLineUntilTheyEnd)
{
    Start();
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    std::string const name(GetParam().name);
    EXPECT_EQ(Do("misbehave flood " + name), "failures: flood " + name);
    // Nobody reads meanwhile, and the sonar is there for commands all the same.
    EXPECT_NE(Do("status").find("flood " + name), std::string::npos);
    ASSERT_TRUE(host.Send(test::RangeFifty()));
    ASSERT_TRUE(WaitUntil([&] { return m_server->Counts().recordsReceived == 1; }));

    int const frames = name == "records" ? 1000 : name == "size" || name == "text" ? 2 : 50;
    std::set<std::wstring> keys;
    std::size_t nodes = 0;
    Value last;
    for (int i = 0; i < frames;) {
        ASSERT_TRUE(host.Frame());
        std::string error;
        auto const tree = protocol::DecodeTree(host.LastData(), error);
        if (name == "records") {
            ASSERT_TRUE(host.LastId() != 90010 || tree) << "the report of the range alone";
            i += host.LastId() != 90010;
            continue;
        }
        ASSERT_EQ(host.LastId(), 90010U);
        if (name == "broken") {
            i += !tree;
            continue;
        }
        ASSERT_TRUE(tree) << error;
        if (tree->size() == 1 && tree->front().key == L"x5Range") {
            continue;
        }
        ++i;
        if (name == "keys") {
            nodes += tree->size();
            for (TreeNode const& node : *tree) {
                keys.insert(node.key);
            }
            EXPECT_EQ(keys.size(), nodes) << "one was there before";
        } else if (name == "answers" || name == "pings") {
            auto const at = std::find_if(tree->begin(), tree->end(), [&](TreeNode const& node) {
                return node.key == (name == "pings" ? L"x5PingNumber" : L"x5Gain");
            });
            ASSERT_NE(at, tree->end());
            EXPECT_NE(at->value, last);
            last = at->value;
        } else if (name == "depth") {
            EXPECT_EQ(Depth(*tree), 200U);
        } else if (name == "size") {
            EXPECT_EQ(tree->size() + tree->front().children.size(), 100000U);
        } else if (name == "text") {
            EXPECT_EQ(std::get<std::wstring>(tree->front().value).size(), 1'048'576U);
        } else {
            FAIL() << "a kind that this test does not know";
        }
    }
    Do("behave");
    std::optional<Value> told;
    while (!told && !host.Ended()) { // passes over broken ones
        told = host.Told(L"DeviceId");
    }
    EXPECT_EQ(told, Value(std::int32_t{7125})) << "what holds is told anew";
    auto const gain = std::find_if(host.LastTree().begin(), host.LastTree().end(),
                                   [](TreeNode const& node) { return node.key == L"x5Gain"; });
    ASSERT_NE(gain, host.LastTree().end());
    EXPECT_EQ(gain->value, Value(20.0));
    Do("set x5Gain=7");
    EXPECT_EQ(host.Told(L"x5Gain"), Value(7.0));
}

INSTANTIATE_TEST_SUITE_P(Kinds, Floods, ::testing::ValuesIn(FloodKinds().begin(), FloodKinds().end()),
                         [](auto const& kind) { return std::string(kind.param.name); });

TEST_F(Failures, AFloodOfNoKindIsRefusedWithTheKindsThereAre)
{
    Start();
    for (std::string_view const wrong : {"misbehave flood", "misbehave flood rivers"}) {
        EXPECT_EQ(Do(wrong, false), "flood wants one of: records, keys, answers, pings, depth, size, text, broken");
    }
    EXPECT_NE(Do("status").find("failures: none"), std::string::npos);
}

TEST_F(Failures, KeysThatCollideLeaveOnceOnEachConnection)
{
    Start();
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    EXPECT_EQ(Do("misbehave collide 3000"), "failures: collide 3000 keys");
    Host second(Port());
    ASSERT_TRUE(second.Told(L"DeviceId"));
    for (Host* const one : {&host, &second}) {
        auto const tree = one->Tree();
        ASSERT_TRUE(tree);
        ASSERT_EQ(tree->size(), 3000U);
        std::set<std::wstring> keys;
        std::set<std::uint64_t> hashes;
        for (TreeNode const& node : *tree) {
            keys.insert(node.key);
            hashes.insert(PlainHash(node.key));
        }
        EXPECT_EQ(keys.size(), 3000U);
        EXPECT_EQ(hashes.size(), 1U);
    }
    Do("set x5Gain=7");
    auto const next = host.Tree();
    ASSERT_TRUE(next);
    EXPECT_EQ(next->size(), 1U) << "no second one";
    Do("behave");
    Host third(Port());
    ASSERT_TRUE(third.Told(L"DeviceId"));
    Do("set x5Gain=8");
    EXPECT_EQ(third.Told(L"x5Gain"), Value(8.0));
    EXPECT_EQ(third.LastTree().size(), 1U);
}

TEST_F(Failures, AsManyKeysAsAFrameTakesCanCollide)
{
    auto const record = CollidingTree(MaximumCollidingKeys);
    EXPECT_EQ(record.id, 90010U);
    std::string error;
    auto const tree = protocol::DecodeTree(record.payload, error);
    ASSERT_TRUE(tree) << error;
    EXPECT_EQ(tree->size(), 100000U);
}

TEST_F(Failures, DripsByteByByteAndGoesOnAtOnceWhenItEnds)
{
    Start();
    Host host(Port());
    ASSERT_TRUE(host.Told(L"DeviceId"));
    EXPECT_EQ(Do("misbehave slow-drip 2"), "failures: slow-drip 2 ms");
    auto const before = std::chrono::steady_clock::now();
    Do("set x5Gain=5");
    EXPECT_EQ(host.Told(L"x5Gain"), Value(5.0));
    EXPECT_GE(std::chrono::steady_clock::now() - before, GainFrame * 2ms);
    EXPECT_EQ(host.Reader().SkippedBytes(), 0U);
    int const answers = m_answers;
    Do("misbehave slow-drip 600000");
    Do("set x5Gain=6");
    ASSERT_TRUE(WaitUntil([&] { return m_answers > answers; }));
    EXPECT_FALSE(host.Receive(0ms));
    Do("behave");
    EXPECT_EQ(host.Told(L"x5Gain"), Value(6.0));
}

TEST(FailureNames, StandInTheManualAsTheyAre)
{
    std::ifstream file(QX5_MANUAL_FILE);
    std::stringstream text;
    text << file.rdbuf();
    std::string rows = "| failure | what happens |\n|---|---|\n";
    for (MisbehaviourName const& row : MisbehaviourNames()) {
        std::string argument(row.argument.empty() ? "" : " ");
        for (char const character : row.argument) {
            argument += character == '|' ? "\\|" : std::string(1, character);
        }
        rows += "| `" + std::string(row.name) + argument + "` | " + std::string(row.meaning) + " |\n";
    }
    rows += "\n| flood | what it is |\n|---|---|\n";
    for (FloodKind const& kind : FloodKinds()) {
        rows += "| `" + std::string(kind.name) + "` | " + std::string(kind.meaning) + " |\n";
    }
    EXPECT_NE(text.str().find(rows), std::string::npos) << "docs/manual/simulating.md should have\n" << rows;
}

} // namespace
} // namespace qx5::simulator
