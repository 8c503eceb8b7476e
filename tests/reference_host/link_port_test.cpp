// Tests of the sonar's port: bytes of every kind of send, attributes that come back, devices told of the connection.
#include "../support/fault_relay.h"
#include "link_test_peer.h"
#include "tests/support/peak_memory.h"

#include <reference_host/attributes/tree_account.h>
#include <reference_host/attributes/tree_bytes.h>
#include <reference_host/attributes/tree_merge.h>
#include <reference_host/common/clock.h>
#include <reference_host/common/log.h>
#include <reference_host/core/host.h>
#include <reference_host/link/live_traffic.h>
#include <reference_host/link/x5_port.h>

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalDataBlocksR/BaseDataSource.h>
#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>
#include <vordalhostdllR/DataManager.h>

#include <protocol/house_records.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <mutex>
#include <optional>
#include <random>
#include <string>

namespace vordal::test {
namespace {

/// Notes what it is told of its port.
class Sonar : public QX5Device
{
public:
    explicit Sonar(std::vector<std::string>& notes) : m_notes(notes) {}
    void HandlePortConnect() override { Note("connect"); }
    void HandlePortConnected() override { Note("connected"); }
    void HandlePortDisConnect() override { Note("disconnect"); }
    void HandlePortDisConnected() override { Note("disconnected"); }

private:
    void Note(char const* text)
    {
        EXPECT_TRUE(Host::Current().IsHostThread());
        m_notes.emplace_back(text);
    }
    std::vector<std::string>& m_notes;
};

class X5PortTest : public testing::Test
{
protected:
    X5PortTest() : relay(peer.Port())
    {
        SetLogSink([this](LogLevel, std::string_view line) { lines.emplace_back(line); });
        clock.emplace(1700000000.0);
        host.SetClock(&*clock);
        host.SetTraffic(&traffic);
        port = std::make_unique<X5Port>(host, thread, CString(L"Sonar"), OptionsFor(relay.Port()));
        first = static_cast<Sonar*>(host.AddDevice(std::make_unique<Sonar>(notes), CDataId(1, 78, 1, 1)));
        second = static_cast<Sonar*>(host.AddDevice(std::make_unique<Sonar>(notes), CDataId(1, 78, 2, 1)));
        host.SetPort(*first, port.get());
        host.SetPort(*second, port.get());
    }
    ~X5PortTest() override
    {
        if (port) {
            port->Close();
        }
        host.Stop();
        host.RemoveAllDevices();
        port.reset();
        SetLogSink({});
    }

    void Connect()
    {
        port->Open();
        ASSERT_TRUE(Eventually([&] { return port->GetLink().IsConnected(); }));
        ASSERT_TRUE(peer.WaitForConnections(1));
        Settle();
    }
    /// What was posted to the host thread so far has run.
    void Settle()
    {
        host.RunAndWait([] {});
    }
    int NumberOf(Device& device)
    {
        int number = -1;
        unsigned flags = 0;
        device.GetAttribValue(L"n", number, flags);
        return number;
    }

    Peer peer;
    FaultRelay relay;
    std::optional<FixedClock> clock;
    LiveTraffic traffic;
    std::vector<std::string> lines;
    std::vector<std::string> notes;
    Host host{Threading::Threaded};
    LinkThread thread;
    std::unique_ptr<X5Port> port;
    Sonar* first = nullptr;
    Sonar* second = nullptr;
};

// 1700000000 is 2023-11-14 22:13:20 UTC, day 318 of 2023 = 0x07E7; 318 = 0x013E; 20.0F = 0x41A00000.
#define QX5_TEST_TIME 0xE7, 0x07, 0x3E, 0x01, 0x00, 0x00, 0xA0, 0x41, 22, 13

TEST_F(X5PortTest, RemoteControlRecord)
{
    EXPECT_FALSE(first->SendRemoteControlRecord(1003, nullptr, 0, 0, -1)) << "not connected";
    Connect();
    unsigned char const range[4] = {0x00, 0x00, 0x48, 0x42}; // 50.0F
    EXPECT_TRUE(first->SendRemoteControlRecord(1003, range, 4, 0, -1));
    // clang-format off
    Bytes const expected{
        5,    0,    60, 0, 0xFF, 0xFF, 0, 0,                // version, offset, sync word
        96,   0,    0,  0, 0,    0,    0, 0, 0, 0, 0, 0,    // total size, reserved
        QX5_TEST_TIME,                                      // time
        1,    0,    0x4C, 0x1D, 0, 0, 0, 0, 0, 0,           // record version, record 7500, device 0
        0,    0,    0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0,     // reserved, enumerator -1, reserved, flags, reserved
        0,    0,    0,  0, 0,    0,    0, 0, 0, 0, 0, 0,    // reserved
        0xEB, 0x03, 0,  0, 0xEB, 0x03, 0, 0,                // command 1003, ticket
        0,    0,    0,  0, 0,    0,    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, // tracking number
        0x00, 0x00, 0x48, 0x42,                             // payload
        0,    0,    0,  0,                                  // trailing word
    };
    // clang-format on
    ASSERT_EQ(expected.size(), 96U);
    ASSERT_TRUE(peer.WaitForBytes(96));
    EXPECT_EQ(peer.Received(), expected);
}

TEST_F(X5PortTest, RecordRequestToTheProcessor)
{
    Connect();
    EXPECT_TRUE(first->SingleRecordRequest(7503, 7000, 0));
    // clang-format off
    Bytes const expected{
        5,    0,    60, 0, 0xFF, 0xFF, 0, 0, 96, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, QX5_TEST_TIME,
        1,    0,    0x4C, 0x1D, 0, 0, 0x58, 0x1B, 0, 0,     // record 7500, device 7000
        0,    0,    0,  0, 0,    0,    0, 0, 0, 0, 0, 0,    // enumerator 0
        0,    0,    0,  0, 0,    0,    0, 0, 0, 0, 0, 0,
        0x91, 0x5F, 1,  0, 0x91, 0x5F, 1, 0,                // command 90001, ticket
        0,    0,    0,  0, 0,    0,    0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0x4F, 0x1D, 0,  0,                                  // record 7503
        0,    0,    0,  0,
    };
    // clang-format on
    ASSERT_TRUE(peer.WaitForBytes(96));
    EXPECT_EQ(peer.Received(), expected);
}

TEST_F(X5PortTest, DataRecordWithItsOwnTime)
{
    Connect();
    unsigned char const data[3] = {1, 2, 3};
    EXPECT_TRUE(first->SendRecord(3001, data, 3, 0.0, 7003, 0x12345));
    // clang-format off
    Bytes const expected{
        5,    0,    60, 0, 0xFF, 0xFF, 0, 0, 71, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0xB2, 0x07, 1,  0, 0, 0, 0, 0, 0, 0,                // 1970, day 1
        1,    0,    0xB9, 0x0B, 0, 0, 0x5B, 0x1B, 0, 0,     // record 3001, device 7003
        0,    0,    0x45, 0x23, 0, 0, 0, 0, 0, 0, 0, 0,     // the enumerator's low 16 bits
        0,    0,    0,  0, 0,    0,    0, 0, 0, 0, 0, 0,
        1,    2,    3,                                      // data
        0,    0,    0,  0,
    };
    // clang-format on
    ASSERT_TRUE(peer.WaitForBytes(71));
    EXPECT_EQ(peer.Received(), expected);
}

TEST_F(X5PortTest, PassThroughAndRawBytes)
{
    Connect();
    unsigned char const data[2] = {0xAA, 0xBB};
    EXPECT_TRUE(port->SendRemoteControlCommandWithPassThrough(1111, data, 2, 9100, 3));
    EXPECT_FALSE(port->SendRemoteControlCommandWithPassThrough(1111, nullptr, 2, 9100, 3));
    EXPECT_TRUE(first->SendMessageW(std::string("\0raw", 4), false));
    // clang-format off
    Bytes const expected{
        5,    0,    60, 0, 0xFF, 0xFF, 0, 0, 110, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, QX5_TEST_TIME,
        1,    0,    0x4C, 0x1D, 0, 0, 0x58, 0x1B, 0, 0,     // record 7500, device 7000
        0,    0,    0,  0, 0,    0,    0, 0, 0, 0, 0, 0,
        0,    0,    0,  0, 0,    0,    0, 0, 0, 0, 0, 0,
        0x92, 0x5F, 1,  0, 0x92, 0x5F, 1, 0,                // command 90002, ticket
        0,    0,    0,  0, 0,    0,    0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0x8C, 0x23, 0,  0, 3,    0,    0, 0,                // unit 9100, enumerator 3
        0x57, 0x04, 0,  0, 2,    0,    0, 0,                // command 1111, size
        0xAA, 0xBB,
        0,    0,    0,  0,
        0,    'r',  'a', 'w',
    };
    // clang-format on
    ASSERT_TRUE(peer.WaitForBytes(expected.size()));
    EXPECT_EQ(peer.Received(), expected);
}

TEST_F(X5PortTest, LargePayloadsPassAndHugeOnesDoNot)
{
    Connect();
    Bytes const payload(5000, 7);
    EXPECT_TRUE(first->SendRemoteControlRecord(1000, payload.data(), payload.size(), 0, -1));
    ASSERT_TRUE(peer.WaitForBytes(5092));
    auto const received = peer.Received();
    EXPECT_EQ(Bytes(received.begin() + 88, received.begin() + 5088), payload);
    Bytes const huge(std::size_t{128} << 20, 7);
    EXPECT_FALSE(first->SendRemoteControlRecord(1000, huge.data(), huge.size(), 0, -1));
}

TEST_F(X5PortTest, ASenderWithoutThisPortIsNotConnected)
{
    Connect();
    host.SetPort(*second, nullptr);
    EXPECT_FALSE(second->SendRemoteControlRecord(1003, nullptr, 0, 0, -1));
    EXPECT_FALSE(second->SendMessageW(std::string("x"), false));
    PlainPort plain;
    host.SetPort(*second, &plain);
    EXPECT_FALSE(second->SingleRecordRequest(7503, 0, -1));
    EXPECT_FALSE(second->SendRecord(1, nullptr, 0, 0.0, 0, -1));
    host.SetPort(*second, nullptr);
}

/// The frame as the head of that enumerator of device 7125 (0x1BD5) sends it.
Bytes FromHead(unsigned char enumerator, Bytes frame)
{
    frame[36] = 0xD5;
    frame[37] = 0x1B;
    frame[42] = enumerator;
    frame[43] = 0;
    return frame;
}

CAttributeMap HeadAttributes(int enumerator)
{
    CAttributeMap tree;
    tree.Add(L"DeviceId", CVordalInt(7125), 0);
    tree.Add(L"DeviceEnum", CVordalInt(enumerator), 0);
    return tree;
}

/// A record 90010, a tree.
Bytes TreeRecord(Bytes const& payload)
{
    auto frame = Frame(payload);
    frame[32] = 0x9A;
    frame[33] = 0x5F;
    frame[34] = 1;
    return frame;
}

/// A tree record that says "n" = number.
Bytes TreeFrame(unsigned char number)
{
    return TreeRecord({
        1,      0, 0, 0,      // format
        1,      0, 0, 0,      // one node
        1,      0, 0, 0, 'n', // key
        1,                    // a signed integer
        number, 0, 0, 0,      // value
        0,      0, 0, 0,      // no children
    });
}

TEST_F(X5PortTest, AttributesFromTheSonarReachAllItsDevices)
{
    Connect();
    peer.Write(TreeFrame(42));
    EXPECT_TRUE(Eventually([&] { return NumberOf(*second) == 42; }));
    EXPECT_EQ(NumberOf(*first), 42);
    peer.Write(Frame({1, 2, 3})); // a record that means nothing to the host
    peer.Write(TreeFrame(43));
    EXPECT_TRUE(Eventually([&] { return NumberOf(*second) == 43; }));
    EXPECT_EQ(port->DroppedTrees(), 0U);
}

Bytes FrameOfNodes(std::vector<qx5::protocol::TreeNode> const& nodes)
{
    std::string error;
    auto const payload = qx5::protocol::EncodeTree(nodes, error);
    return TreeRecord(payload.value());
}

/// A tree record of settings data: "x5PingNumber" = 1, "x5Range" = range, "x5SoundVelocity" = 1500.
Bytes SettingsFrame(double range)
{
    return FrameOfNodes(
        {{L"x5PingNumber", std::int32_t{1}, {}}, {L"x5Range", range, {}}, {L"x5SoundVelocity", 1500.0, {}}});
}

/// The most memory that the process has had since `Reset`, in MiB.
class PeakMemory
{
public:
    static void Reset() { std::ofstream("/proc/self/clear_refs") << '5'; }
    static std::size_t MiB() { return qx5::test::PeakMiBOf("self"); }
};

/// What the host takes beside what it had, whatever a sonar tells. The sanitizers have memory of their own.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t GreatestGrowth = 4096;
#else
constexpr std::size_t GreatestGrowth = 128;
#endif

class SonarFlood : public X5PortTest
{
protected:
    /// The sonar tells `pieces` frames, and then a known key.
    template <typename Piece>
    void Flood(int pieces, Piece piece)
    {
        Connect();
        host.RunAndWait([&] { host.SetPort(*second, nullptr); });
        peer.Write(TreeFrame(1));
        ASSERT_TRUE(Eventually([&] { return NumberOf(*first) == 1; }));
        PeakMemory::Reset();
        auto const before = PeakMemory::MiB();
        for (int i = 0; i < pieces; ++i) {
            peer.Write(FrameOfNodes(piece(i)));
        }
        peer.Write(TreeFrame(42));
        ASSERT_TRUE(Eventually([&] { return NumberOf(*first) == 42; })) << "the value of a known key";
        EXPECT_LT(PeakMemory::MiB() - before, GreatestGrowth);
        CAttributeMap tree;
        first->GetAttributeMap(tree);
        auto const size = SizeOf(tree);
        EXPECT_LE(size.keys, 20'000U);
        EXPECT_LE(size.bytes, std::size_t{8} << 20);
        EXPECT_TRUE(size.keys == 20'000U || size.bytes > std::size_t{4} << 20) << "no flood at all";
    }
};

TEST_F(SonarFlood, OfUnknownKeysIsTakenUpToItsLimit)
{
    Flood(200, [](int piece) {
        std::vector<qx5::protocol::TreeNode> nodes;
        for (int i = 0; i < 1000; ++i) {
            nodes.push_back({L"k" + std::to_wstring(piece * 1000 + i), i, {}});
        }
        return nodes;
    });
}

TEST_F(SonarFlood, OfHugeValuesIsTakenUpToItsLimit)
{
    Flood(40, [](int piece) {
        return std::vector<qx5::protocol::TreeNode>{
            {L"v" + std::to_wstring(piece % 20), std::wstring(std::size_t{1} << (17 + piece / 20), L'x'), {}}};
    });
}

TEST_F(SonarFlood, OfDeepTreesIsTakenUpToItsLimit)
{
    Flood(500, [](int piece) {
        std::vector<qx5::protocol::TreeNode> nodes;
        for (int level = 0; level < 199; ++level) {
            std::vector<qx5::protocol::TreeNode> outer(1);
            outer[0].key = L"d" + std::to_wstring(piece);
            outer[0].children = std::move(nodes);
            nodes = std::move(outer);
        }
        return nodes;
    });
}

TEST_F(X5PortTest, ALineThatComesAndGoesBeforeABusyHostIsToldInBoundedPieces)
{
    // Told on the host thread, also while the port goes.
    auto const told = std::make_shared<std::vector<LinkState>>();
    auto& states = *told;
    port->SetStatusListener([told](LinkStatus const& status) { told->push_back(status.state); });
    Connect();
    std::mutex busy;
    std::unique_lock working(busy);
    host.Post([&] { std::lock_guard const wait(busy); });
    for (std::size_t i = 0; i < 60; ++i) {
        auto const connections = port->GetLink().GetCounters().connections;
        ASSERT_TRUE(Eventually([&] {
            relay.Cut(); // again, where the relay had not got so far yet
            return port->GetLink().GetCounters().connections > connections;
        }));
    }
    notes.clear();
    states.clear();
    working.unlock();
    ASSERT_TRUE(Eventually([&] {
        bool isConnected = false;
        host.RunAndWait([&] {
            isConnected = !states.empty() && states.back() == LinkState::Connected && !notes.empty() &&
                          notes.back() == "connected";
        });
        return isConnected && port->GetLink().IsConnected();
    }));
    Settle();
    host.RunAndWait([&] {
        EXPECT_LE(states.size(), 64U) << "of more than 200 changes";
        EXPECT_NE(std::find(notes.begin(), notes.end(), "disconnected"), notes.end());
    });
}

/// Keeps what a device has for "n" each time that a subscriber of it is told.
class NumbersTold
{
public:
    explicit NumbersTold(Device& device) : m_device(device)
    {
        m_subscription.SetSubscriber(new MemFunNoInfoSubscriber<NumbersTold>(this, &NumbersTold::OnTold), true);
        m_subscription.SetMap(device.GetAttributeSubscriptionMap());
        m_subscription.Subscribe(L"n");
    }
    std::vector<int> numbers;

private:
    void OnTold()
    {
        int number = -1;
        unsigned flags = 0;
        m_device.GetAttribValue(L"n", number, flags);
        numbers.push_back(number);
    }
    Device& m_device;
    Subscription m_subscription;
};

TEST_F(X5PortTest, AValueThatIsToldAgainIsTakenAndToldAgainWhateverWasWrittenMeanwhile)
{
    NumbersTold told(*second);
    Connect();
    auto const wait = [&](std::size_t times) {
        return Eventually([&] {
            std::size_t now = 0;
            host.RunAndWait([&] { now = told.numbers.size(); });
            return now == times;
        });
    };
    peer.Write(TreeFrame(42));
    peer.Write(TreeFrame(42));
    peer.Write(TreeFrame(42));
    ASSERT_TRUE(wait(3));
    CAttributeMap others;
    others.Add(L"n", CVordalInt(7), 0);
    host.RunAndWait([&] { second->SetAttributeMap(others, 0); });
    peer.Write(TreeFrame(42));
    ASSERT_TRUE(wait(5));
    host.RunAndWait([&] { host.ReplaceAttributes(*second, others); });
    peer.Write(TreeFrame(42));
    ASSERT_TRUE(wait(6));
    host.RunAndWait([&] { EXPECT_EQ(told.numbers, (std::vector<int>{42, 42, 42, 7, 42, 42})); });
    EXPECT_EQ(NumberOf(*first), 42);
}

class RepeatedTellings : public X5PortTest, public testing::WithParamInterface<unsigned>
{
};

TEST_P(RepeatedTellings, OfSonarsOnOnePortAreWhatEachToldAndOthersWrote)
{
    std::mt19937 random(GetParam());
    auto const below = [&random](std::size_t limit) { return random() % limit; };
    std::array const devices{first, second};
    std::array plain{HeadAttributes(0), HeadAttributes(1)};
    std::array<std::vector<int>, 2> plainTold;
    host.RunAndWait([&] {
        for (std::size_t i = 0; i < 2; ++i) {
            host.ReplaceAttributes(*devices[i], plain[i]);
        }
    });
    NumbersTold firstTold(*first);
    NumbersTold secondTold(*second);
    Connect();
    auto const anyTree = [&] {
        std::vector<qx5::protocol::TreeNode> nodes;
        for (auto const* const key : {L"n", L"a", L"b", L"n"}) {
            if (below(2) == 0) {
                nodes.push_back({key, static_cast<std::int32_t>(below(3)), {}});
            }
        }
        std::vector<qx5::protocol::TreeNode> const inBranch{{L"c", static_cast<std::int32_t>(below(3)), {}}};
        nodes.push_back({L"branch", {}, inBranch});
        return nodes;
    };
    auto const treeOf = [](std::vector<qx5::protocol::TreeNode> const& nodes) {
        std::string error;
        CAttributeMap tree;
        auto const bytes = qx5::protocol::EncodeTree(nodes, error);
        EXPECT_TRUE(DecodeTree(bytes.value(), qx5::protocol::LinkTree, tree, error));
        return tree;
    };
    auto const note = [&](std::size_t device, CAttributeMap const& tree) {
        Merge(plain[device], tree);
        if (tree.Has(L"n")) {
            int number = -1;
            plain[device].FindValue(L"n").Get(number);
            plainTold[device].push_back(number);
        }
    };
    std::array<std::vector<qx5::protocol::TreeNode>, 4> pool{anyTree(), anyTree(), anyTree(), anyTree()};
    // What was written so far has been told.
    auto waitForAll = [&, marks = 0]() mutable {
        std::vector<qx5::protocol::TreeNode> const mark{{L"mark", std::int32_t{++marks}, {}}};
        peer.Write(FrameOfNodes(mark));
        for (auto& tree : plain) {
            Merge(tree, treeOf(mark));
        }
        return Eventually([&] {
            int number = 0;
            unsigned flags = 0;
            return second->GetAttribValue(L"mark", number, flags) && number == marks;
        });
    };
    for (int step = 0; step < 400; ++step) {
        if (below(10) == 0) {
            pool.at(below(pool.size())) = anyTree();
        }
        auto const& nodes = pool.at(below(pool.size()));
        auto const tree = treeOf(nodes);
        auto const from = below(20); // each head, both as one, and another program
        bool const isOfOthers = from == 19;
        bool const isOfOneHead = from < 12;
        auto const head = from % 2;
        if (isOfOthers) {
            ASSERT_TRUE(waitForAll());
            host.RunAndWait([&] { devices.at(head)->SetAttributeMap(tree, 0); });
        } else {
            auto const frame = FrameOfNodes(nodes);
            peer.Write(isOfOneHead ? FromHead(static_cast<unsigned char>(head), frame) : frame);
        }
        for (std::size_t device = 0; device < 2; ++device) {
            if (device == head || !(isOfOneHead || isOfOthers)) {
                note(device, tree);
            }
        }
    }
    ASSERT_TRUE(waitForAll());
    for (std::size_t i = 0; i < 2; ++i) {
        CAttributeMap tree;
        devices.at(i)->GetAttributeMap(tree);
        EXPECT_TRUE(TreesEqual(tree, plain.at(i))) << TreeText(tree) << TreeText(plain.at(i));
    }
    host.RunAndWait([&] {
        EXPECT_EQ(firstTold.numbers, plainTold[0]);
        EXPECT_EQ(secondTold.numbers, plainTold[1]);
    });
}

INSTANTIATE_TEST_SUITE_P(Seeds, RepeatedTellings, testing::Range(0U, 6U));

TEST_F(X5PortTest, AFrameOfOneHeadReachesItsDeviceAlone)
{
    host.RunAndWait([&] {
        host.ReplaceAttributes(*first, HeadAttributes(0));
        host.ReplaceAttributes(*second, HeadAttributes(1));
    });
    Connect();
    peer.Write(FromHead(1, TreeFrame(42)));
    peer.Write(FromHead(0, TreeFrame(43)));
    EXPECT_TRUE(Eventually([&] { return NumberOf(*first) == 43; }));
    EXPECT_EQ(NumberOf(*second), 42);
    // What the sonar says as a whole, enumerator 65535 of device 0, is for both.
    peer.Write(TreeFrame(44));
    EXPECT_TRUE(Eventually([&] { return NumberOf(*second) == 44; }));
    EXPECT_EQ(NumberOf(*first), 44);
}

TEST_F(X5PortTest, SettingsDataOfOneHeadGoIntoItsBufferAlone)
{
    host.RunAndWait([&] {
        host.ReplaceAttributes(*first, HeadAttributes(0));
        host.ReplaceAttributes(*second, HeadAttributes(1));
    });
    auto const range = [&](Device& device) {
        CDataBlock block;
        auto* const buffer = DataManager::GetDataManager().FindDatablockBuffer(device.GetDataId(), false);
        unsigned short index = 0;
        if (buffer == nullptr || !buffer->ReadBlock(block, 3) || !block.LookUp(609, ADDR_BY_ITEM, index)) {
            return 0;
        }
        auto const* const bytes = static_cast<unsigned char const*>(block.GetItem(index)->data);
        return bytes[0] + 256 * bytes[1];
    };
    Connect();
    peer.Write(FromHead(1, SettingsFrame(70.0)));
    peer.Write(FromHead(0, TreeFrame(1)));
    EXPECT_TRUE(Eventually([&] { return NumberOf(*first) == 1; }));
    EXPECT_EQ(range(*second), 70);
    EXPECT_EQ(range(*first), 0);
    peer.Write(FromHead(0, SettingsFrame(30.0)));
    peer.Write(FromHead(1, TreeFrame(2)));
    EXPECT_TRUE(Eventually([&] { return NumberOf(*second) == 2; }));
    EXPECT_EQ(range(*first), 30);
    EXPECT_EQ(range(*second), 70);
}

TEST_F(X5PortTest, AFrameOfAHeadThatNoDeviceStandsForReachesThoseThatDoNotKnowWhoTheyAre)
{
    host.RunAndWait([&] { host.ReplaceAttributes(*first, HeadAttributes(0)); });
    Connect();
    peer.Write(FromHead(5, TreeFrame(42)));
    EXPECT_TRUE(Eventually([&] { return NumberOf(*second) == 42; }));
    EXPECT_EQ(NumberOf(*first), -1);
    // Once both know, nobody hears it, which is said once for this connection.
    host.RunAndWait([&] { host.ReplaceAttributes(*second, HeadAttributes(1)); });
    lines.clear();
    peer.Write(FromHead(5, TreeFrame(43)));
    peer.Write(FromHead(5, TreeFrame(44)));
    peer.Write(TreeFrame(45));
    EXPECT_TRUE(Eventually([&] { return NumberOf(*second) == 45; }));
    host.RunAndWait([&] {
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_EQ(lines[0], "Sonar: attributes of 7125/5 are dropped, no device on this port has this \"DeviceId\" and "
                            "\"DeviceEnum\"; said once for this connection");
    });
}

TEST_F(X5PortTest, AllFramesAreForASoleDevice)
{
    host.RunAndWait([&] {
        host.SetPort(*second, nullptr);
        host.ReplaceAttributes(*first, HeadAttributes(0));
    });
    Connect();
    peer.Write(FromHead(5, TreeFrame(42)));
    EXPECT_TRUE(Eventually([&] { return NumberOf(*first) == 42; }));
    EXPECT_EQ(NumberOf(*second), -1);
}

TEST(LinkTrees, AWholeNumberOf64BitsStaysOne)
{
    // One node "s" with 5000000000, which is 0x12a05f200.
    Bytes const bytes{1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 's', 10, 0, 0xF2, 5, 0x2A, 1, 0, 0, 0, 0, 0, 0, 0};
    CAttributeMap tree;
    std::string error;
    ASSERT_TRUE(DecodeTree(bytes, qx5::protocol::LinkTree, tree, error)) << error;
    std::int64_t size = 0;
    EXPECT_TRUE(tree.FindValue(AttributeKey(L"s"), 0).Get(size));
    EXPECT_EQ(size, 5000000000);
    double real = 0.0;
    EXPECT_FALSE(tree.FindValue(AttributeKey(L"s"), 0).Get(real));
    EXPECT_EQ(EncodeTree(tree, qx5::protocol::LinkTree), bytes);
}

TEST(LinkTrees, AReferenceHasNoFormThere)
{
    CAttributeMap tree;
    tree.Add(L"r", CVordalDataInfo(CDataId(1, 78, 1, 1), 65535, 65535), 0);
    EXPECT_THROW(EncodeTree(tree, qx5::protocol::LinkTree), std::length_error);
}

TEST_F(X5PortTest, DamagedTreesAreDroppedWithOneLine)
{
    Connect();
    auto damaged = TreeFrame(1);
    damaged[68] = 9; // nine nodes, where there is one
    peer.Write(damaged);
    peer.Write(damaged);
    peer.Write(TreeFrame(2));
    EXPECT_TRUE(Eventually([&] { return NumberOf(*second) == 2; }));
    EXPECT_EQ(port->DroppedTrees(), 2U);
    std::size_t told = 0;
    for (auto const& line : lines) {
        told += line.find("attributes from the sonar are dropped") != std::string::npos ? 1U : 0U;
    }
    EXPECT_EQ(told, 1U);
}

TEST_F(X5PortTest, ASlowHostMakesTheSonarWaitAndLosesNothing)
{
    Connect();
    std::promise<void> release;
    host.Post([&] { release.get_future().wait(); });
    Bytes stream;
    for (int i = 0; i < 4000; ++i) {
        auto const frame = TreeFrame(static_cast<unsigned char>(i % 250));
        stream.insert(stream.end(), frame.begin(), frame.end());
    }
    auto const last = TreeFrame(251);
    stream.insert(stream.end(), last.begin(), last.end());
    std::thread writer([&] { peer.Write(stream); });
    // More than the limit arrives, and not much more than one read beyond it.
    EXPECT_TRUE(Eventually([&] { return port->GetLink().GetCounters().framesIn > 256; }));
    EXPECT_LE(port->GetLink().GetCounters().bytesIn, 256U * last.size() + 2U * 65536U);
    release.set_value();
    EXPECT_TRUE(Eventually([&] { return NumberOf(*second) == 251; }));
    writer.join();
    EXPECT_EQ(port->GetLink().GetCounters().framesIn, 4001U);
}

TEST_F(X5PortTest, DevicesAreToldOfConnectionLossAndReturn)
{
    std::vector<LinkState> states;
    port->SetStatusListener([&](LinkStatus const& status) { states.push_back(status.state); });
    Connect();
    host.RunAndWait([&] {
        EXPECT_EQ(notes, (std::vector<std::string>{"connect", "connected", "connect", "connected"}));
        notes.clear();
    });
    relay.Cut();
    ASSERT_TRUE(Eventually([&] { return port->GetLink().GetCounters().connections == 2; }));
    Settle();
    std::vector<std::string> const lostAndBack{"disconnect", "disconnected", "disconnect", "disconnected",
                                               "connect",    "connected",    "connect",    "connected"};
    EXPECT_TRUE(Eventually([&] {
        bool all = false;
        host.RunAndWait([&] { all = notes == lostAndBack; });
        return all;
    }));
    port->Close();
    host.RunAndWait([&] {
        EXPECT_EQ(notes.size(), 12U);
        EXPECT_EQ(notes.back(), "disconnected");
        EXPECT_EQ(states.front(), LinkState::Connecting);
        EXPECT_EQ(states.back(), LinkState::Closed);
        port->SetStatusListener({});
    });
}

TEST_F(X5PortTest, PlaybackOnALiveSonarLeavesALineAndSendsNothing)
{
    Connect();
    EXPECT_FALSE(port->IsFilePlayback());
    lines.clear();
    port->PlaybackSetSpeed(0.0, 1.0);
    port->PlaybackSetPosition(0.0, 1.0);
    port->PlaybackSetLoop(0.0, 1.0);
    port->PlaybackStepForward(0.0);
    port->PlaybackStepBack(0.0);
    EXPECT_EQ(lines.size(), 5U);
    for (int i = 0; i < 1000; ++i) {
        port->PlaybackSetPosition(0.0, 1.0);
        port->PlaybackStepBack(0.0);
    }
    EXPECT_EQ(lines.size(), 5U) << "each is said once, then counted";
    EXPECT_EQ(port->PlaybackRefusals(), 2005U);
    EXPECT_EQ(port->GetLink().GetCounters().framesOut, 0U);
    lines.clear();
    host.SetPort(*first, nullptr);
    host.SetPort(*second, nullptr);
    host.RunAndWait([&] { port.reset(); });
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0], "Sonar: 2005 playback commands in all were refused, as the sonar is live");
}

} // namespace
} // namespace vordal::test
