// What the sonar makes of records, without a network.
#include <simulator/sonar_state.h>

#include <gtest/gtest.h>

#include <algorithm>

#include "test_host.h"

namespace qx5::simulator {
namespace {

using namespace std::chrono_literals;
using protocol::TreeNode;
using protocol::Value;
using test::Bytes;
using test::Hex;

class SonarStateTest : public ::testing::Test
{
protected:
    Understood Take(Bytes const& bytes)
    {
        m_bytes = bytes;
        auto const frame = protocol::ParseFrame(m_bytes);
        EXPECT_TRUE(frame);
        return frame ? m_state.Apply(*frame) : Understood{};
    }
    Value At(std::wstring_view key) const
    {
        auto const* const value = m_state.Find(key);
        return value != nullptr ? *value : Value{};
    }
    std::vector<std::wstring> ReportedKeys()
    {
        std::vector<std::wstring> texts;
        for (TreeNode const& node : m_state.TakeReport()) {
            texts.push_back(node.key);
        }
        return texts;
    }

    Bytes m_bytes;
    SonarState m_state{[] { return 1700000000.0; }}; // 2023-11-14 22:13:20 UTC
};

TEST_F(SonarStateTest, TakesARangeFromItsBytes)
{
    auto const record = Take(test::RangeFifty());
    EXPECT_EQ(record.id, 1003U);
    EXPECT_EQ(record.name, "range");
    EXPECT_EQ(At(L"x5Range"), Value(50.0));
    EXPECT_EQ(ReportedKeys(), std::vector<std::wstring>{L"x5Range"});
    EXPECT_FALSE(m_state.HasReport());
}

TEST_F(SonarStateTest, BringsARangeBeyondItsLimitsInside)
{
    Take(test::Command(1003, Hex("00 24 74 49"))); // 1,000,000 m
    EXPECT_EQ(At(L"x5Range"), Value(500.0));
    Take(test::Command(1003, Hex("00 00 80 bf"))); // -1 m
    EXPECT_EQ(At(L"x5Range"), Value(5.0));
    m_state.TakeReport();
    Take(test::Command(1003, Hex("00 00 c0 7f"))); // no number
    EXPECT_EQ(At(L"x5Range"), Value(5.0));
    EXPECT_EQ(ReportedKeys(), std::vector<std::wstring>{L"x5Range"}); // what holds is told all the same
}

TEST_F(SonarStateTest, IgnoresARecordThatIsTooShort)
{
    auto const record = Take(test::Command(1003, Hex("00 00")));
    EXPECT_EQ(record.missingBytes, 2U);
    EXPECT_EQ(At(L"x5Range"), Value(100.0));
    EXPECT_FALSE(m_state.HasReport());
}

TEST_F(SonarStateTest, TurnsPingsOnAndOff)
{
    EXPECT_FALSE(m_state.PingsOn());
    Take(test::Command(1100));
    EXPECT_TRUE(m_state.PingsOn());
    EXPECT_EQ(At(L"x5PingOnOffState"), Value(std::int32_t{1}));
    Take(test::Command(1101));
    EXPECT_FALSE(m_state.PingsOn());
}

TEST_F(SonarStateTest, TakesFromManualSoundVelocityWhatItsFlagsSay)
{
    // Flags 7: override, no new velocity, new filter 3; the float field is to be ignored.
    Take(test::Command(7610, Hex("07 00 00 00 c8 44 03 00 00 00")));
    EXPECT_EQ(At(L"x5SoundVelocityOverride"), Value(true));
    EXPECT_EQ(At(L"x5SoundVelocity"), Value(1500.0));
    EXPECT_EQ(At(L"x5SoundVelocityFilter"), Value(std::int32_t{3}));
    // Flags 0: velocity 1450 m/s, override off, filter as it was.
    Take(test::Command(7610, Hex("00 00 00 40 b5 44 09 00 00 00")));
    EXPECT_EQ(At(L"x5SoundVelocityOverride"), Value(false));
    EXPECT_EQ(At(L"x5SoundVelocity"), Value(1450.0));
    EXPECT_EQ(At(L"x5SoundVelocityFilter"), Value(std::int32_t{3}));
}

TEST_F(SonarStateTest, TakesFromManualTemperatureWhatItsFlagsSay)
{
    Take(test::Command(7614, Hex("03 00 00 00 a0 41 00 00 00 00")));
    EXPECT_EQ(At(L"x5TemperatureOverride"), Value(true));
    EXPECT_EQ(At(L"x5Temperature"), Value(10.0));
    Take(test::Command(7614, Hex("01 00 00 00 a0 41 00 00 00 00")));
    EXPECT_EQ(At(L"x5Temperature"), Value(20.0));
}

TEST_F(SonarStateTest, TakesAbsorptionAsADataRecord)
{
    auto const record = Take(test::DataFrame(7611, Hex("00 00 a0 42")));
    EXPECT_EQ(record.carrier, protocol::Carrier::Data);
    EXPECT_EQ(At(L"x5Absorption"), Value(80.0));
}

TEST_F(SonarStateTest, ChangesTheOperationModeAndWhatHangsOnIt)
{
    Take(test::Command(1003, Hex("00 00 fa 43"))); // 500 m, beyond the second mode
    m_state.TakeReport();
    Take(test::Command(1011, Hex("01 00 00 00")));
    EXPECT_EQ(At(L"DeviceEnum"), Value(std::int32_t{1}));
    EXPECT_EQ(At(L"x5Range"), Value(200.0));
    EXPECT_EQ(At(L"x5CenterFrequency"), Value(350000.0));
    auto const texts = ReportedKeys();
    EXPECT_NE(std::find(texts.begin(), texts.end(), L"x5PulseLengthValues"), texts.end());
    Take(test::Command(1011, Hex("09 00 00 00"))); // it has no such mode
    EXPECT_EQ(At(L"DeviceEnum"), Value(std::int32_t{1}));
    EXPECT_EQ(ReportedKeys(), std::vector<std::wstring>{L"DeviceEnum"});
}

TEST_F(SonarStateTest, FindsTheSampleRateByItsNumberOfHertz)
{
    Take(test::Command(1040, Hex("66 0d 01 00"))); // 68,966 Hz
    EXPECT_EQ(At(L"x5SampleRateSelection"), Value(std::int32_t{1}));
    Take(test::Command(1040, Hex("01 00 00 00")));
    EXPECT_EQ(At(L"x5SampleRateSelection"), Value(std::int32_t{1}));
}

TEST_F(SonarStateTest, FindsTheSweepFromItsTwoEnds)
{
    Take(test::Command(1027, Hex("00 2c 49 48 00 74 3d 48"))); // 206 kHz down to 194 kHz
    EXPECT_EQ(At(L"x5FMSweep"), Value(12.0));
    EXPECT_EQ(At(L"x5FMSweepNegative"), Value(true));
}

TEST_F(SonarStateTest, TakesCustomBeamsAndSpacingOffWithZero)
{
    Take(test::Command(1043, Hex("00 01")));
    EXPECT_EQ(At(L"x5CustomBeams"), Value(256.0));
    EXPECT_EQ(At(L"x5CustomBeamsEnabled"), Value(true));
    Take(test::Command(1043, Hex("00 00")));
    EXPECT_EQ(At(L"x5CustomBeams"), Value(256.0));
    EXPECT_EQ(At(L"x5CustomBeamsEnabled"), Value(false));
    Take(test::Command(1044, Hex("00 00 00 3f 01 00 00 00")));
    EXPECT_EQ(At(L"x5ConstantSpacing"), Value(0.5));
    EXPECT_EQ(At(L"x5ConstantSpacingEnabled"), Value(true));
    EXPECT_EQ(At(L"x5ConstantSpacingReduceCoverage"), Value(true));
}

TEST_F(SonarStateTest, TellsTheSteeringOfTheProjector)
{
    // 10 and -10 degrees in radians.
    Take(test::Command(1021, Hex("c2 b8 32 3e c2 b8 32 be")));
    auto const vertical = At(L"x5ProjBeamAngleVer");
    auto const horizontal = At(L"x5ProjBeamAngleHor");
    ASSERT_TRUE(std::holds_alternative<double>(vertical));
    ASSERT_TRUE(std::holds_alternative<double>(horizontal));
    EXPECT_NEAR(std::get<double>(vertical), 10.0, 1e-6);
    EXPECT_NEAR(std::get<double>(horizontal), -10.0, 1e-6);
}

TEST_F(SonarStateTest, GoesBackToTheFactorySettings)
{
    Take(test::RangeFifty());
    Take(test::Command(1011, Hex("01 00 00 00")));
    m_state.TakeReport();
    Take(test::Command(1102));
    EXPECT_EQ(At(L"x5Range"), Value(100.0));
    EXPECT_EQ(At(L"DeviceEnum"), Value(std::int32_t{0}));
    EXPECT_GT(ReportedKeys().size(), 30U);
}

TEST_F(SonarStateTest, RecordsIntoAFileThatGrows)
{
    Bytes payload(260);
    payload[4] = 'l';
    payload[5] = '1';
    Take(test::Command(1200, payload));
    EXPECT_EQ(At(L"x5DataRecording"), Value(std::int32_t{1}));
    EXPECT_EQ(At(L"x5FileName"), Value(std::wstring(L"l1")));
    EXPECT_EQ(At(L"x5FileSize"), Value(std::int64_t{0}));
    EXPECT_EQ(At(L"x5DiskFree"), Value(std::int32_t{75}));
    m_state.TakeReport();
    for (int ping = 0; ping < 4; ++ping) {
        m_state.RecordPing(1000000000); // 4e9 of 64e9 bytes in all
    }
    EXPECT_TRUE(m_state.TellRecorder());
    EXPECT_EQ(At(L"x5FileSize"), Value(std::int64_t{4000000000}));
    EXPECT_EQ(At(L"x5DiskFree"), Value(std::int32_t{68})); // 68.75
    EXPECT_EQ(ReportedKeys(), (std::vector<std::wstring>{L"x5FileSize", L"x5DiskFree"}));
    Take(test::Command(1201));
    EXPECT_EQ(At(L"x5DataRecording"), Value(std::int32_t{0}));
    m_state.RecordPing(1000000000);
    m_state.TellRecorder();
    EXPECT_EQ(At(L"x5FileSize"), Value(std::int64_t{4000000000}));
}

TEST_F(SonarStateTest, NamesARecordingByItsClockAndStopsWhenTheDiskIsFull)
{
    Take(test::Command(1200, Bytes(260)));
    EXPECT_EQ(At(L"x5FileName"), Value(std::wstring(L"20231114_221320.x5")));
    m_state.RecordPing(50000000000); // of 48e9 that are free
    EXPECT_EQ(At(L"x5DataRecording"), Value(std::int32_t{0}));
    EXPECT_EQ(At(L"x5FileSize"), Value(std::int64_t{48000000000}));
    EXPECT_EQ(At(L"x5DiskFree"), Value(std::int32_t{0}));
    // A payload too short for a name starts none; a whole one does, even if there is nothing left to write to.
    Take(test::Command(1200, Bytes(259)));
    EXPECT_FALSE(m_state.IsRecording());
    EXPECT_EQ(Take(test::Command(1200, Bytes(260))).name, "start recording");
    EXPECT_TRUE(m_state.IsRecording());
    EXPECT_EQ(At(L"x5FileSize"), Value(std::int64_t{0}));
}

TEST_F(SonarStateTest, KeepsWhatIsPassedOnForTheOtherUnit)
{
    // Range 50 m for unit 9100, enumerator 0.
    auto const record = Take(test::Command(90002, Hex("8c 23 00 00 00 00 00 00 eb 03 00 00 04 00 00 00 00 00 48 42")));
    EXPECT_EQ(record.carrier, protocol::Carrier::PassThrough);
    EXPECT_EQ(record.id, 1003U);
    EXPECT_EQ(At(L"x5Range"), Value(100.0));
    ASSERT_TRUE(m_state.Units().contains({9100, 0}));
    auto const& unit = m_state.Units().at({9100, 0});
    ASSERT_EQ(unit.size(), 1U);
    EXPECT_EQ(unit[0].value, Value(50.0));
    // A size that does not agree with the bytes.
    EXPECT_TRUE(Take(test::Command(90002, Hex("8c 23 00 00 00 00 00 00 eb 03 00 00 05 00 00 00 00 00 48 42"))).damaged);
}

TEST_F(SonarStateTest, CountsUnknownRecordsAndKeepsTheirBytes)
{
    Take(test::Command(64000, Hex("01 02 03")));
    Take(test::Command(64000, Hex("04 05")));
    EXPECT_EQ(m_state.UnknownRecords(), 2U);
    auto const& count = m_state.Records().at({protocol::Carrier::RemoteControl, 64000});
    EXPECT_EQ(count.count, 2U);
    EXPECT_EQ(count.lastPayload, Hex("04 05"));
    EXPECT_TRUE(Take(test::DataFrame(7500, Hex("01 02"))).damaged);
}

TEST_F(SonarStateTest, KeepsABoundedNumberOfUnknownRecords)
{
    for (std::uint32_t id = 100000; id < 103000; ++id) {
        Take(test::Command(id, Bytes(1000)));
    }
    EXPECT_EQ(m_state.Records().size(), MaximumKeptRecords);
    EXPECT_EQ(m_state.UnknownRecords(), 3000U);
    EXPECT_EQ(m_state.Records().begin()->second.lastPayload.size(), MaximumKeptPayload);
}

TEST_F(SonarStateTest, AnswersRequestsForItsRecords)
{
    auto const request = Take(test::RecordRequest(7503));
    EXPECT_EQ(request.effect, Effect::AnswerRecord);
    EXPECT_EQ(request.requestedRecord, 7503U);
    for (std::uint32_t const id : {1504U, 3006U, 7001U, 7002U, 7025U, 7052U, 7055U, 7059U, 7503U, 7504U, 10000U, 10004U,
                                   10060U, 10061U, 10063U}) {
        EXPECT_TRUE(m_state.Answer(id)) << id;
    }
    EXPECT_FALSE(m_state.Answer(7777));
    auto const pulse = m_state.Answer(7002);
    ASSERT_TRUE(pulse);
    std::vector<std::wstring> texts;
    for (TreeNode const& node : *pulse) {
        texts.push_back(node.key);
    }
    EXPECT_EQ(texts, (std::vector<std::wstring>{L"DeviceId", L"x5PulseLength", L"x5PulseType", L"x5VernierBfMode",
                                                L"x5VernierSmoothFilterType", L"x5VernierSmoothFilterLength",
                                                L"x5CenterFrequency", L"PulseCharacteristicsMode", L"PulseControl",
                                                L"PulseExtension", L"SurveyDepthMin", L"SurveyDepthMax",
                                                L"x5PingSettingsList", L"x5PingSettingsList"}));
}

TEST_F(SonarStateTest, TellsTheLimitsThatTheOperatorsPagesWant)
{
    auto const nodes = m_state.Introduction();
    auto const child = [](std::vector<TreeNode> const& list, std::wstring_view key) -> TreeNode const& {
        static TreeNode const none;
        for (TreeNode const& node : list) {
            if (node.key == key) {
                return node;
            }
        }
        return none;
    };
    std::size_t modes = 0;
    for (TreeNode const& node : nodes) {
        if (node.key != L"x5SonarSettings") {
            continue;
        }
        EXPECT_EQ(child(node.children, L"DeviceEnum").value, Value(static_cast<std::int32_t>(modes++)));
        auto const& rate = child(node.children, L"x5SampleRateSet").children;
        auto const& ranges = child(rate, L"x5RangeSet").value;
        ASSERT_TRUE(std::holds_alternative<std::vector<double>>(ranges));
        EXPECT_EQ(child(child(rate, L"x5Range").children, L"x5Min").value, Value(5.0));
        EXPECT_EQ(child(child(rate, L"x5Range").children, L"x5Max").value,
                  Value(std::get<std::vector<double>>(ranges).back()));
        EXPECT_EQ(child(child(node.children, L"x5Power").children, L"x5Max").value, Value(220.0));
        EXPECT_EQ(child(child(node.children, L"x5PingRate").children, L"x5Ratio").value, Value(10.0));
        EXPECT_EQ(child(child(child(node.children, L"x5Gain").children, L"x5Fixed").children, L"x5Available").value,
                  Value(true));
        EXPECT_EQ(child(child(node.children, L"x5Frequency").children, L"x5Chirp").value, Value(std::int32_t{1}));
        EXPECT_EQ(child(child(node.children, L"x5NadirGate").children, L"x5MinWindow").value, Value(1.0));
    }
    EXPECT_EQ(modes, 2U);
    EXPECT_EQ(child(nodes, L"DeviceId").value, Value(std::int32_t{7125}));
    EXPECT_TRUE(std::holds_alternative<std::vector<double>>(child(nodes, L"x5PulseLengthValues").value));
    EXPECT_EQ(child(nodes, L"x5Range").value, Value(100.0));
}

TEST_F(SonarStateTest, SetsAttributesFromText)
{
    std::string error;
    EXPECT_TRUE(m_state.Set("x5Range=75", error));
    EXPECT_EQ(At(L"x5Range"), Value(75.0));
    EXPECT_TRUE(m_state.Set("x5BeamSteer=1.5,-2", error));
    EXPECT_EQ(At(L"x5BeamSteer"), Value(std::pair(1.5, -2.0)));
    EXPECT_TRUE(m_state.Set("BufferStatus:int=2", error));
    EXPECT_EQ(At(L"BufferStatus"), Value(std::int32_t{2}));
    EXPECT_TRUE(m_state.Set("x5FileSize=9223372036854775807", error));
    EXPECT_EQ(At(L"x5FileSize"), Value(std::int64_t{9223372036854775807}));
    EXPECT_TRUE(m_state.Set("Spool:int64=-5000000000", error));
    EXPECT_EQ(At(L"Spool"), Value(std::int64_t{-5000000000}));
    EXPECT_TRUE(m_state.Set("x5DataRecording=1", error));
    EXPECT_TRUE(m_state.IsRecording());

    for (std::string_view const wrong :
         {"", "=1", "x5Range", "x5Range=", "x5Range=fifty", "x5Range=50m", "x5Range=nan", "x5Range:int=50", "Unheard=1",
          "x5Range:metres=50", "DeviceEnum=7", "DeviceId=1", "x5FileSize=1.5", "x5FileSize=9223372036854775808",
          "x5BeamSteer=1", "x5BeamSteer=1,2,", "x5SonarSettings=1"}) {
        error.clear();
        EXPECT_FALSE(m_state.Set(wrong, error)) << wrong;
        EXPECT_FALSE(error.empty()) << wrong;
        EXPECT_EQ(error.find('\n'), std::string::npos) << wrong;
    }
    EXPECT_EQ(At(L"x5Range"), Value(75.0));
}

TEST_F(SonarStateTest, EachGainModeHasAGainOfItsOwn)
{
    Take(test::Command(1008, Hex("00 00 f0 41"))); // 30 dB, time-varied; the fixed gain is 20 dB
    m_state.TakeReport();
    Take(test::Command(1017, Hex("02 00 00 00 00 00 00 00")));
    EXPECT_EQ(At(L"x5GainMode"), Value(std::int32_t{2}));
    EXPECT_EQ(At(L"x5Gain"), Value(20.0));
    EXPECT_EQ(At(L"x5GainAlt"), Value(30.0));
    auto texts = ReportedKeys();
    std::sort(texts.begin(), texts.end());
    EXPECT_EQ(texts, (std::vector<std::wstring>{L"x5Gain", L"x5GainAlt", L"x5GainMode", L"x5GainStageSelection"}));
    Take(test::Command(1017, Hex("02 00 00 00 00 00 00 00"))); // no other mode
    EXPECT_EQ(At(L"x5Gain"), Value(20.0));
    Take(test::Command(1017, Hex("00 00 00 00 00 00 00 00")));
    EXPECT_EQ(At(L"x5Gain"), Value(30.0));
}

TEST_F(SonarStateTest, TellsTheSweepInThePingSettingsOfEachMode)
{
    Take(test::Command(1027, Hex("00 2c 49 48 00 74 3d 48"))); // 206 kHz down to 194 kHz
    auto const report = m_state.TakeReport();
    TreeNode const settings{L"x5PingSettingsList", {}, {{L"x5FMSweep", 12.0, {}}, {L"x5FMSweepNegative", true, {}}}};
    EXPECT_EQ(report, (std::vector<TreeNode>{settings, settings}));
}

TEST_F(SonarStateTest, TellsItsBracketAndKnowsItsOwnArrays)
{
    // Bracket at 1, 2 (told as -2) and 3 m, the first array 9 m long.
    Bytes data(164);
    auto const put = [&](std::size_t at, Bytes const& bytes) {
        std::copy(bytes.begin(), bytes.end(), data.begin() + static_cast<std::ptrdiff_t>(at));
    };
    put(20, Hex("00 00 10 41"));
    put(36, Hex("00 00 80 3f"));
    put(80, Hex("00 00 00 c0"));
    put(44, Hex("00 00 40 40"));
    EXPECT_EQ(Take(test::DataFrame(1020, data)).id, 1020U);
    bool isTold = false;
    for (TreeNode const& node : m_state.TakeReport()) {
        EXPECT_FALSE(node.key.starts_with(L"x5MBesXYZ")) << "it knows its own arrays";
        if (node.key == L"x5Bracket") {
            isTold = true;
            EXPECT_EQ(
                node.children,
                (std::vector<TreeNode>{{L"x5BracketX", 1.0, {}}, {L"x5BracketZ", 3.0, {}}, {L"x5BracketY", 2.0, {}}}));
        }
    }
    EXPECT_TRUE(isTold);
}

TEST_F(SonarStateTest, PingsOnceAtACommand)
{
    auto const record = Take(test::Command(1107));
    EXPECT_EQ(record.name, "single ping");
    EXPECT_EQ(record.effect, Effect::Ping);
}

TEST_F(SonarStateTest, KnowsItsTravelTime)
{
    Take(test::RangeFifty());
    EXPECT_EQ(m_state.TravelTime(), 66666666ns); // 2 x 50 m / 1500 m/s
}

} // namespace
} // namespace qx5::simulator
