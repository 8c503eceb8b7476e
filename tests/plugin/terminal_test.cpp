// The operator terminal's arithmetic at its limits, and what a scenario cannot show of the conversion.
#include "one_sonar.h"
#include "reference_host/common/host_observer.h"
#include "reference_host/displays/display.h"
#include "sequencing/terminal_steps.h"
#include <commands/terminal_codes.h>

#include <VordalConfigureR/CViewList.h>
#include <VordalMfc0R/CView.h>

#include <array>
#include <cmath>
#include <limits>
#include <set>

namespace {

using namespace qx5::terminal;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double greatestDouble = std::numeric_limits<double>::max();
constexpr auto Down = Direction::Down;
constexpr auto Up = Direction::Up;
constexpr auto Nothing = std::nullopt;

TEST(TerminalCodes, EachStandsOnceAndTheOthersMeanNothing)
{
    std::set<std::uint32_t> numbers;
    for (Code const& code : Codes) {
        EXPECT_TRUE(numbers.insert(code.number).second) << code.number;
        EXPECT_EQ(FindCode(code.number), &code);
    }
    EXPECT_EQ(numbers, (std::set<std::uint32_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 20, 21, 22, 23, 24, 40, 41}));
    for (std::uint32_t const other : {0U, 12U, 19U, 25U, 39U, 42U, 0xFFFFFFFFU}) {
        EXPECT_EQ(FindCode(other), nullptr) << other;
    }
}

TEST(TerminalSteps, WholeStepsBetweenTheLimits)
{
    EXPECT_EQ(StepInteger(20.0, 0.0, 83.0, Up), 21.0);
    EXPECT_EQ(StepInteger(20.9, 0.0, 83.0, Down), 19.0);
    EXPECT_EQ(StepInteger(83.0, 0.0, 83.0, Up), Nothing);
    EXPECT_EQ(StepInteger(82.0, 0.0, 82.9989, Up), Nothing);
    EXPECT_EQ(StepInteger(82.0, 0.0, 82.9991, Up), 83.0);
    EXPECT_EQ(StepInteger(0.1, 0.0, 83.0, Down), Nothing);
    EXPECT_EQ(StepInteger(0.1, 0.0, 83.0, Up), 1.0);
    // Above 0.1 is on, but the whole number below it is still 0.
    EXPECT_EQ(StepInteger(0.11, 0.0, 83.0, Up), 1.0);
    EXPECT_EQ(StepInteger(-20.0, -30.0, 0.0, Up), -29.0) << "not above 0.1: it counts as the first";
}

TEST(TerminalSteps, WholeStepsCutTowardZero)
{
    // floor(10.5) - 10.5 is -0.5, index 0.
    EXPECT_EQ(StepInteger(10.5, 10.5, 20.5, Down), Nothing);
    EXPECT_EQ(StepInteger(10.5, 10.5, 20.5, Up), 11.5);
    // floor(9) - 10.5 is -1.5, index -1; one up is the first.
    EXPECT_EQ(StepInteger(9.0, 10.5, 20.5, Up), 10.5);
    EXPECT_EQ(StepInteger(8.0, 10.5, 20.5, Up), 0.0);
}

TEST(TerminalSteps, WholeStepsAddInSinglePrecision)
{
    // 0.1 as a float is 0.100000001490116; added to 1 in single precision that is 1.10000002384186.
    EXPECT_EQ(StepInteger(1.5, 0.1, 20.0, Up), 1.10000002384185791015625);
    // 16777217 has no float: even rounding gives 16777216.
    EXPECT_EQ(StepInteger(16777216.0, 0.0, 20000000.0, Up), 16777216.0);
    EXPECT_EQ(StepInteger(5.0, 1e300, 1e301, Up), 0.0) << "the index saturates far below 0";
}

TEST(TerminalSteps, WholeStepsOfNumbersThatAreNone)
{
    EXPECT_EQ(StepInteger(notANumber, 0.0, 83.0, Up), 1.0);
    EXPECT_EQ(StepInteger(notANumber, 0.0, 83.0, Down), Nothing);
    EXPECT_EQ(StepInteger(infinity, 0.0, 83.0, Up), Nothing);
    EXPECT_EQ(StepInteger(infinity, 0.0, 83.0, Down), 2147483648.0) << "2147483646 as a float";
    EXPECT_EQ(StepInteger(-infinity, 0.0, 83.0, Down), Nothing);
    EXPECT_EQ(StepInteger(5.0, notANumber, notANumber, Up), Nothing) << "the span of no limits is 0";
    EXPECT_EQ(StepInteger(5.0, notANumber, notANumber, Down), Nothing) << "so is the index";
    EXPECT_EQ(StepInteger(5.0, 0.0, infinity, Up), 6.0);
    EXPECT_EQ(StepInteger(5.0, -infinity, infinity, Up), -infinity);
    EXPECT_EQ(StepInteger(5.0, 0.0, -infinity, Up), Nothing);
    EXPECT_EQ(StepInteger(greatestDouble, -greatestDouble, greatestDouble, Up), -infinity)
        << "2147483648 steps are within a span of 4294967295";
}

TEST(TerminalSteps, PowerIsOffBelowItsLeast)
{
    EXPECT_EQ(StepPower(180.0, 180.0, 220.0, Down), 0.0);
    EXPECT_EQ(StepPower(0.0, 180.0, 220.0, Down), Nothing);
    EXPECT_EQ(StepPower(0.0, 180.0, 220.0, Up), 180.0);
    EXPECT_EQ(StepPower(219.0, 180.0, 220.0, Up), 220.0);
    EXPECT_EQ(StepPower(220.0, 180.0, 220.0, Up), Nothing);
    EXPECT_EQ(StepPower(181.0, 180.0, 220.0, Down), 180.0);
    EXPECT_EQ(StepPower(150.0, 180.0, 220.0, Up), 0.0) << "index -29, one up is still below 1";
    EXPECT_EQ(StepPower(179.0, 180.0, 220.0, Up), 180.0) << "index 0, one up is the least";
    EXPECT_EQ(StepPower(179.0, 180.0, 220.0, Down), Nothing);
    EXPECT_EQ(StepPower(infinity, 0.0, 220.0, Up), Nothing);
    EXPECT_EQ(StepPower(infinity, 0.0, 220.0, Down), 2147483648.0);
    EXPECT_EQ(StepPower(notANumber, 180.0, 220.0, Up), 180.0);
    EXPECT_EQ(StepPower(5.0, notANumber, 220.0, Down), 0.0);
}

TEST(TerminalSteps, PulseStepsByATenthOfItsDecade)
{
    EXPECT_EQ(StepPulseLength(0.000123, 0.00001, 0.01, Up), double{0.00013F});
    EXPECT_EQ(StepPulseLength(0.000123, 0.00001, 0.01, Down), double{0.00011F});
    EXPECT_EQ(StepPulseLength(0.0001, 0.00001, 0.01, Down), double{0.00009F}) << "100 us steps by 10";
    EXPECT_EQ(StepPulseLength(0.000099, 0.00001, 0.01, Up), double{0.0001F}) << "99 us steps by 1";
    EXPECT_EQ(StepPulseLength(0.001, 0.00001, 0.01, Down), double{0.0009F});
    EXPECT_EQ(StepPulseLength(0.00999, 0.00001, 0.01, Up), double{0.01F}) << "10090 us are cut to 10000";
    EXPECT_EQ(StepPulseLength(0.000009, 0.000001, 0.01, Up), double{0.000009F}) << "below 10 us there is no step";
    EXPECT_EQ(StepPulseLength(1.0, 0.00001, 10.0, Up), double{1.1F});
    EXPECT_EQ(StepPulseLength(999.999999, 0.00001, 2000.0, Down), 900.0) << "as a float it is 1000 s, its step 100 s";
}

TEST(TerminalSteps, OnlyTheLastDivisionOfAPulseIsInSinglePrecision)
{
    // The float below 16 s, times 1000000, is 15999999.046 us in double: 15999999, two digits 15. In single precision
    // 15999999 + 0.5 would be 16000000.
    EXPECT_EQ(PresetPulseLength(15.9999990463256836, 0.0, 100.0), 15.0);
    // The quotient is one: 130 / 1000000 in single precision, not 0.00013 in double.
    EXPECT_EQ(PresetPulseLength(0.000133, 0.0, 1.0), 0.0001300000003539025783538818359375);
}

TEST(TerminalSteps, PulseStepsStopAtTheLimits)
{
    EXPECT_EQ(StepPulseLength(0.01, 0.00001, 0.01, Up), Nothing);
    EXPECT_EQ(StepPulseLength(0.02, 0.00001, 0.01, Up), Nothing);
    EXPECT_EQ(StepPulseLength(0.02, 0.00001, 0.01, Down), double{0.01F}) << "19000 us, limited";
    EXPECT_EQ(StepPulseLength(0.00001, 0.00001, 0.01, Down), Nothing);
    EXPECT_EQ(StepPulseLength(0.000005, 0.00001, 0.01, Up), double{0.00001F});
    EXPECT_EQ(StepPulseLength(0.0095, 0.00001, 0.00955, Up), double{0.00955F}) << "9600 us, limited";
    EXPECT_EQ(StepPulseLength(0.000123, 0.0, 0.0, Down), 0.0);
    EXPECT_EQ(StepPulseLength(0.000123, 0.0002, 0.0001, Down), Nothing) << "the lower limit is above";
    EXPECT_EQ(StepPulseLength(0.000123, 0.0002, 0.0001, Up), Nothing) << "the upper limit is below";
    EXPECT_EQ(StepPulseLength(0.000123, notANumber, notANumber, Up), Nothing) << "limits that are none are 0";
}

TEST(TerminalSteps, APulseBetweenMinusTwoAndMinusOneHasNoStep)
{
    for (double const pulse : {-1.0, -1.5, -1.999999}) {
        EXPECT_EQ(StepPulseLength(pulse, -10.0, 10.0, Up), Nothing) << pulse;
        EXPECT_EQ(StepPulseLength(pulse, -10.0, 10.0, Down), Nothing) << pulse;
    }
    // Others below 0 have steps of 0, which send them again, within the limits.
    EXPECT_EQ(StepPulseLength(-2.0, -10.0, 10.0, Up), -2.0);
    EXPECT_EQ(StepPulseLength(-0.5, -10.0, 10.0, Down), -0.5);
    // -1.99999999 is -2 as a float.
    EXPECT_EQ(StepPulseLength(-1.99999999, -10.0, 10.0, Up), -2.0);
    EXPECT_EQ(StepPulseLength(-2.0, 0.00001, 0.01, Up), double{0.00001F});
}

TEST(TerminalSteps, PulsesSaturate)
{
    // 2147483647 us are 2147483648 as a float.
    double const most = 2147483648.0F / 1000000.0F;
    EXPECT_EQ(StepPulseLength(infinity, 0.0, infinity, Up), Nothing);
    EXPECT_EQ(StepPulseLength(infinity, 0.0, infinity, Down), 2000.0) << "2147483647 - 100000000, two digits";
    EXPECT_EQ(StepPulseLength(2147.0, 0.0, infinity, Up), most) << "2247000000 us, two digits 2200000000, limited";
    EXPECT_EQ(StepPulseLength(greatestDouble, 0.0, 0.01, Down), double{0.01F});
    EXPECT_EQ(StepPulseLength(notANumber, 0.00001, 0.01, Up), double{0.00001F});
    EXPECT_EQ(StepPulseLength(notANumber, 0.00001, 0.01, Down), Nothing);
    EXPECT_EQ(StepPulseLength(-infinity, -infinity, 0.0, Down), Nothing);
    EXPECT_EQ(StepPulseLength(-infinity, -infinity, 0.0, Up), -most) << "it has no step, but goes out again";
}

TEST(TerminalSteps, RangesGoByTheTable)
{
    constexpr std::array ranges{2.5, 5.0, 8.0, 10.0, 15.0};
    EXPECT_EQ(StepRange(12.0, ranges, Up), 15.0);
    EXPECT_EQ(StepRange(12.0, ranges, Down), 8.0);
    EXPECT_EQ(StepRange(2.5, ranges, Down), Nothing);
    EXPECT_EQ(StepRange(1.0, ranges, Down), Nothing);
    EXPECT_EQ(StepRange(1.0, ranges, Up), 2.5);
    EXPECT_EQ(StepRange(15.0, ranges, Up), Nothing);
    EXPECT_EQ(StepRange(notANumber, ranges, Up), Nothing) << "no entry is above it";
    EXPECT_EQ(StepRange(notANumber, ranges, Down), 10.0);
    EXPECT_EQ(StepRange(infinity, ranges, Down), 10.0);
    EXPECT_EQ(StepRange(-infinity, ranges, Up), 2.5);
    EXPECT_EQ(StepRange(5.0, {}, Up), Nothing);
    EXPECT_EQ(StepRange(5.0, {}, Down), Nothing);
    constexpr std::array one{5.0};
    EXPECT_EQ(StepRange(5.0, one, Up), Nothing);
    EXPECT_EQ(StepRange(5.0, one, Down), Nothing);
    EXPECT_EQ(StepRange(4.0, one, Up), 5.0);
    // Not ascending: the first that is above counts.
    constexpr std::array mixed{5.0, 20.0, 10.0, 30.0};
    EXPECT_EQ(StepRange(15.0, mixed, Up), 20.0);
    EXPECT_EQ(StepRange(25.0, mixed, Down), 20.0);
    constexpr std::array holed{5.0, notANumber, 10.0};
    EXPECT_EQ(StepRange(7.0, holed, Up), 10.0);
}

TEST(TerminalSteps, ProjectorsAndLightModes)
{
    EXPECT_EQ(StepProjector(0, 2, Up), 1);
    EXPECT_EQ(StepProjector(1, 2, Up), Nothing);
    EXPECT_EQ(StepProjector(0, 2, Down), Nothing);
    EXPECT_EQ(StepProjector(1, 0, Down), 0);
    EXPECT_EQ(StepProjector(-1, 2, Up), Nothing);
    EXPECT_EQ(StepProjector(std::numeric_limits<int>::max(), 2, Up), Nothing);
    EXPECT_EQ(StepProjector(std::numeric_limits<int>::min(), 2, Down), Nothing);

    EXPECT_EQ(StepLightMode(1, Down), Nothing);
    EXPECT_EQ(StepLightMode(2, Down), 1);
    EXPECT_EQ(StepLightMode(3, Up), 4);
    EXPECT_EQ(StepLightMode(4, Up), Nothing);
    EXPECT_EQ(StepLightMode(9, Down), 8);
    EXPECT_EQ(StepLightMode(std::numeric_limits<int>::min(), Down), Nothing);
    EXPECT_EQ(StepLightMode(std::numeric_limits<int>::max(), Up), Nothing);
}

TEST(TerminalPresets, ProjectorsAreCutToThoseThatThereAre)
{
    EXPECT_EQ(PresetProjector(1.9, 3), 1);
    EXPECT_EQ(PresetProjector(-0.5, 3), 0);
    EXPECT_EQ(PresetProjector(-7.0, 3), 0);
    EXPECT_EQ(PresetProjector(3.0, 3), 2);
    EXPECT_EQ(PresetProjector(infinity, 3), 2);
    EXPECT_EQ(PresetProjector(notANumber, 3), 0);
    EXPECT_EQ(PresetProjector(0.0, 0), -1);
    EXPECT_EQ(PresetProjector(5.0, 0), -1);
}

TEST(TerminalPresets, LimitsApplyLowThenHigh)
{
    EXPECT_EQ(PresetPingRate(0.5, 50.0), 1.0);
    EXPECT_EQ(PresetPingRate(51.0, 50.0), 50.0);
    EXPECT_EQ(PresetPingRate(0.5, 0.25), 0.25);
    EXPECT_TRUE(std::isnan(PresetPingRate(notANumber, 50.0)));

    EXPECT_EQ(PresetPower(179.0, 180.0, 220.0), 0.0);
    EXPECT_EQ(PresetPower(180.0, 180.0, 220.0), 180.0);
    EXPECT_EQ(PresetPower(221.0, 180.0, 220.0), 220.0);
    EXPECT_EQ(PresetPower(-300.0, -200.0, -100.0), -100.0) << "0 is above the upper limit";
    EXPECT_TRUE(std::isnan(PresetPower(notANumber, 180.0, 220.0)));

    EXPECT_EQ(PresetGain(0.05, 83.0), 0.0);
    EXPECT_EQ(PresetGain(0.1, 83.0), 0.1);
    EXPECT_EQ(PresetGain(84.0, 83.0), 83.0);
    EXPECT_EQ(PresetGain(5.0, -1.0), -1.0);
    EXPECT_EQ(PresetGain(0.05, -1.0), -1.0);

    EXPECT_EQ(PresetPulseLength(0.5, 0.2, 0.1), double{0.1F});
    EXPECT_EQ(PresetPulseLength(0.05, 0.2, 0.1), double{0.1F}) << "raised to 0.2 first";
}

TEST(TerminalPresets, RangesCountAsTheEntryBelow)
{
    constexpr std::array ranges{10.0, 20.0, 40.0};
    EXPECT_EQ(PresetRange(39.0, ranges), 20.0);
    EXPECT_EQ(PresetRange(5.0, ranges), 10.0);
    EXPECT_EQ(PresetRange(infinity, ranges), 40.0);
    EXPECT_EQ(PresetRange(notANumber, ranges), 40.0);
    EXPECT_EQ(PresetRange(5.0, {}), Nothing);
}

TEST(TerminalPresets, APulseThatTruncatesToMinusOneSkipsTheRoundingOnly)
{
    EXPECT_EQ(PresetPulseLength(-1.0, -5.0, 5.0), -1.0);
    // As a float, but with all its digits.
    EXPECT_EQ(PresetPulseLength(-1.2345678, -5.0, 5.0), double{-1.2345678F});
    EXPECT_EQ(PresetPulseLength(-9.0, -1.75, 5.0), -1.75) << "after the limits";
    EXPECT_EQ(PresetPulseLength(-0.0000019, -5.0, 5.0), double{-0.000002F}) << "rounded to whole microseconds";
    EXPECT_EQ(PresetPulseLength(0.000129, 0.0, 5.0), double{0.00012F});
    EXPECT_EQ(PresetPulseLength(0.0000094, 0.0, 5.0), double{0.000009F});
    EXPECT_EQ(PresetPulseLength(notANumber, 0.00001, 0.01), 0.0);
    EXPECT_EQ(PresetPulseLength(infinity, 0.0, infinity), 2100.0) << "2147483647 us, two digits";
}

/// A sonar whose terminal is followed; its application has no main window, so only requests are seen.
class Terminal : public OneSonar
{
protected:
    void Apply(CAttributeMap const& tree)
    {
        Store(tree);
        m_host.ApplyDevice(*device, true);
    }
    void Enter(unsigned char code)
    {
        CDataBlock block;
        block.AddItem(CodeItem, DATA_INT32, BytesOf(code), 4, 0);
        Enter(block);
    }
    void Enter(CDataBlock const& block) { m_host.PutBlock(CDataId(1, Group, 1, 1), block); }
    static std::array<unsigned char, 5> BytesOf(unsigned char code) { return {code, 0, 0, 0, 0}; }
    Lines TakeLines() { return std::exchange(traffic.lines, {}); }

    static CAttributeMap Settings(double greatestGain)
    {
        CAttributeMap settings;
        CAttributeMap* const gain = settings.Add(L"x5Gain");
        gain->Add(L"x5Min", CVordalDouble(0.0), 0);
        gain->Add(L"x5Max", CVordalDouble(greatestGain), 0);
        return settings;
    }
    static CAttributeMap Sonar(int projector, double gain)
    {
        CAttributeMap tree;
        tree.Add(L"DeviceEnum", CVordalInt(projector), 0);
        tree.Add(L"x5Gain", CVordalDouble(gain), 0);
        *tree.Add(L"x5SonarSettings") = Settings(50.0);
        return tree;
    }
};

TEST_F(Terminal, EmptySettingsOfTheProjectorEndTheRefresh)
{
    CAttributeMap tree = Sonar(1, 20.0);
    tree.Add(L"x5SonarSettings");
    Apply(tree);
    Enter(5);
    Enter(41);
    EXPECT_EQ(TakeLines(), Lines()) << "the first projector's limits do not stand in: there are none";
    Apply(Sonar(1, 20.0));
    Enter(41);
    EXPECT_EQ(TakeLines(), Lines{"remote 1008 0000a841 to 0,-1"}) << "without any of its own they do; 21 dB";
}

TEST_F(Terminal, ADeviceThatIsGoneIsNotAskedAndItsTerminalReachesNobody)
{
    Apply(Sonar(0, 20.0));
    Enter(5);
    m_host.RemoveDevice(device);
    Enter(41);
    EXPECT_EQ(TakeLines(), Lines());
}

TEST_F(Terminal, AChangeOfIdMovesToTheOtherTerminal)
{
    Apply(Sonar(0, 20.0));
    Enter(5);
    device->SetDeviceNum(2);
    m_host.ApplyDevice(*device, true);
    Enter(41);
    EXPECT_EQ(TakeLines(), Lines()) << "the terminal of device 1 is nobody's now";
}

TEST_F(Terminal, ALimitOfTenThousandSettingsIsReadOnce)
{
    CAttributeMap tree;
    tree.Add(L"DeviceEnum", CVordalInt(9998), 0);
    for (int i = 0; i < 10000; ++i) {
        tree.Add(L"x5SonarSettings")->Add(L"x5Frequency")->Add(L"x5CenterFreq", CVordalDouble(1000.0 * i), 0);
    }
    Apply(tree);
    Enter(9);
    Enter(41);
    // 9999 is the last one.
    ASSERT_FALSE(traffic.lines.empty());
    EXPECT_EQ(traffic.lines.front(), "remote 1011 0f270000 to 0,-1");
    TakeLines();
    Enter(41);
    EXPECT_EQ(TakeLines(), Lines());
}

TEST_F(Terminal, ACodeIsAnIntegerOfFourBytes)
{
    // 1 stops the pings. The same in items of another type, of another size, without data, and of another number.
    Apply(Sonar(0, 20.0));
    for (unsigned short const type : {DATA_DOUBLE, DATA_BYTE, DATA_FLOAT, DATA_UINT16}) {
        CDataBlock block;
        block.AddItem(CodeItem, type, BytesOf(1), 4, 0);
        Enter(block);
        EXPECT_EQ(TakeLines(), Lines()) << "type " << type;
    }
    for (unsigned const size : {3U, 5U}) {
        CDataBlock block;
        block.AddItem(CodeItem, DATA_INT32, BytesOf(1), size, 0);
        Enter(block);
        EXPECT_EQ(TakeLines(), Lines()) << "size " << size;
    }
    CDataBlock without;
    without.AddItemWithoutData(CodeItem, DATA_INT32, 4, 0);
    Enter(without);
    CDataBlock other;
    other.AddItem(CodeItem + 1, DATA_INT32, BytesOf(1), 4, 0);
    Enter(other);
    Enter(CDataBlock());
    EXPECT_EQ(TakeLines(), Lines());

    // Of the status nothing is asked, and the first of two codes counts.
    CDataBlock block;
    block.AddItem(CodeItem, DATA_INT32, BytesOf(1), 4, 0xFFFF);
    block.AddItem(CodeItem, DATA_INT32, BytesOf(2), 4, 0);
    Enter(block);
    // A ping rate of 0 by both its records, then the pings off.
    EXPECT_EQ(TakeLines(),
              (Lines{"remote 1004 00000000 to 0,-1", "remote 10003 00000000 to 0,-1", "remote 1101 to 0,-1"}));
}

/// Keeps what is asked of devices, without looking at what it does.
class Requests final : public vordal::HostObserver
{
public:
    std::vector<CAttributeMap> trees;

    void OnHostSet(CDataId const&, CAttributeMap const& tree, unsigned) override { trees.push_back(tree); }
};

TEST_F(Terminal, ARequestsNodesBearNoFlags)
{
    Requests requests;
    m_host.SetObserver(&requests);
    Apply(Sonar(0, 20.0));
    Enter(1);
    ASSERT_EQ(requests.trees.size(), 2U);
    for (CAttributeMap const& tree : requests.trees) {
        ASSERT_EQ(tree.Count(), 1);
        CAttributeMap const& request = tree.GetChild(0);
        EXPECT_EQ(request.GetFlags(), 0U);
        ASSERT_EQ(request.Count(), 1);
        EXPECT_EQ(request.GetChild(0).GetFlags(), 0U);
    }
    m_host.SetObserver(nullptr);
}

/// A window that notes how it is shown.
class NotedWindow final : public vordal::DisplayHolder
{
public:
    std::string calls;

    void OnShowNormal() override { calls += "normal "; }
    void OnBringToTop() override { calls += "top "; }
};

class ViewWithoutWidget final : public CView
{
public:
    QWidget* GetWidget() override { return nullptr; }
};
CRuntimeClass viewWithoutWidget = MakeRuntimeClass<ViewWithoutWidget>("ViewWithoutWidget");

TEST_F(Terminal, TheFirstDataRaiseAnOpenSnapshotDisplay)
{
    // Where a display stands, its name and its type differ.
    m_host.SetApplication({.guid = {},
                           .mainWindow = true,
                           .lightMode = 4,
                           .displays = {{L"place a", L"bathy", L"Depths", true},
                                        {L"place b", L"snapshot view", L"Shots", true},
                                        {L"place c", L"snapshot view", L"More shots", true}}});
    m_host.SetWindowThread({});
    ASSERT_TRUE(CViewList::GetViewList().RegisterView(L"ViewWithoutWidget", &viewWithoutWidget));
    std::array<NotedWindow, 3> windows;
    std::array<std::unique_ptr<vordal::Display>, 3> displays;
    wchar_t const* const places[]{L"place a", L"place b", L"place c"};
    for (std::size_t i = 0; i < windows.size(); ++i) {
        std::string reason;
        displays[i] = vordal::Display::Open({L"ViewWithoutWidget", places[i], {}}, &windows[i], reason);
        ASSERT_NE(displays[i], nullptr) << reason;
        displays[i]->InitialUpdate();
    }
    Apply(Sonar(0, 20.0));
    Enter(5);
    EXPECT_EQ(windows[0].calls, "");
    EXPECT_EQ(windows[1].calls, "normal top ");
    EXPECT_EQ(windows[2].calls, "") << "the first of them is the one";
    Enter(5);
    EXPECT_EQ(windows[1].calls, "normal top ") << "at the first data alone";
    for (auto& display : displays) {
        display.reset();
    }
    m_host.EndWindowThread();
}

TEST_F(Terminal, ANullTreeChangesNothing)
{
    TerminalCommandsToQX5Conv conversion;
    conversion.RefreshLimits(nullptr);
    conversion.HandleSettingsChange();
    conversion.HandleTerminalData();
    EXPECT_EQ(TakeLines(), Lines()) << "an undefined sonar has neither tree nor terminal";
}

} // namespace
