// A request that lacks a value is dropped whole, and the host is told which: what asked, and what was found nowhere.
#include "one_sonar.h"

#include "reference_host/common/host_observer.h"

#include <commands/catalogue.h>
#include <commands/command.h>
#include <protocol/utf8.h>
#include <protocol/value.h>

#include <string>

#include <gtest/gtest.h>

namespace {

using qx5::Form;

class DroppedRequests : public OneSonar, protected vordal::HostObserver
{
protected:
    DroppedRequests() { m_host.SetObserver(this); }
    ~DroppedRequests() override { m_host.SetObserver(nullptr); }

    void OnEcho(BaseDevice&, CAttributeMap const&, unsigned) override { ++echoes; }
    void OnRequestDropped(BaseDevice& teller, AttributeKey const& asked, AttributeKey const& missing) override
    {
        EXPECT_EQ(&teller, device);
        told.push_back(qx5::protocol::EncodeUtf8(asked.Text()) + " lacks " + qx5::protocol::EncodeUtf8(missing.Text()));
    }

    /// What is told of that request, which must come to nothing else.
    Lines Dropped(CAttributeMap const& request)
    {
        told.clear();
        echoes = 0;
        traffic.lines.clear();
        Request(request);
        EXPECT_EQ(traffic.lines, Lines());
        EXPECT_EQ(echoes, 0);
        return told;
    }

    Lines told;
    int echoes = 0;
};

TEST_F(DroppedRequests, TellWhatAskedAndTheFirstKeyThatIsNowhere)
{
    EXPECT_EQ(Dropped(One(L"x5CoverageAngle", CVordalDouble(120.0))), Lines{"x5CoverageAngle lacks x5RxSteeringAngle"});
    EXPECT_EQ(Dropped(One(L"x5RxSteeringAngle", CVordalDouble(1.0))), Lines{"x5RxSteeringAngle lacks x5CoverageAngle"});
    EXPECT_EQ(Dropped(One(L"x5MaxDepthGate", CVordalDouble(9.0))), Lines{"x5MaxDepthGate lacks x5MinRangeGate"});
    CAttributeMap depths = One(L"x5MaxDepthGate", CVordalDouble(9.0));
    depths.Add(L"x5MinDepthGate", CVordalDouble(1.0));
    // In the table's order, whatever that of the request.
    EXPECT_EQ(Dropped(depths), Lines{"x5MinDepthGate lacks x5MinRangeGate"});
}

TEST_F(DroppedRequests, AreToldOncePerCommandAndDoNotHoldUpTheOthers)
{
    CAttributeMap request = One(L"x5StackingValue", CVordalInt(4));
    request.Add(L"x5CoverageAngle", CVordalDouble(120.0));
    EXPECT_EQ(Dropped(request),
              (Lines{"x5CoverageAngle lacks x5RxSteeringAngle", "x5StackingValue lacks x5StackingEnabled"}));
    told.clear();
    request.Add(L"x5Range", CVordalDouble(50.0));
    Request(request);
    EXPECT_EQ(told.size(), 2U);
    EXPECT_EQ(traffic.lines, Lines{"remote 1003 00004842 to 0,-1"});
}

TEST_F(DroppedRequests, AKeyOfAnotherKindIsFoundNowhereItself)
{
    EXPECT_EQ(Dropped(One(L"x5CoverageAngle", CVordalInt(120))), Lines{"x5CoverageAngle lacks x5CoverageAngle"});
    Store(One(L"x5RxSteeringAngle", CVordalInt(1)));
    EXPECT_EQ(Dropped(One(L"x5CoverageAngle", CVordalDouble(120.0))), Lines{"x5CoverageAngle lacks x5RxSteeringAngle"});
    EXPECT_EQ(Dropped(One(L"x5CenterFrequency", CVordalBool(true))),
              Lines{"x5CenterFrequency lacks x5CenterFrequency"});
}

TEST_F(DroppedRequests, WhatTheTreeHoldsCompletesAndNothingIsTold)
{
    Store(One(L"x5RxSteeringAngle", CVordalDouble(0.0)));
    Request(One(L"x5CoverageAngle", CVordalDouble(0.0)));
    EXPECT_EQ(told, Lines());
    EXPECT_EQ(traffic.lines, Lines{"remote 1035 0000000000000000 to 0,-1"});
}

TEST_F(DroppedRequests, ATemperatureNeedsAnOverride)
{
    EXPECT_EQ(Dropped(One(L"x5Temperature", CVordalDouble(12.0))), Lines{"x5Temperature lacks x5TemperatureOverride"});
}

TEST_F(DroppedRequests, ASweepNeedsItsPingSettingsAndTheFrequency)
{
    CAttributeMap const request = One(L"x5FMSweep", CVordalDouble(20.0));
    EXPECT_EQ(Dropped(request), Lines{"x5FMSweep lacks x5PingSettingsList"});
    CAttributeMap stored;
    stored.Add(L"x5PingSettingsList");
    Store(stored);
    EXPECT_EQ(Dropped(request), Lines{"x5FMSweep lacks x5FMSweepNegative"});
    EXPECT_EQ(Dropped(One(L"x5FMSweepNegative", CVordalBool(true))), Lines{"x5FMSweepNegative lacks x5FMSweep"});
    stored.FindCreate(L"x5PingSettingsList", 0).Add(L"x5FMSweepNegative", CVordalBool(false));
    Store(stored);
    EXPECT_EQ(Dropped(request), Lines{"x5FMSweep lacks x5CenterFrequency"});
    CAttributeMap ofAnotherKind = request;
    ofAnotherKind.Add(L"x5FMSweepNegative", CVordalInt(1), 0);
    CAttributeMap bare;
    bare.Add(L"x5PingSettingsList");
    Store(bare);
    EXPECT_EQ(Dropped(ofAnotherKind), Lines{"x5FMSweepNegative lacks x5FMSweepNegative"});
}

TEST_F(DroppedRequests, APortOfThePositioningUnitWhoseValueCannotBeRead)
{
    CAttributeMap request = One(L"OstDgnssInsPrimarySerialPort485", CVordalInt(1));
    EXPECT_EQ(Dropped(request), Lines{"OstDgnssInsPrimarySerialPort485 lacks OstDgnssInsPrimarySerialPort485"});
    EXPECT_EQ(Dropped(One(L"OstDgnssInsPrimarySerialPortBaudrate", CVordalBool(true))),
              Lines{"OstDgnssInsPrimarySerialPortBaudrate lacks OstDgnssInsPrimarySerialPortBaudrate"});
    request.Add(L"OstDgnssInsPrimarySerialPortBaudrate", CVordalBool(true));
    EXPECT_EQ(Dropped(request),
              Lines{"OstDgnssInsPrimarySerialPortBaudrate lacks OstDgnssInsPrimarySerialPortBaudrate"});
    // A code that is none is a value that was found.
    EXPECT_EQ(Dropped(One(L"OstDgnssInsSecondarySerialPortBaudrate", CVordalInt(7))), Lines());
    EXPECT_EQ(Dropped(One(L"OstDgnssInsCorrectionsInputFormat", CVordalBool(true))),
              Lines{"OstDgnssInsCorrectionsInputFormat lacks OstDgnssInsCorrectionsInputFormat"});
}

TEST_F(DroppedRequests, ValuesThatMustStandInTheRequestAreNotMissed)
{
    // Nothing completes these: a handler that does not find its keys has nothing to do with the request.
    EXPECT_EQ(Dropped(One(L"x5Range", CVordalInt(50))), Lines());
    EXPECT_EQ(Dropped(One(L"UdpAddress", CVordalText(CString(L"1")))), Lines());
    EXPECT_EQ(Dropped(CAttributeMap()), Lines());
    EXPECT_EQ(Dropped(One(L"NobodyKnows", CVordalInt(1))), Lines());
}

TEST_F(DroppedRequests, EveryStrictCommandTells)
{
    int commands = 0;
    for (qx5::ChainEntry const& entry : qx5::Chain()) {
        if (entry.command->form != Form::Strict) {
            continue;
        }
        ++commands;
        // Present, and of no kind that anything can be read of.
        AttributeKey const& first = entry.command->operands.front().attribute;
        CAttributeMap request;
        request.Add(first);
        std::string const key = qx5::protocol::EncodeUtf8(first.Text());
        EXPECT_EQ(Dropped(request), Lines{key + " lacks " + key}) << entry.handler;
    }
    EXPECT_EQ(commands, 27);
}

} // namespace
