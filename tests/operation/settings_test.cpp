// Which keys count as settings of a sonar, and where a tree holds them.
#include <commands/settings.h>
#include <protocol/records/all.h>
#include <values/vordal_value.h>

#include <gtest/gtest.h>

#include <set>
#include <string_view>

namespace qx5 {
namespace {

namespace keys = protocol::keys;

TEST(Settings, AreWhatASonarKeeps)
{
    for (std::wstring_view const key : {L"x5Range",
                                        L"x5Power",
                                        L"x5Gain",
                                        L"x5GainMode",
                                        L"x5MaxPingRate",
                                        L"x5PulseLength",
                                        L"x5PulseType",
                                        L"x5BeamSteer",
                                        L"x5Absorption",
                                        L"x5SpreadingLoss",
                                        L"DeviceEnum",
                                        L"x5SoundVelocity",
                                        L"x5SoundVelocityOverride",
                                        L"x5CoverageAngle",
                                        L"x5MinRangeGate",
                                        L"x5DepthFilterEnabled",
                                        L"x5FMSweep",
                                        L"x5CenterFrequency",
                                        L"x5SystemMode",
                                        L"x5TrackerRangeEnabled",
                                        L"x5MotionSensorBaudrate",
                                        L"x5RestorePower",
                                        L"x5StorageFileNamePrefix",
                                        L"x5SampleRateSelection",
                                        L"x5GainTweak"}) {
        auto const* const setting = FindSetting(key);
        ASSERT_NE(setting, nullptr) << protocol::Key{key}.text.size();
        EXPECT_EQ(setting->Key().text, key);
    }
}

TEST(Settings, AreNothingThatActsSwitchesOrTellsAPlace)
{
    for (std::wstring_view const key :
         {// Transmission and recording.
          L"x5PingOnOffState", L"PingOnlyDuringScan", L"PingSequenceId", L"x5DataRecording", L"SyncDataRecording",
          L"ASDRecordingEnabled", L"StaveRecordingEnabled", L"x5StorageEnabled", L"Kv3PlaybackEnabled",
          L"x5PlaybackSpeed", L"x5TriggerInput",
          // Acts.
          L"x5Shutdown", L"x5Reboot", L"x5LoadFactoryParameters", L"x5DefaultSettings", L"x5CalibCommand",
          L"x5ResetCoverage", L"SearchDepth", L"CmdRaiseLower", L"CmdRotate", L"x5SSR7503CMD", L"SbesSystemState",
          L"AutoConfigActiveName", L"x5PowerBuiltInHPR",
          // Data that are handed on.
          L"EchoMarker", L"x5LorqGating", L"SendTargetList", L"X5SystemEventMessage",
          // The sonar's place on the vessel and in the network, its disk.
          L"x5Bracket", L"ATTR_ROLLCOR", L"x5DualHeadMode", L"x5QMIOAddress1", L"x5DirectoryName",
          L"OstDgnssInsNtripPassword",
          // One of several, of which a tree holds the last alone.
          L"BaudrateIndex", L"UdpAddress", L"SbesTransducerDraft", L"x5TriggerChannel",
          // Of no command.
          L"DeviceId", L"x5FileName", L"x5SonarSettings", L"", L"something"}) {
        EXPECT_EQ(FindSetting(key), nullptr) << std::string(key.begin(), key.end());
    }
}

TEST(Settings, StandOnceEachInTheOrderOfTheChain)
{
    std::set<std::wstring_view> seen;
    for (Setting const& setting : Settings()) {
        EXPECT_TRUE(seen.insert(setting.Key().text).second);
        EXPECT_EQ(FindSetting(setting.Key().text), &setting);
    }
    ASSERT_GT(Settings().size(), 3U);
    EXPECT_EQ(Settings()[0].Key().text, L"DeviceEnum");
    EXPECT_EQ(Settings()[1].Key().text, L"x5DeckMode");
    EXPECT_EQ(Settings()[2].Key().text, L"x5Absorption");
}

TEST(Settings, AreFoundWhereTheTreeHoldsThem)
{
    CAttributeMap tree;
    AddValue(tree, AttributeKey(keys::x5Range.text), 50.0);
    AddValue(tree, AttributeKey(keys::x5FMSweep.text), 1.0); // not there, but in the branch of the mode
    for (double const sweep : {10.0, 20.0}) {
        auto& branch = *tree.Add(AttributeKey(keys::x5PingSettingsList.text));
        AddValue(branch, AttributeKey(keys::x5FMSweep.text), sweep);
    }
    auto const number = [&](std::wstring_view key) {
        auto const* const node = StoredNode(tree, *FindSetting(key));
        double value = -1.0;
        return node != nullptr && node->Value().Get(value) ? value : -1.0;
    };
    EXPECT_EQ(number(L"x5Range"), 50.0);
    EXPECT_EQ(number(L"x5Gain"), -1.0);
    EXPECT_EQ(number(L"x5FMSweep"), 10.0);
    AddValue(tree, AttributeKey(keys::DeviceEnum.text), std::int32_t{1});
    EXPECT_EQ(number(L"x5FMSweep"), 20.0);
    tree.Remove(AttributeKey(keys::DeviceEnum.text));
    AddValue(tree, AttributeKey(keys::DeviceEnum.text), std::int32_t{7});
    EXPECT_EQ(number(L"x5FMSweep"), 10.0); // of no such mode: the first
}

} // namespace
} // namespace qx5
