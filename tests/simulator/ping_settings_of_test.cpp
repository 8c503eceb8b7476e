// What each key that the simulated sonar takes does to its next ping.
#include <simulator/ping_settings_of.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <protocol/utf8.h>

namespace qx5::simulator {
namespace {

using acoustics::BeamMode;
using acoustics::PingSettings;

/// The settings after these assignments, each as an operator writes it.
PingSettings After(std::vector<std::string> const& assignments)
{
    SonarState sonar;
    for (std::string const& assignment : assignments) {
        std::string error;
        EXPECT_TRUE(sonar.Set(assignment, error)) << assignment << ": " << error;
    }
    return PingSettingsOf(sonar);
}

struct Row
{
    char const* key;
    std::vector<std::string> assignments;
    std::function<void(PingSettings&)> effect; ///< on what the factory settings give
};

TEST(PingSettingsOfTest, EachKeyHasItsEffectAndNoOther)
{
    std::vector<Row> const rows{
        {"DeviceEnum",
         {"DeviceEnum=1"},
         [](PingSettings& s) {
             // The other mode begins at 350 kHz; 0.46 m are then 107.33 wavelengths, 2 asin(0.72029 / 107.33).
             s.frequency = 350e3;
             s.receiveWidth = 0.76902;
         }},
        {"x5SampleRateSelection", {"x5SampleRateSelection=1"}, [](PingSettings& s) { s.sampleRate = 68966; }},
        {"x5Range", {"x5Range=50"}, [](PingSettings& s) { s.range = 50.0; }},
        {"x5SoundVelocity", {"x5SoundVelocity=1480"}, [](PingSettings& s) { s.soundSpeed = 1480.0; }},
        {"SystemDepthSource", {"SystemDepthSource=1"}, [](PingSettings& s) { s.depthIsFixed = true; }},
        {"SystemDepthManual", {"SystemDepthManual=33"}, [](PingSettings& s) { s.depth = 33.0; }},
        {"x5Power", {"x5Power=210"}, [](PingSettings& s) { s.power = 210.0; }},
        {"x5Power", {"x5Power=0"}, [](PingSettings& s) { s.power = 0.0; }},
        {"x5CenterFrequency",
         {"x5CenterFrequency=220000"},
         [](PingSettings& s) {
             s.frequency = 220e3;
             // 67.467 wavelengths.
             s.receiveWidth = 1.22342;
         }},
        // The shortest of the pulses that are swept is 300 us.
        {"x5PulseType",
         {"x5PulseType=1"},
         [](PingSettings& s) {
             s.sweep = 10e3;
             s.pulseLength = 300e-6;
         }},
        {"x5PulseLength", {"x5PulseLength=0.00005"}, [](PingSettings& s) { s.pulseLength = 50e-6; }},
        {"x5FMSweep",
         {"x5PulseType=1", "x5FMSweep=-4"},
         [](PingSettings& s) {
             s.sweep = 4e3;
             s.pulseLength = 300e-6;
         }},
        {"x5FMSweep", {"x5FMSweep=4"}, [](PingSettings&) {}}, // a tone sweeps over nothing
        {"x5GainMode", {"x5GainMode=2"}, [](PingSettings& s) { s.receiver.mode = acoustics::GainMode::Fixed; }},
        {"x5Gain", {"x5Gain=30"}, [](PingSettings& s) { s.receiver.gain = 30.0; }},
        {"x5SpreadingLoss", {"x5SpreadingLoss=40"}, [](PingSettings& s) { s.receiver.spreading = 40.0; }},
        {"x5Absorption", {"x5Absorption=50"}, [](PingSettings& s) { s.receiver.absorption = 50.0; }},
        {"x5CoverageAngle", {"x5CoverageAngle=90"}, [](PingSettings& s) { s.coverage = 90.0; }},
        {"x5RxSteeringAngle", {"x5RxSteeringAngle=-12"}, [](PingSettings& s) { s.sectorSteering = -12.0; }},
        {"x5BeamModeSelection", {"x5BeamModeSelection=1"}, [](PingSettings& s) { s.mode = BeamMode::EquiDistant; }},
        {"x5BeamModeSelection", {"x5BeamModeSelection=2"}, [](PingSettings& s) { s.mode = BeamMode::Intermediate; }},
        {"x5BeamModeSelection", {"x5BeamModeSelection=3"}, [](PingSettings& s) { s.mode = BeamMode::Flex; }},
        {"x5BeamModeSelection", {"x5BeamModeSelection=4"}, [](PingSettings& s) { s.mode = BeamMode::ConstantSpacing; }},
        {"x5FlexSectorCoverage", {"x5FlexSectorCoverage=30"}, [](PingSettings& s) { s.flexCoverage = 30.0; }},
        {"x5FlexSectorSteering", {"x5FlexSectorSteering=9"}, [](PingSettings& s) { s.flexSteering = 9.0; }},
        {"x5FlexOutsideSpacing", {"x5FlexOutsideSpacing=2.5"}, [](PingSettings& s) { s.outsideSpacing = 2.5; }},
        {"x5ConstantSpacing",
         {"x5ConstantSpacing=0.5"},
         [](PingSettings& s) {
             s.constantSpacing = 0.5;
             s.mode = BeamMode::ConstantSpacing;
         }},
        {"x5ConstantSpacingEnabled",
         {"x5ConstantSpacingEnabled=true"},
         [](PingSettings& s) { s.mode = BeamMode::ConstantSpacing; }},
        {"x5ConstantSpacingReduceCoverage",
         {"x5ConstantSpacingReduceCoverage=true"},
         [](PingSettings& s) { s.reduceCoverage = true; }},
        {"x5BeamSpacingMode", {"x5BeamSpacingMode=3"}, [](PingSettings& s) { s.mode = BeamMode::ConstantSpacing; }},
        {"x5CustomBeams", {"x5CustomBeams=255.5"}, [](PingSettings& s) { s.beams = 256; }},
        {"x5CustomBeamsEnabled", {"x5CustomBeams=200", "x5CustomBeamsEnabled=false"}, [](PingSettings&) {}},
        {"x5CustomBeamsEnabled",
         {"x5CustomBeams=200", "x5CustomBeamsEnabled=true"},
         [](PingSettings& s) { s.beams = 200; }},
        {"x5MinBeams", {"x5MinBeams=20"}, [](PingSettings& s) { s.leastBeams = 20; }},
        {"x5MaxBeams", {"x5MaxBeams=256"}, [](PingSettings& s) { s.mostBeams = 256; }},
        {"x5BeamWidthX", {"x5BeamWidthX=4"}, [](PingSettings& s) { s.widthAlong = 4.0; }},
        {"x5BeamWidthZ", {"x5BeamWidthZ=165"}, [](PingSettings& s) { s.fanWidth = 165.0; }},
        {"x5BeamSteer",
         {"x5BeamSteer=7,-3"},
         [](PingSettings& s) {
             s.tilt = 7.0;
             s.fanSteering = -3.0;
         }},
        {"x5ProjBeamAngleVer", {"x5ProjBeamAngleVer=5"}, [](PingSettings& s) { s.tilt = 5.0; }},
        {"x5ProjBeamAngleHor", {"x5ProjBeamAngleHor=4"}, [](PingSettings& s) { s.fanSteering = 4.0; }},
        {"x5MotionCompensationRoll",
         {"x5MotionCompensationRoll=false"},
         [](PingSettings& s) { s.compensateRoll = false; }},
        {"x5MotionCompensationPitch",
         {"x5MotionCompensationPitch=true"},
         [](PingSettings& s) { s.compensatePitch = true; }},
        {"x5RangeFilterEnabled", {"x5RangeFilterEnabled=true"}, [](PingSettings& s) { s.gates.byRange = true; }},
        {"x5MinRangeGate", {"x5MinRangeGate=3"}, [](PingSettings& s) { s.gates.range.least = 3.0; }},
        {"x5MaxRangeGate", {"x5MaxRangeGate=44"}, [](PingSettings& s) { s.gates.range.greatest = 44.0; }},
        {"x5DepthFilterEnabled", {"x5DepthFilterEnabled=true"}, [](PingSettings& s) { s.gates.byDepth = true; }},
        {"x5MinDepthGate", {"x5MinDepthGate=5"}, [](PingSettings& s) { s.gates.depth.least = 5.0; }},
        {"x5MaxDepthGate", {"x5MaxDepthGate=55"}, [](PingSettings& s) { s.gates.depth.greatest = 55.0; }},
        {"x5DepthGateTilt", {"x5DepthGateTilt=10"}, [](PingSettings& s) { s.gates.tilt = 10.0; }},
        {"x5DepthFilterFollow", {"x5DepthFilterFollow=true"}, [](PingSettings& s) { s.gates.depthFollows = true; }},
        {"x5AdaptiveGateEnabled", {"x5AdaptiveGateEnabled=true"}, [](PingSettings& s) { s.gates.adaptive = true; }},
        {"x5AGDepthFilterEnabled",
         {"x5AGDepthFilterEnabled=true"},
         [](PingSettings& s) { s.gates.searchLimited = true; }},
        {"x5AGDepthFilterFixed",
         {"x5AGDepthFilterFixed=true"},
         [](PingSettings& s) { s.gates.adaptiveFollows = false; }},
        {"x5AGWindowSize", {"x5AGWindowSize=25"}, [](PingSettings& s) { s.gates.window = 25.0; }},
        {"x5AGSearchMin", {"x5AGSearchMin=6"}, [](PingSettings& s) { s.gates.search.least = 6.0; }},
        {"x5AGSearchMax", {"x5AGSearchMax=66"}, [](PingSettings& s) { s.gates.search.greatest = 66.0; }},
        {"x5MultiDetectEnabled", {"x5MultiDetectEnabled=true"}, [](PingSettings& s) { s.multiDetect.enabled = true; }},
        {"x5MultiDetectObjectSize",
         {"x5MultiDetectObjectSize=3"},
         [](PingSettings& s) { s.multiDetect.objectSize = 3; }},
        {"x5MultiDetectSensitivity",
         {"x5MultiDetectSensitivity=4"},
         [](PingSettings& s) { s.multiDetect.sensitivity = 4; }},
        {"x5MultiDetectMaxDetections",
         {"x5MultiDetectMaxDetections=7"},
         [](PingSettings& s) { s.multiDetect.greatest = 7; }},
    };
    PingSettings const factory = After({});
    for (Row const& row : rows) {
        PingSettings expected = factory;
        row.effect(expected);
        PingSettings const actual = After(row.assignments);
        EXPECT_NEAR(actual.receiveWidth, expected.receiveWidth, 1e-4) << row.key;
        expected.receiveWidth = actual.receiveWidth;
        EXPECT_TRUE(actual == expected) << row.key;
    }
    // No key without a row.
    for (protocol::Key const* const key : KeysOfPingSettings()) {
        std::string const name = protocol::EncodeUtf8(key->text);
        EXPECT_TRUE(std::any_of(rows.begin(), rows.end(), [&](Row const& row) { return name == row.key; })) << name;
    }
}

TEST(PingSettingsOfTest, FactorySettingsMakeAGoodPing)
{
    PingSettings const settings = After({});
    EXPECT_FALSE(acoustics::WhatIsWrong(settings));
    EXPECT_EQ(settings.mode, BeamMode::EquiAngle);
    EXPECT_EQ(settings.range, 100.0);
    EXPECT_EQ(settings.power, 190.0);
    EXPECT_EQ(settings.gates.adaptiveFollows, true);
    // 0.46 m at 200 kHz are 61.333 wavelengths: 2 asin(0.72029 / 61.333).
    EXPECT_NEAR(settings.receiveWidth, 1.34580, 1e-4);
}

TEST(PingSettingsOfTest, WhatNoPingCanBeMadeOfIsToldByTheAcoustics)
{
    for (char const* const assignment :
         {"x5CoverageAngle=inf", "x5DepthGateTilt=-inf", "x5BeamWidthX=0", "x5BeamSteer=inf,0", "x5MaxRangeGate=inf",
          "x5AGWindowSize=1e300", "SystemDepthManual=-1"}) {
        EXPECT_TRUE(acoustics::WhatIsWrong(After({assignment}))) << assignment;
    }
    // Numbers of beams are brought within bounds, whatever they are.
    EXPECT_FALSE(acoustics::WhatIsWrong(After({"x5CustomBeams=inf", "x5MaxBeams=1e300", "x5MinBeams=-inf"})));
}

} // namespace
} // namespace qx5::simulator
