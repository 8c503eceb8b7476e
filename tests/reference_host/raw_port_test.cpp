// Tests of the port of other instruments: every byte reaches its devices, on the host thread, in order and bounded.
#include "link_test_peer.h"

#include <reference_host/common/log.h>
#include <reference_host/core/host.h>
#include <reference_host/link/live_traffic.h>
#include <reference_host/link/raw_port.h>
#include <reference_host/link/x5_port.h>

#include <HalvaneX5InterfaceR/QX5Device.h>

#include <gtest/gtest.h>

#include <future>
#include <stdexcept>

namespace vordal::test {
namespace {

/// Keeps what it is given.
template <typename Base>
class Instrument : public Base
{
public:
    bool ProcessMessage(char* message, int size) override
    {
        EXPECT_TRUE(Host::Current().IsHostThread());
        EXPECT_GT(size, 0);
        EXPECT_LE(size, 65536);
        received.append(message, static_cast<std::size_t>(size));
        message[0] = '#'; // it may write there, and no other device sees it
        if (throws) {
            throw std::runtime_error("no such depth");
        }
        return uses;
    }
    void HandlePortConnected() override { received += "[up]"; }
    void HandlePortDisConnected() override { received += "[down]"; }

    std::string received;
    bool uses = true;
    bool throws = false;
};

class RawPortTest : public testing::Test
{
protected:
    RawPortTest()
    {
        SetLogSink([this](LogLevel, std::string_view line) { lines.emplace_back(line); });
        host.SetTraffic(&traffic);
        port = std::make_unique<RawPort>(host, thread, CString(L"Sounder"), OptionsFor(peer.Port()));
        first = static_cast<Instrument<Device>*>(
            host.AddDevice(std::make_unique<Instrument<Device>>(), CDataId(1, 500, 1, 1), L"bow"));
        second = static_cast<Instrument<Device>*>(
            host.AddDevice(std::make_unique<Instrument<Device>>(), CDataId(1, 500, 2, 1), L"stern"));
        host.SetPort(*first, &port->Handler());
        host.SetPort(*second, &port->Handler());
    }
    ~RawPortTest() override
    {
        port->Close();
        host.Stop();
        host.RemoveAllDevices();
        port.reset();
        SetLogSink({});
    }

    void Connect()
    {
        port->Open();
        ASSERT_TRUE(peer.WaitForConnections(1));
        ASSERT_TRUE(Eventually([&] { return ReceivedBy(*second) == "[up]"; }));
    }
    void Write(std::string_view text) { peer.Write(Bytes(text.begin(), text.end())); }
    std::string ReceivedBy(Instrument<Device> const& device)
    {
        std::string received;
        host.RunAndWait([&] { received = device.received; });
        return received;
    }

    Peer peer;
    LiveTraffic traffic;
    std::vector<std::string> lines;
    Host host{Threading::Threaded};
    LinkThread thread;
    std::unique_ptr<RawPort> port;
    Instrument<Device>* first = nullptr;
    Instrument<Device>* second = nullptr;
};

TEST_F(RawPortTest, EveryDeviceGetsAllBytesAsTheyCome)
{
    Connect();
    // Half a line, bytes that are no text, and what would be the beginning of a frame of the record protocol.
    std::string const sent = std::string("$SDDBT,,f,12") + '\0' + "\xFF\x05" + '\0' + "<";
    Write(sent);
    EXPECT_TRUE(Eventually([&] { return ReceivedBy(*second) == "[up]" + sent; }));
    EXPECT_EQ(ReceivedBy(*first), "[up]" + sent);
    Write(".3,M,,F*00\r\n");
    EXPECT_TRUE(Eventually([&] { return ReceivedBy(*second) == "[up]" + sent + ".3,M,,F*00\r\n"; }));
    EXPECT_EQ(port->UnusedBytes(), 0U);
    EXPECT_EQ(lines, std::vector<std::string>{});
}

TEST_F(RawPortTest, WhatADeviceSendsLeavesAsItStands)
{
    EXPECT_FALSE(first->SendMessageW(std::string("early"), false)) << "not connected";
    Connect();
    EXPECT_TRUE(first->SendMessageW(std::string("$P\0\r\n", 5), false));
    ASSERT_TRUE(peer.WaitForBytes(5));
    EXPECT_EQ(peer.Received(), (Bytes{'$', 'P', 0, '\r', '\n'}));
}

TEST_F(RawPortTest, ADeviceIsToldWhereALineIsBrokenOff)
{
    Connect();
    Write("half a li");
    ASSERT_TRUE(Eventually([&] { return ReceivedBy(*second) == "[up]half a li"; }));
    peer.Disconnect();
    ASSERT_TRUE(peer.WaitForConnections(2));
    Write("whole\n");
    EXPECT_TRUE(Eventually([&] { return ReceivedBy(*second) == "[up]half a li[down][up]whole\n"; }));
}

TEST_F(RawPortTest, ADeviceWithoutUseOrThatFailsIsToldOnceAndCounted)
{
    first->throws = true;
    second->uses = false;
    Connect();
    Write("abc");
    ASSERT_TRUE(Eventually([&] { return ReceivedBy(*second) == "[up]abc"; }));
    Write("def");
    ASSERT_TRUE(Eventually([&] { return ReceivedBy(*second) == "[up]abcdef"; }));
    EXPECT_EQ(port->UnusedBytes(), 12U);
    EXPECT_EQ(lines, std::vector<std::string>{"Sounder: the device \"bow\" failed at what arrived: no such depth; said "
                                              "once for this connection"});
}

TEST_F(RawPortTest, ASlowHostMakesTheInstrumentWaitAndLosesNothing)
{
    Connect();
    std::promise<void> release;
    host.Post([&] { release.get_future().wait(); });
    std::string stream;
    while (stream.size() < (std::size_t{24} << 20)) {
        stream += "0123456789abcdef";
    }
    std::thread writer([&] { Write(stream); });
    EXPECT_TRUE(Eventually([&] { return port->Pauses() == 1; }));
    EXPECT_LE(port->GetLink().GetCounters().bytesIn, (std::size_t{8} << 20) + 2U * 65536U);
    release.set_value();
    writer.join();
    EXPECT_TRUE(Eventually([&] {
        std::size_t size = 0;
        host.RunAndWait([&] { size = second->received.size(); });
        return size == 4 + stream.size();
    }));
    EXPECT_EQ(ReceivedBy(*first), "[up]" + stream);
}

TEST(X5Port, HandsADeviceNothingOfItsFrames)
{
    Peer peer;
    Host host{Threading::Threaded};
    LinkThread thread;
    X5Port port(host, thread, CString(L"Sonar"), OptionsFor(peer.Port()));
    auto* const sonar = static_cast<Instrument<QX5Device>*>(
        host.AddDevice(std::make_unique<Instrument<QX5Device>>(), CDataId(1, 78, 1, 1)));
    host.SetPort(*sonar, &port.Handler());
    port.Open();
    ASSERT_TRUE(peer.WaitForConnections(1));
    peer.Write(Frame({1, 2, 3}));
    EXPECT_TRUE(Eventually([&] { return port.GetLink().GetCounters().framesIn == 1; }));
    host.RunAndWait([&] { EXPECT_EQ(sonar->received, "[up]"); });
    port.Close();
    host.Stop();
    host.RemoveAllDevices();
}

} // namespace
} // namespace vordal::test
