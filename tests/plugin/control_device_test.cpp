// The device class without a module around it: the scalar path at its limits, the chain, the device without connection.
#include "one_sonar.h"

#include "handlers/command_values.h"
#include "reference_host/common/host_observer.h"
#include "reference_host/common/path_text.h"
#include "reference_host/core/pan_tilt_unit.h"
#include "reference_host/targets/target_file.h"
#include "reference_host/targets/target_store.h"
#include "tests/support/temporary_folder.h"

#include <VordalConfigureR/DataSearch.h>
#include <VordalDataBlocksR/CDataBlock.h>
#include <VordalSubscriberR/GeneralSubKeys.h>
#include <protocol/records/all.h>
#include <protocol/utf8.h>
#include <vordalhostdllR/SonarTarget.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>

#include <malloc.h>

#include <gtest/gtest.h>

struct ControlDeviceAccess
{
    static void RequestValue(QX5SonarConfigurationControlDevice& device, CAttributeMap& request, int recordId,
                             AttributeKey const& key, PARMTYPE kind)
    {
        device.RequestValue(&request, recordId, key, kind);
    }
    static bool Send76xx(QX5SonarConfigurationControlDevice& device, unsigned long recordId, float value)
    {
        return device.Send76xxRecord(recordId, value);
    }
    static unsigned BaudRate(int code) { return QX5SonarConfigurationControlDevice::ConvertDGNSSEnumToBaudRate(code); }
    static void ConfigureHeadingSensor(QX5SonarConfigurationControlDevice& device, CAttributeMap& request)
    {
        device.RequestHeadingSensorConfiguration(&request);
    }
    static bool ReadOperands(QX5SonarConfigurationControlDevice& device, CAttributeMap const& request,
                             qx5::Command const& command, qx5::CommandValues& values)
    {
        return device.ReadOperands(request, *device.m_attributes, command, values);
    }
    static void CarryOut(QX5SonarConfigurationControlDevice& device, CAttributeMap const& request,
                         qx5::Command const& command)
    {
        device.CarryOut(request, command);
    }
    static void SendContact(QX5SonarConfigurationControlDevice& device, SONAR_TARGET_SEL_INFO const* info)
    {
        device.SendSonarx5ContactOutputRecord(info);
    }
    static void SendTargetList(QX5SonarConfigurationControlDevice& device, std::vector<CString> const& targetGuids)
    {
        device.Send3004Record(targetGuids);
    }
    static void FollowActiveTargets(QX5SonarConfigurationControlDevice& device)
    {
        device.OnSonarTargetsVisualizationChange();
    }
    /// A data member as it lies in the device.
    struct Member
    {
        char const* name;
        std::uintptr_t begin;
        std::size_t size;
        std::size_t alignment;
    };
    static std::vector<Member> Members(QX5SonarConfigurationControlDevice const& device)
    {
        auto const member = [](char const* name, auto const& value) {
            return Member{name, reinterpret_cast<std::uintptr_t>(&value), sizeof value, alignof(decltype(value))};
        };
        return {
            member("startLoggingSubscription", device.startLoggingSubscription),
            member("stopLoggingSubscription", device.stopLoggingSubscription),
            member("selectedTargetSubscription", device.selectedTargetSubscription),
            member("panTiltDataId", device.panTiltDataId),
            member("panTiltBuffer", device.panTiltBuffer),
            member("panTiltBlock", device.panTiltBlock),
            member("mountedOnPanAndTilt", device.mountedOnPanAndTilt),
            member("panTiltSubscription", device.panTiltSubscription),
            member("hoistSubscription", device.hoistSubscription),
            member("panTiltScanning", device.panTiltScanning),
            member("pingOnlyDuringScan", device.pingOnlyDuringScan),
            member("loggerRunning", device.loggerRunning),
            member("contactInformationFlags", device.contactInformationFlags),
            member("terminalCommands", device.terminalCommands),
            member("sonarTargetsControl", device.sonarTargetsControl),
            member("sonarTargetsName", device.sonarTargetsName),
            member("unitConverter", device.unitConverter),
        };
    }
};

namespace {

using ControlDevice = OneSonar;

TEST_F(ControlDevice, HoldsItsDocumentedMembersInOrderAndNothingElse)
{
    auto const members = ControlDeviceAccess::Members(*device);
    auto end = members.front().begin;
    for (auto const& member : members) {
        // Where the one before ends, but for the alignment.
        EXPECT_EQ(member.begin, (end + member.alignment - 1) / member.alignment * member.alignment) << member.name;
        end = member.begin + member.size;
    }
    EXPECT_EQ(end, reinterpret_cast<std::uintptr_t>(device) + sizeof *device);
}

TEST_F(ControlDevice, ANullRequestDoesNothing)
{
    m_host.DeliverRequest(*device, nullptr);
    EXPECT_EQ(traffic.lines, Lines());
    EXPECT_EQ(Stored().Count(), 0);
}

TEST_F(ControlDevice, AnEmptyRequestSendsAndEchoesNothing)
{
    Request({});
    EXPECT_EQ(traffic.lines, Lines());
    EXPECT_EQ(Stored().Count(), 0);
}

TEST_F(ControlDevice, RecordsThatFrameThemselvesLieBetween7600And7699)
{
    Store(One(L"DeviceId", CVordalInt(7125)));
    CAttributeMap request = One(L"x5Range", CVordalDouble(50.0));
    ControlDeviceAccess::RequestValue(*device, request, 7599, L"x5Range", PARM_FLOAT);
    ControlDeviceAccess::RequestValue(*device, request, 7600, L"x5Range", PARM_FLOAT);
    ControlDeviceAccess::RequestValue(*device, request, 7699, L"x5Range", PARM_FLOAT);
    ControlDeviceAccess::RequestValue(*device, request, 7700, L"x5Range", PARM_FLOAT);
    // Version 5, offset 60, sync word, size 72, two reserved words; year 2023, day 318, 20 seconds, hour 22, minute
    // 13; record version 1, record id, device 7125, reserved, enumerator -1, five reserved words and flags; 50.0; 0.
    std::string const head = "05003c00ffff0000480000000000000000000000e7073e010000a041160d0100";
    std::string const tail = "d51b00000000ffff0000000000000000000000000000000000000000"
                             "0000484200000000";
    ASSERT_EQ(traffic.lines.size(), 4U);
    EXPECT_EQ(traffic.lines[0], "remote 7599 00004842 to 0,-1");
    EXPECT_EQ(traffic.lines[1], "raw " + head + "b01d0000" + tail + " false");
    EXPECT_EQ(traffic.lines[2], "raw " + head + "131e0000" + tail + " false");
    EXPECT_EQ(traffic.lines[3], "remote 7700 00004842 to 0,-1");
}

TEST_F(ControlDevice, ASelfFramedRecordNeedsTheSonarsDeviceId)
{
    EXPECT_FALSE(ControlDeviceAccess::Send76xx(*device, 7611, 1.0F));
    EXPECT_EQ(traffic.lines, Lines());
    Store(One(L"DeviceId", CVordalInt(7125)));
    traffic.connected = false;
    EXPECT_TRUE(ControlDeviceAccess::Send76xx(*device, 7611, 1.0F)); // whatever became of it
}

TEST_F(ControlDevice, OtherNumbersAreNoKindOfScalar)
{
    CAttributeMap request = One(L"x5Range", CVordalDouble(50.0));
    for (int const kind : {-1, 3, 1000}) {
        ControlDeviceAccess::RequestValue(*device, request, 1003, L"x5Range", static_cast<PARMTYPE>(kind));
    }
    EXPECT_EQ(traffic.lines, Lines());
    EXPECT_EQ(Stored().Count(), 0);
}

TEST_F(ControlDevice, AnIntegerScalarIsFourBytes)
{
    CAttributeMap request = One(L"x5PulseType", CVordalInt(-2));
    ControlDeviceAccess::RequestValue(*device, request, 1007, L"x5PulseType", PARM_INT);
    EXPECT_EQ(traffic.lines, Lines({"remote 1007 feffffff to 0,-1"}));
    int echoed = 0;
    EXPECT_TRUE(Stored().FindValue(L"x5PulseType", 0).Get(echoed));
    EXPECT_EQ(echoed, -2);
}

TEST_F(ControlDevice, WithoutAConnectionTheEchoStillGoesOut)
{
    m_host.SetTraffic(nullptr);
    Request(One(L"x5Range", CVordalDouble(50.0)));
    double echoed = 0.0;
    EXPECT_TRUE(Stored().FindValue(L"x5Range", 0).Get(echoed));
    EXPECT_EQ(echoed, 50.0);
}

TEST_F(ControlDevice, NumbersBeyondAFloatBecomeInfinite)
{
    Request(One(L"x5Range", CVordalDouble(1e300)));
    Request(One(L"x5Range", CVordalDouble(-1e300)));
    Request(One(L"x5Range", CVordalDouble(-std::numeric_limits<double>::quiet_NaN())));
    EXPECT_EQ(traffic.lines,
              Lines({"remote 1003 0000807f to 0,-1", "remote 1003 000080ff to 0,-1", "remote 1003 0000c07f to 0,-1"}));
}

/// The settings of the heading sensor, each a number of its own.
CAttributeMap HeadingSensor()
{
    CAttributeMap tree;
    tree.Add(L"x5HeadingSensorFormat", CVordalInt(1), 0);
    tree.Add(L"x5HeadingSensorBaudrate", CVordalInt(2), 0);
    tree.Add(L"x5HeadingSensorParity", CVordalInt(3), 0);
    tree.Add(L"x5HeadingSensorDataBits", CVordalInt(4), 0);
    tree.Add(L"x5HeadingSensorStopBits", CVordalInt(5), 0);
    return tree;
}

int IntOf(CAttributeMap const& tree, wchar_t const* key)
{
    int value = -1;
    EXPECT_TRUE(tree.FindValue(key, 0).Get(value));
    return value;
}

TEST_F(ControlDevice, TheHeadingSensorIsCompletedFromTheStoredTree)
{
    Store(HeadingSensor());
    // 300 goes out as its low byte and is echoed whole.
    CAttributeMap request = One(L"x5HeadingSensorBaudrate", CVordalInt(300));
    ControlDeviceAccess::ConfigureHeadingSensor(*device, request);
    EXPECT_EQ(traffic.lines, Lines({"remote 1057 012c030405000000 to 0,-1"}));
    EXPECT_EQ(IntOf(Stored(), L"x5HeadingSensorBaudrate"), 300);
    EXPECT_EQ(IntOf(Stored(), L"x5HeadingSensorStopBits"), 5);
    EXPECT_EQ(Stored().Count(), 5);
}

TEST_F(ControlDevice, TheHeadingSensorIsEchoedInTheOrderOfItsKeys)
{
    CAttributeMap request;
    request.Add(L"x5HeadingSensorStopBits", CVordalInt(5), 0);
    request.Add(L"x5HeadingSensorDataBits", CVordalInt(-1), 0);
    request.Add(L"x5HeadingSensorParity", CVordalInt(3), 0);
    request.Add(L"x5HeadingSensorBaudrate", CVordalInt(2), 0);
    request.Add(L"x5HeadingSensorFormat", CVordalInt(257), 0);
    ControlDeviceAccess::ConfigureHeadingSensor(*device, request);
    EXPECT_EQ(traffic.lines, Lines({"remote 1057 010203ff05000000 to 0,-1"}));
    CAttributeMap const stored = Stored();
    wchar_t const* const inOrder[]{L"x5HeadingSensorFormat", L"x5HeadingSensorBaudrate", L"x5HeadingSensorParity",
                                   L"x5HeadingSensorDataBits", L"x5HeadingSensorStopBits"};
    ASSERT_EQ(stored.Count(), 5);
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(stored.GetChild(i).GetKey() == inOrder[i]) << i;
    }
    EXPECT_EQ(IntOf(stored, L"x5HeadingSensorFormat"), 257);
    EXPECT_EQ(IntOf(stored, L"x5HeadingSensorDataBits"), -1);
}

TEST_F(ControlDevice, AKeyOfAnotherKindTriggersTheHeadingSensor)
{
    Store(HeadingSensor());
    CAttributeMap request = One(L"x5HeadingSensorFormat", CVordalDouble(9.0));
    ControlDeviceAccess::ConfigureHeadingSensor(*device, request);
    EXPECT_EQ(traffic.lines, Lines({"remote 1057 0102030405000000 to 0,-1"}));
}

TEST_F(ControlDevice, AHeadingSensorWithASettingMissingIsDropped)
{
    CAttributeMap stored = HeadingSensor();
    stored.Remove(L"x5HeadingSensorStopBits");
    Store(stored);
    CAttributeMap request = One(L"x5HeadingSensorFormat", CVordalInt(9));
    ControlDeviceAccess::ConfigureHeadingSensor(*device, request);
    EXPECT_EQ(traffic.lines, Lines());
    EXPECT_EQ(IntOf(Stored(), L"x5HeadingSensorFormat"), 1);
    CAttributeMap unrelated = One(L"x5MotionSensorFormat", CVordalInt(9));
    ControlDeviceAccess::ConfigureHeadingSensor(*device, unrelated);
    EXPECT_EQ(traffic.lines, Lines());
}

TEST_F(ControlDevice, NoRequestReachesTheHeadingSensor)
{
    Request(HeadingSensor());
    EXPECT_EQ(traffic.lines, Lines());
    EXPECT_EQ(Stored().Count(), 0);
}

TEST_F(ControlDevice, AWideAndADeepRequestAreTakenInTheirStride)
{
    CAttributeMap wide;
    for (int i = 0; i < 10000; ++i) {
        wide.Add(L"x5Range", CVordalInt(i), 0); // of a kind that cannot be read as a range
    }
    wide.Add(L"x5Gain", CVordalDouble(1.0), 0);
    Request(wide);
    CAttributeMap deep;
    CAttributeMap* at = &deep;
    for (int i = 0; i < 1000; ++i) {
        at = at->Add(L"x5Range");
    }
    Request(deep);
    EXPECT_EQ(traffic.lines, Lines({"remote 1008 0000803f to 0,-1"}));
}

TEST_F(ControlDevice, AnswersTheHostsOutputAsItsBaseDoes)
{
    EXPECT_FALSE(device->DoOutput(0));
    EXPECT_FALSE(device->DoOutput(1));
}

TEST_F(ControlDevice, SendsNoContactThatNobodyTellsOf)
{
    Store(One(L"DeviceId", CVordalInt(7125)));
    ControlDeviceAccess::SendContact(*device, nullptr);
    EXPECT_EQ(traffic.lines, Lines());
}

TEST_F(ControlDevice, FindsNoMultibeamSystemWhereNoHostHasIt)
{
    QX5SonarConfigurationControlDevice alone;
    alone.ApplyAttribs(true);
    CAttributeMap tree;
    alone.GetAttributeMap(tree);
    EXPECT_FALSE(tree.Has(L"MountedOnPanAndTilt"));
}

TEST_F(ControlDevice, LeavesNoMemoryBehind)
{
    // Under a sanitizer the numbers stand still, and its leak checker tells.
    auto const comeAndGo = [](int times) {
        for (int i = 0; i < times; ++i) {
            QX5SonarConfigurationControlDevice const passing;
        }
    };
    comeAndGo(100);
    constexpr int devices = 2000;
    auto const before = mallinfo2().uordblks;
    comeAndGo(devices);
    // What grows by itself, such as the buses' lists, is of another order than a piece of memory for each device.
    EXPECT_LT(mallinfo2().uordblks, before + devices * 8);
}

// Commands of the tests' own: what a table may say, and no table of the sonar's says yet.

/// Tells what was missing.
class OwnCommands : public OneSonar, protected vordal::HostObserver
{
protected:
    OwnCommands() { m_host.SetObserver(this); }
    ~OwnCommands() override { m_host.SetObserver(nullptr); }

    void OnRequestDropped(BaseDevice&, AttributeKey const& asked, AttributeKey const& missing) override
    {
        told.push_back(qx5::protocol::EncodeUtf8(asked.Text()) + " lacks " + qx5::protocol::EncodeUtf8(missing.Text()));
    }
    bool Reads(CAttributeMap const& request, qx5::Command const& command)
    {
        told.clear();
        return ControlDeviceAccess::ReadOperands(*device, request, command, values);
    }

    qx5::CommandValues values;
    Lines told;
};

namespace keys = qx5::protocol::keys;

TEST_F(OwnCommands, AKeyOfTheStoredTreeIsNotAskedFor)
{
    static constexpr qx5::Operand operands[]{keys::x5Range, {keys::x5Gain, {.source = qx5::Source::Stored}}};
    qx5::Command const command{.form = qx5::Form::Strict, .operands = operands};
    CAttributeMap request = One(L"x5Gain", CVordalDouble(7.0));
    EXPECT_FALSE(Reads(request, command)) << "it does not trigger";
    EXPECT_EQ(told, Lines());
    request.Add(L"x5Range", CVordalDouble(50.0));
    EXPECT_FALSE(Reads(request, command)) << "nor is it read from the request";
    EXPECT_EQ(told, Lines{"x5Range lacks x5Gain"});
    Store(One(L"x5Gain", CVordalDouble(3.0)));
    EXPECT_TRUE(Reads(request, command));
    EXPECT_EQ(values[0], qx5::protocol::Value(50.0));
    EXPECT_EQ(values[1], qx5::protocol::Value(3.0));
}

TEST_F(OwnCommands, ACompletedKeyIsReadFromTheTreeInEveryForm)
{
    static constexpr qx5::Operand operands[]{keys::x5Range, {keys::x5Gain, {.source = qx5::Source::Completed}}};
    qx5::Command const command{.form = qx5::Form::AllRequired, .operands = operands};
    CAttributeMap const request = One(L"x5Range", CVordalDouble(50.0));
    EXPECT_FALSE(Reads(request, command));
    EXPECT_EQ(told, Lines{"x5Range lacks x5Gain"});
    Store(One(L"x5Gain", CVordalDouble(3.0)));
    EXPECT_TRUE(Reads(request, command));
    EXPECT_EQ(values[1], qx5::protocol::Value(3.0));
}

TEST_F(OwnCommands, AKeyOfTheRequestAloneIsNotCompletedAndNotMissed)
{
    static constexpr qx5::Operand operands[]{keys::x5Range, {keys::x5Gain, {.source = qx5::Source::Request}}};
    qx5::Command const command{.form = qx5::Form::Strict, .operands = operands};
    Store(One(L"x5Gain", CVordalDouble(3.0)));
    EXPECT_FALSE(Reads(One(L"x5Range", CVordalDouble(50.0)), command));
    EXPECT_EQ(told, Lines());
}

TEST_F(OwnCommands, WhatAskedIsTheMissingKeyItselfOrElseTheFirstThatTriggers)
{
    static constexpr qx5::Operand operands[]{
        {keys::x5Power, {.triggers = false}}, keys::x5Range, keys::x5Gain, keys::x5MaxPingRate};
    qx5::Command const command{.form = qx5::Form::Strict, .operands = operands};
    CAttributeMap request = One(L"x5Power", CVordalDouble(200.0));
    request.Add(L"x5Range", CVordalDouble(50.0));
    EXPECT_FALSE(Reads(request, command));
    EXPECT_EQ(told, Lines{"x5Range lacks x5Gain"});
    request.Add(L"x5Gain", CVordalBool(true));
    EXPECT_FALSE(Reads(request, command));
    EXPECT_EQ(told, Lines{"x5Gain lacks x5Gain"}) << "there, and of another kind";
}

TEST_F(OwnCommands, ATextThatIsNotReadIsNotTooLong)
{
    static constexpr qx5::Operand operands[]{keys::x5DirectoryName};
    static constexpr qx5::protocol::Field fields[]{
        {&keys::x5TxName, 0, qx5::protocol::Wire::Text, qx5::protocol::Convert::None, 4},
        {&keys::x5DirectoryName, 4, qx5::protocol::Wire::Text, qx5::protocol::Convert::None, 4}};
    static constexpr qx5::Sending sends[]{{qx5::protocol::RecordLayout{.id = 1099, .size = 8, .fields = fields}}};
    qx5::Command command{
        .form = qx5::Form::Presence, .operands = operands, .sends = sends, .longTexts = qx5::LongTexts::Refused};
    CAttributeMap const request = One(keys::x5DirectoryName.text, CVordalText(CString(L"long")));
    ControlDeviceAccess::CarryOut(*device, request, command);
    EXPECT_EQ(traffic.lines, Lines{"remote 1099 0000000000000000 to 0,-1"});
    command.form = qx5::Form::Direct;
    ControlDeviceAccess::CarryOut(*device, request, command);
    EXPECT_EQ(traffic.lines.size(), 1U) << "this one is, by the 0 at its end";
}

/// Tells which target files are opened and closed.
class TargetFiles : public OneSonar, protected vordal::HostObserver
{
protected:
    TargetFiles() { m_host.SetObserver(this); }
    ~TargetFiles() override { m_host.SetObserver(nullptr); }
    void OnOpenTargets(CString const& fileName) override { Note("open ", fileName); }
    void OnCloseTargets(CString const& fileName) override
    {
        Note("close ", fileName);
        if (whileClosing) {
            whileClosing();
        }
    }
    void OnStoreBlock(CDataId const& stream, CDataBlock const&) override
    {
        blocksStored += stream == vordal::PanTiltUnit::HoistStream(CDataId(1, 78, 1, 1)) ? 1 : 0;
    }

    /// Makes a target file and the active one of it.
    void Activate(char const* name, std::vector<vordal::StoredTarget> const& contacts = {})
    {
        auto const file = m_folder / name;
        vordal::TargetFile(file, vordal::TargetFile::Missing::Create).Replace(contacts);
        m_host.Targets().SetActive(vordal::TextOf(file));
    }

    Lines seen;
    std::function<void()> whileClosing;
    int blocksStored = 0; ///< of the hoist

private:
    /// Names in the folder without it.
    void Note(char const* what, CString const& fileName)
    {
        std::string name = qx5::protocol::EncodeUtf8(fileName.View());
        std::string const folder = m_folder.string() + "/";
        if (name.starts_with(folder)) {
            name.erase(0, folder.size());
        }
        seen.push_back(what + name);
    }

    qx5::test::TemporaryFolder const m_folder;
};

TEST_F(TargetFiles, TheActiveOneIsOpenAsLongAsTheDeviceIsThere)
{
    Activate("wrecks.sts");
    auto sonar = std::make_unique<QX5SonarConfigurationControlDevice>();
    EXPECT_EQ(seen, Lines{"open wrecks.sts"});
    ControlDeviceAccess::FollowActiveTargets(*sonar);
    EXPECT_EQ(seen, Lines{"open wrecks.sts"}) << "it is open already";
    Activate("rocks.sts");
    ControlDeviceAccess::FollowActiveTargets(*sonar);
    EXPECT_EQ(seen, (Lines{"open wrecks.sts", "close wrecks.sts", "open rocks.sts"}));
    sonar.reset();
    EXPECT_EQ(seen.back(), "close rocks.sts");
    EXPECT_EQ(seen.size(), 4U);
}

TEST_F(TargetFiles, ANameWithABackslashIsWholeAndNoneIsOpenedAsItIs)
{
    m_host.SetProjectFolder(FILE_SONAR_TARGETS, CString(L"targets/"));
    m_host.Targets().SetActive(CString(L"rocks.sts"));
    QX5SonarConfigurationControlDevice const completed;
    // Nothing completes these.
    m_host.Targets().SetActive(CString(L"\\wrecks.sts"));
    QX5SonarConfigurationControlDevice const whole;
    m_host.Targets().SetActive(CString());
    QX5SonarConfigurationControlDevice const none;
    EXPECT_EQ(seen, (Lines{"open targets/rocks.sts", "open \\wrecks.sts", "open "}));
}

TEST_F(TargetFiles, ADeviceThatClosesItsFileHearsOfNothingAnyMore)
{
    CDataId const unitStream(1, 40, 1, 1);
    vordal::PanTiltUnit unit(m_host, CDataId(1, 1112, 1, 1), unitStream);
    unit.Carry(*device, CDataId(1, 1011, 1, 1));
    CAttributeMap tree;
    tree.Add(L"DeviceId", CVordalInt(7125));
    tree.Add(L"PingOnlyDuringScan", CVordalBool(true));
    m_host.MergeDecoded(*device, tree);
    m_host.ApplyDevice(*device, true);
    Activate("wrecks.sts");
    ControlDeviceAccess::FollowActiveTargets(*device);
    int told = 0;
    auto const tell = [&](bool scanning, double tilt) {
        SONAR_TARGET_SEL_INFO const deleted(7, SONAR_TARGET_SEL_INFO::Deleted, 1700000000.0);
        m_host.Notify(Subscription::General, GeneralSubKeys::STS_SELECTED_SONAR_TARGET_CHANGE, &deleted);
        unit.SetScanning(scanning);
        device->SetAttributeMap(One(L"CmdTilt", CVordalDouble(tilt)), 0);
        ++told;
    };
    tell(true, 5.0);
    EXPECT_GE(traffic.lines.size(), 2U) << "the contact, and the pings that the unit lets begin";
    EXPECT_EQ(blocksStored, 1) << "the hoist's";
    traffic.lines.clear();
    whileClosing = [&] { tell(false, 6.0); };
    m_host.RemoveDevice(device);
    EXPECT_EQ(told, 2);
    EXPECT_EQ(traffic.lines, Lines());
    EXPECT_EQ(blocksStored, 1);
}

TEST_F(TargetFiles, AListOfMoreContactsThanAFrameHoldsIsRefusedInALine)
{
    // A frame of 128 MiB less 68 bytes around the record and 72 ahead of the contacts holds 1,016,799 of 132 bytes.
    vordal::StoredTarget contact;
    contact.target.targetGuid = CString(L"g");
    Activate("wrecks.sts", {contact});
    ControlDeviceAccess::FollowActiveTargets(*device);
    std::vector<CString> const guids(1'016'800, contact.target.targetGuid);
    ::testing::internal::CaptureStderr();
    ControlDeviceAccess::SendTargetList(*device, guids);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "QX5SonarConfiguration: a list of 1016800 contacts is not sent: a frame holds 1016799\n");
    EXPECT_EQ(traffic.lines, Lines());
}

TEST(PositioningUnit, BaudCodesAndTheirRates)
{
    EXPECT_EQ(ControlDeviceAccess::BaudRate(0), 1200U);
    EXPECT_EQ(ControlDeviceAccess::BaudRate(1), 9600U);
    EXPECT_EQ(ControlDeviceAccess::BaudRate(2), 28800U);
    EXPECT_EQ(ControlDeviceAccess::BaudRate(3), 57600U);
    EXPECT_EQ(ControlDeviceAccess::BaudRate(4), 115200U);
    for (int const code : {-1, 5, 7, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_EQ(ControlDeviceAccess::BaudRate(code), 0U);
    }
}

} // namespace
