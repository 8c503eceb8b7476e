// What the tables tell of a command's records, whom they name above all, held against the frames that leave.
#include "one_sonar.h"
#include <commands/catalogue.h>
#include <commands/sample_request.h>

#include <reference_host/devices/port.h>

#include <HalvaneX5InterfaceR/QX5SocketIoHandler.h>
#include <protocol/bytes.h>

#include <algorithm>
#include <ostream>
#include <string_view>

namespace {

using qx5::Addressee;
using qx5::Target;

/// One record that left: its number, and device and enumerator as its frame bears them.
struct Left
{
    enum class Way
    {
        Command,
        PassedOn,
        Data,
        Asked,
    } way;
    std::uint32_t record;
    std::uint32_t device;
    std::uint16_t enumerator;

    friend bool operator==(Left const&, Left const&) = default;
};

std::ostream& operator<<(std::ostream& stream, Left const& left)
{
    constexpr char const* ways[]{"command", "passed-on command", "data record", "question for"};
    return stream << ways[static_cast<int>(left.way)] << ' ' << left.record << " to " << left.device << ','
                  << left.enumerator;
}

Left MakeLeft(Left::Way way, std::uint32_t record, Target target)
{
    return {way, record, static_cast<std::uint32_t>(target.deviceId), static_cast<std::uint16_t>(target.enumerator)};
}

/// Keeps what leaves by the façade and what leaves framed already.
class Frames final : public vordal::SonarTraffic
{
public:
    std::vector<Left> left;

    bool SendRemoteControl(Sender const&, std::uint32_t recordId, std::span<unsigned char const>, int deviceId,
                           int enumerator) override
    {
        return Keep(Left::Way::Command, recordId, {deviceId, enumerator});
    }
    bool AskForRecord(Sender const&, std::uint32_t recordId, int deviceId, int enumerator) override
    {
        return Keep(Left::Way::Asked, recordId, {deviceId, enumerator});
    }
    bool SendData(Sender const&, std::uint32_t recordId, std::span<unsigned char const>, double, int deviceId,
                  int enumerator) override
    {
        return Keep(Left::Way::Data, recordId, {deviceId, enumerator});
    }
    bool SendRaw(Sender const&, std::string_view text, bool) override
    {
        std::span const bytes(reinterpret_cast<unsigned char const*>(text.data()), text.size());
        namespace protocol = qx5::protocol;
        left.push_back({Left::Way::Data, protocol::GetU32LE(bytes, 32), protocol::GetU32LE(bytes, 36),
                        protocol::GetU16LE(bytes, 42)});
        return true;
    }
    bool Keep(Left::Way way, std::uint32_t recordId, Target target)
    {
        left.push_back(MakeLeft(way, recordId, target));
        return true;
    }
};

/// A sonar's live port; its playback does nothing.
class Port final : public vordal::PortWithDevices<QX5SocketIoHandler>
{
public:
    explicit Port(Frames& frames) : m_frames(frames) {}

    void PlaybackSetSpeed(double, double) override {}
    void PlaybackSetPosition(double, double) override {}
    void PlaybackSetLoop(double, double) override {}
    void PlaybackStepForward(double) override {}
    void PlaybackStepBack(double) override {}
    bool IsFilePlayback() const override { return false; }
    bool SendRemoteControlCommandWithPassThrough(std::uint32_t recordId, void const*, std::uint64_t,
                                                 std::uint32_t deviceId, std::uint16_t enumerator) override
    {
        return m_frames.Keep(Left::Way::PassedOn, recordId, {static_cast<std::int32_t>(deviceId), enumerator});
    }

private:
    Frames& m_frames;
};

/// A sonar that knows who it is: device 7125, enumerator 3.
class ExplainedTargets : public OneSonar
{
protected:
    ExplainedTargets()
    {
        m_host.SetTraffic(&frames);
        m_host.SetPort(*device, &m_port);
    }
    ~ExplainedTargets() override { m_host.RemoveAllDevices(); }

    static Left Told(qx5::Sending const& sending)
    {
        using qx5::protocol::Carrier;
        auto const carrier = sending.record.carrier;
        auto const way = carrier == Carrier::Data          ? Left::Way::Data
                         : carrier == Carrier::PassThrough ? Left::Way::PassedOn
                                                           : Left::Way::Command;
        Target target = sending.target;
        if (sending.addressee != Addressee::Target) {
            target.deviceId = 7125;
        }
        if (sending.addressee == Addressee::StoredSonar) {
            target.enumerator = 3;
        }
        return MakeLeft(way, sending.record.id, target);
    }
    static Left Told(qx5::FollowUp const& followUp)
    {
        return MakeLeft(Left::Way::Asked, followUp.recordId, followUp.target);
    }
    bool HasLeft(Left const& one) const
    {
        return std::find(frames.left.begin(), frames.left.end(), one) != frames.left.end();
    }

    Frames frames;

private:
    Port m_port{frames};
};

TEST_F(ExplainedTargets, EachRecordThatACommandTellsOfLeavesForWhomItTells)
{
    int sendings = 0;
    for (qx5::ChainEntry const& entry : qx5::Chain()) {
        qx5::SampleRequest sample = qx5::SampleOf(*entry.command);
        sample.stored.FindCreate(L"DeviceId", 0).SetValue(CVordalInt(7125));
        sample.stored.FindCreate(L"DeviceEnum", 0).SetValue(CVordalInt(3));
        Store(sample.stored);
        frames.left.clear();
        Request(sample.request);
        for (qx5::Sending const& sending : entry.command->sends) {
            if (sending.when.text.empty()) {
                EXPECT_TRUE(HasLeft(Told(sending)))
                    << "row " << entry.row << ", " << entry.handler << ": no " << Told(sending);
                ++sendings;
            }
        }
        for (qx5::FollowUp const& followUp : entry.command->followUps) {
            if (followUp.when.text.empty()) {
                EXPECT_TRUE(HasLeft(Told(followUp)))
                    << "row " << entry.row << ", " << entry.handler << ": no " << Told(followUp);
            }
        }
    }
    EXPECT_GT(sendings, 100);
}

TEST_F(ExplainedTargets, NothingLeavesThatNoCommandTellsOf)
{
    std::vector<Left> told;
    for (qx5::ChainEntry const& entry : qx5::Chain()) {
        for (qx5::Sending const& sending : entry.command->sends) {
            told.push_back(Told(sending));
        }
        for (qx5::FollowUp const& followUp : entry.command->followUps) {
            told.push_back(Told(followUp));
        }
    }
    for (qx5::ChainEntry const& entry : qx5::Chain()) {
        qx5::SampleRequest sample = qx5::SampleOf(*entry.command);
        sample.stored.FindCreate(L"DeviceId", 0).SetValue(CVordalInt(7125));
        sample.stored.FindCreate(L"DeviceEnum", 0).SetValue(CVordalInt(3));
        Store(sample.stored);
        frames.left.clear();
        Request(sample.request);
        for (Left const& left : frames.left) {
            EXPECT_TRUE(std::find(told.begin(), told.end(), left) != told.end())
                << "row " << entry.row << ", " << entry.handler << ": " << left << " is told nowhere";
        }
    }
}

} // namespace
