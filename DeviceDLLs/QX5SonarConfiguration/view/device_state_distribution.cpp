// What the operator's view does when its device has changed: limits and values go out to the pages, in a fixed order.
#include "QX5SonarConfigurationView.h"

#include "QX5DataRecordingPage.h"
#include "QX5OceanMenuPage.h"
#include "QX5RouteSteeringPage.h"
#include "QX5SonarGatesPage.h"
#include "QX5SonarSettingsPage.h"
#include "QX5SonarTrackerPage.h"
#include "page_controls.h"
#include "sonar_settings.h"
#include <commands/steering_keys.h>

#include <VordalDataBlocksR/BaseDataSource.h>
#include <VordalDataBlocksR/CDataBlock.h>
#include <vordalhostdllR/DataManager.h>

#include <protocol/bytes.h>
#include <protocol/records/all.h>
#include <protocol/settings_keys.h>

#include <algorithm>
#include <span>

namespace keys = qx5::protocol::keys;
namespace steering = qx5::steering;

using qx5::ReadValue;
using qx5::protocol::NarrowToFloat;

namespace {

/// The item of the group-40 stream that holds the measured sound velocity, a double in metres per second.
constexpr unsigned short soundVelocityItem = 801;

/// The state of a recording that is neither idle nor running.
constexpr int unknownRecordingState = 5;

constexpr int leastSteeringDelay = 2;

/// The name between the first "(" and the first ")" behind it; the whole text when there are none.
QString OperationModeName(CString const& systemText)
{
    std::wstring_view const text = systemText.View();
    auto const open = text.find(L'(');
    auto const close = open == std::wstring_view::npos ? open : text.find(L')', open + 1);
    if (close == std::wstring_view::npos) {
        return qx5::ToQString(systemText);
    }
    return qx5::ToQString(CString(text.substr(open + 1, close - open - 1)));
}

/// What the sonar says of the beam widths of one axis.
struct BeamWidths
{
    bool variable = false;
    std::vector<double> list; ///< degrees, at most as many as a page can hold
};

template <qx5::protocol::Key const& axis>
BeamWidths ReadBeamWidths(CAttributeMap const& settings)
{
    auto const& branch = settings.Find(qx5::At<axis>);
    BeamWidths widths;
    widths.variable = ReadValue<keys::x5Variable>(branch, false);
    widths.list = ReadValue<keys::x5BeamWidthList>(branch, std::vector<double>());
    if (widths.list.size() > QX5SonarSettingsPage::MaxBeamWidths) {
        widths.list.resize(QX5SonarSettingsPage::MaxBeamWidths);
    }
    return widths;
}

} // namespace

void QX5SonarConfigurationView::OnSettingsChange()
{
    DataManager::GetDataManager().GetAttributeMap(m_deviceId, m_deviceAttributes);
    ApplySonarSettings(m_deviceAttributes);
    m_settingsPage->RefreshControls();
    m_gatesPage->ApplyLimits(m_deviceAttributes, m_deviceEnum);
    m_recordingPage->RefreshSync();
    m_steeringPage->SetSliderLimits();
    ApplyValues(m_deviceAttributes);
}

void QX5SonarConfigurationView::OnValuesChange()
{
    CAttributeMap tree;
    if (DataManager::GetDataManager().GetAttributeMap(m_deviceId, tree)) {
        m_deviceAttributes = std::move(tree);
        ApplyValues(m_deviceAttributes);
    }
}

void QX5SonarConfigurationView::OnSoundVelocityData()
{
    auto* const buffer = m_soundVelocitySubscription.GetDataBuffer();
    CDataBlock block;
    unsigned short index = 0;
    if (buffer == nullptr || !buffer->ReadBlock(block, DATA_ACCESS_LATEST) ||
        !block.LookUp(soundVelocityItem, ADDR_FIRST_OF_ITEM, index)) {
        return;
    }
    auto const* const item = block.GetItem(index);
    if (item == nullptr || item->type != DATA_DOUBLE || item->data == nullptr || item->size != sizeof(double)) {
        return;
    }
    std::span<unsigned char const> const bytes(static_cast<unsigned char const*>(item->data), item->size);
    m_oceanPage->UpdateSoundVelocity(NarrowToFloat(qx5::protocol::GetF64LE(bytes, 0)));
}

// Limits. A leaf that is missing counts as 0 or false.

void QX5SonarConfigurationView::ApplySonarSettings(CAttributeMap const& tree)
{
    int deviceEnum = 0;
    if (!tree.FindValue(qx5::At<keys::DeviceEnum>).Get(deviceEnum)) {
        return;
    }
    m_deviceEnum = deviceEnum;
    auto const& settings = qx5::ActiveSettings(tree, m_deviceEnum);
    if (settings.Count() == 0) {
        return;
    }
    auto const& rateSet = qx5::SelectedSampleRateSet(tree, settings);
    ApplyScanOption(tree);

    auto& limits = m_settingsPage->limits;
    limits.rangeSet = ReadValue<keys::x5RangeSet>(rateSet, std::vector<double>());
    auto const& range = rateSet.Find(qx5::At<keys::x5Range>);
    limits.rangeMin = ReadValue<keys::x5Min>(range, 0.0);
    limits.rangeMax = ReadValue<keys::x5Max>(range, 0.0);
    auto const& power = settings.Find(qx5::At<keys::x5Power>);
    limits.powerMin = ReadValue<keys::x5Min>(power, 0.0);
    limits.powerMax = ReadValue<keys::x5Max>(power, 0.0);
    auto const pulseLengths = ReadValue<keys::x5PulseLengthValues>(tree, std::vector<double>());
    limits.pulseLengthMin = pulseLengths.empty() ? 0.0 : pulseLengths.front();
    limits.pulseLengthMax = pulseLengths.empty() ? 0.0 : pulseLengths.back();
    ApplyBeamWidths(settings);

    auto const& steer = settings.Find(qx5::At<keys::x5BeamSteer>);
    limits.steerMinX = NarrowToFloat(ReadValue<keys::x5MinX>(steer, 0.0));
    limits.steerMaxX = NarrowToFloat(ReadValue<keys::x5MaxX>(steer, 0.0));
    limits.steerMinZ = NarrowToFloat(ReadValue<keys::x5MinZ>(steer, 0.0));
    limits.steerMaxZ = NarrowToFloat(ReadValue<keys::x5MaxZ>(steer, 0.0));
    limits.steerable = ReadValue<keys::x5Steerable>(steer, false);
    // A first value for a page that has none yet.
    m_settingsPage->UpdateBeamSteering(limits.steerMinX, limits.steerMinZ);

    auto const& pingRate = settings.Find(qx5::At<keys::x5PingRate>);
    limits.pingRateMin = NarrowToFloat(ReadValue<keys::x5Min>(pingRate, 0.0));
    limits.pingRateMax = NarrowToFloat(ReadValue<keys::x5Max>(pingRate, 0.0));
    limits.pingRateRatio = NarrowToFloat(ReadValue<keys::x5Ratio>(pingRate, 0.0));
    limits.freeRun = ReadValue<keys::x5FreeRun>(pingRate, false);
    auto const& gain = settings.Find(qx5::At<keys::x5Gain>);
    limits.gainMin = ReadValue<keys::x5Min>(gain, 0.0);
    limits.gainMax = ReadValue<keys::x5Max>(gain, 0.0);
    auto const& fixedGain = gain.Find(qx5::At<keys::x5Fixed>);
    limits.fixedGainAvailable = ReadValue<keys::x5Available>(fixedGain, false);
    limits.fixedGainMin = ReadValue<keys::x5Min>(fixedGain, 0.0);
    limits.fixedGainMax = ReadValue<keys::x5Max>(fixedGain, 0.0);
    auto const& frequency = settings.Find(qx5::At<keys::x5Frequency>);
    limits.frequencyMin = ReadValue<keys::x5Min>(frequency, 0.0);
    limits.frequencyMax = ReadValue<keys::x5Max>(frequency, 0.0);
    limits.frequencyCenter = ReadValue<keys::x5CenterFreq>(frequency, 0.0);
    limits.chirp = ReadValue<keys::x5Chirp>(frequency, 0);
    ApplyOperationModes(tree);
    ApplyOceanLimits(settings);
}

void QX5SonarConfigurationView::ApplyBeamWidths(CAttributeMap const& settings)
{
    auto& limits = m_settingsPage->limits;
    // A sonar without variable widths leaves what an earlier one said.
    if (auto const x = ReadBeamWidths<keys::x5BeamWidthSetX>(settings); x.variable) {
        limits.beamWidthVariable = true;
        std::copy(x.list.begin(), x.list.end(), limits.beamWidthXList.begin());
        limits.beamWidthXCount = std::max(static_cast<int>(x.list.size()), 1);
        limits.beamWidthXMin = limits.beamWidthXList.front();
        limits.beamWidthXMax = limits.beamWidthXList[static_cast<std::size_t>(limits.beamWidthXCount - 1)];
        if (m_settingsPage->beamWidthX == -1.0) {
            m_settingsPage->beamWidthX = limits.beamWidthXList.front();
        }
    }
    // The second axis counts one entry less, so that its greatest width is the last but one.
    if (auto const z = ReadBeamWidths<keys::x5BeamWidthSetZ>(settings); z.variable) {
        limits.beamWidthZVariable = true;
        std::copy(z.list.begin(), z.list.end(), limits.beamWidthZList.begin());
        limits.beamWidthZCount = std::max(static_cast<int>(z.list.size()) - 1, 1);
        limits.beamWidthZMin = limits.beamWidthZList.front();
        limits.beamWidthZMax = limits.beamWidthZList[static_cast<std::size_t>(limits.beamWidthZCount - 1)];
    }
}

void QX5SonarConfigurationView::ApplyOperationModes(CAttributeMap const& tree)
{
    m_settingsPage->operationModes.clear();
    auto const& key = qx5::At<keys::x5SonarSettings>;
    for (int i = 0;; ++i) {
        auto const* const mode = tree.GetAttrMap(key, i);
        if (mode == nullptr) {
            break;
        }
        if (mode->Count() != 0) {
            m_settingsPage->operationModes.emplace_back(
                OperationModeName(ReadValue<keys::SystemText>(*mode, CString())),
                ReadValue<keys::DeviceEnum>(*mode, 0));
        }
    }
    m_settingsPage->EnableOperationModes(!ReadValue<keys::x5EnumIsFixed>(tree, false));
    if (!m_settingsPage->operationModes.empty()) {
        m_settingsPage->deviceEnum = m_deviceEnum;
        m_settingsPage->SelectOperationMode(m_deviceEnum);
    }
}

void QX5SonarConfigurationView::ApplyOceanLimits(CAttributeMap const& settings)
{
    auto const& velocity = settings.Find(qx5::At<keys::x5SoundVelocity>);
    m_oceanPage->SetSoundVelocityLimits(ReadValue<keys::x5Min>(velocity, 0.0), ReadValue<keys::x5Max>(velocity, 0.0));
    m_oceanPage->SetMaxAbsorption(ReadValue<keys::MaxAbsorption>(settings, 0.0));
    m_oceanPage->SetMaxSpreading(ReadValue<keys::MaxSpreading>(settings, 0.0));
}

void QX5SonarConfigurationView::ApplyScanOption(CAttributeMap const& tree)
{
    m_settingsPage->ShowScanOption(ReadValue<keys::MountedOnPanAndTilt>(tree, 0),
                                   ReadValue<keys::PingOnlyDuringScan>(tree, false));
}

// Values

void QX5SonarConfigurationView::ApplyValues(CAttributeMap const& tree)
{
    ApplySettingsValues(tree);
    ApplyScanOption(tree);
    ApplyOceanValues(tree);
    ApplyRecordingValues(tree);
    if (m_steeringComputation != nullptr) {
        ApplySteeringValues();
    }
    m_settingsPage->UpdateTrackerLocks(tree);
    m_oceanPage->LockLosses(qx5::IsTracking(tree) && ReadValue<keys::x5TrackerPowerGainEnabled>(tree, false));
    m_gatesPage->RefreshControls(tree);
    m_trackerPage->RefreshControls(tree);
}

void QX5SonarConfigurationView::ApplySettingsValues(CAttributeMap const& tree)
{
    auto& page = *m_settingsPage;
    page.UpdateRange(NarrowToFloat(ReadValue<keys::x5Range>(tree, 0.0)));
    page.UpdatePower(NarrowToFloat(ReadValue<keys::x5Power>(tree, 0.0)));
    page.UpdatePulseLength(NarrowToFloat(ReadValue<keys::x5PulseLength>(tree, 0.0)));
    page.SelectPulseType(ReadValue<keys::x5PulseType>(tree, 0));
    page.UpdateBeamWidth(NarrowToFloat(ReadValue<keys::x5BeamWidthX>(tree, 0.0)), 0.0F);
    page.UpdatePingRate(NarrowToFloat(ReadValue<keys::x5MaxPingRate>(tree, 0.0)),
                        static_cast<unsigned>(ReadValue<keys::x5PingOnOffState>(tree, 0)));
    page.UpdateBeamSteering(NarrowToFloat(ReadValue<keys::x5ProjBeamAngleVer>(tree, 0.0)),
                            NarrowToFloat(ReadValue<keys::x5ProjBeamAngleHor>(tree, 0.0)));
    page.UpdateGainMode(ReadValue<keys::x5GainMode>(tree, -1));
    page.UpdateGain(NarrowToFloat(ReadValue<keys::x5Gain>(tree, 0.0)));
    page.deviceEnum = m_deviceEnum;
    page.SelectOperationMode(m_deviceEnum);
    page.ShowGates(ReadValue<keys::x5DepthFilterEnabled>(tree, false),
                   ReadValue<keys::x5RangeFilterEnabled>(tree, false),
                   ReadValue<keys::x5AdaptiveGateEnabled>(tree, false));
}

void QX5SonarConfigurationView::ApplyOceanValues(CAttributeMap const& tree)
{
    bool const override = ReadValue<keys::x5SoundVelocityOverride>(tree, false);
    m_oceanPage->RefreshOverride(override);
    // Otherwise the velocity comes from the sensor.
    if (override) {
        m_oceanPage->UpdateSoundVelocity(NarrowToFloat(ReadValue<keys::x5SoundVelocity>(tree, 0.0)));
    }
    m_oceanPage->UpdateAbsorption(NarrowToFloat(ReadValue<keys::x5Absorption>(tree, 0.0)));
    m_oceanPage->UpdateSpreading(NarrowToFloat(ReadValue<keys::x5SpreadingLoss>(tree, 0.0)));
    m_oceanPage->ShowSoundVelocityFilter(ReadValue<keys::x5SoundVelocityFilter>(tree, 0));
}

void QX5SonarConfigurationView::ApplyRecordingValues(CAttributeMap const& tree)
{
    m_recordingPage->UpdateStatus(ReadValue<keys::x5DataRecording>(tree, unknownRecordingState),
                                  ReadValue<keys::x5DirectoryName>(tree, CString()),
                                  ReadValue<keys::x5FileName>(tree, CString()), ReadValue<keys::x5DiskFree>(tree, 0),
                                  ReadValue<keys::x5FileSize>(tree, std::int64_t{0}));
}

void QX5SonarConfigurationView::ApplySteeringValues()
{
    ReadSteeringAttributes();
    auto const integer = [this](AttributeKey const& key) {
        int value = 0;
        m_steeringAttributes.FindValue(key).Get(value);
        return value;
    };
    CString routeName;
    m_steeringAttributes.FindValue(steering::RouteName).Get(routeName);
    double difference = 0.0;
    m_steeringAttributes.FindValue(steering::PipeRouteSteeringDiff).Get(difference);
    m_steeringPage->UpdateSteering(integer(steering::SonarSteering), integer(steering::RouteSteering), routeName,
                                   integer(steering::SteeringMode), integer(steering::PipeRouteSonarSteering),
                                   std::max(integer(steering::PipeRouteSteeringDelay), leastSteeringDelay), difference);
}
