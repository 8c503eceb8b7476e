// The handlers for pulse, frequency, gain, sample rate and ping pattern.
#include "../QX5SonarConfigurationControlDevice.h"
#include "command_values.h"
#include "echo_map.h"
#include "reading.h"
#include <commands/pulse_frequency_gain.h>

#include <HalvaneX5InterfaceR/QX5Utils.h>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace keys = qx5::protocol::keys;
namespace records = qx5::protocol::records;

void ControlDevice::RequestPulseType(CAttributeMap* request)
{
    if (!request->Has(At<keys::x5PulseType>, 0)) {
        return;
    }
    RequestValue(request, static_cast<int>(records::PulseType.Id()), At<keys::x5PulseType>, PARM_INT);
    AskFor(commands::RequestPulseType.followUps);
}

void ControlDevice::RequestFMSweep(CAttributeMap* request)
{
    constexpr auto& sweepKey = At<keys::x5FMSweep>;
    constexpr auto& negativeKey = At<keys::x5FMSweepNegative>;
    constexpr auto& settingsKey = At<keys::x5PingSettingsList>;

    if (!HasAny(*request, sweepKey, negativeKey)) {
        return;
    }
    int projector = 0;
    Read(Stored(), At<keys::DeviceEnum>, projector);
    int const index = Stored().Has(settingsKey, projector) ? projector : 0;
    CAttributeMap const* settings = Stored().GetAttrMap(settingsKey, index);
    auto const drop = [&, &sweep = sweepKey, &isNegative = negativeKey](AttributeKey const& missing) {
        ReportDroppedRequest(AskedBy(*request, missing, sweep, isNegative), missing);
    };
    if (settings == nullptr) {
        return drop(settingsKey);
    }
    double sweep = 0.0; // kHz
    if (!Complete(*request, *settings, sweepKey, sweep)) {
        return drop(sweepKey);
    }
    bool negative = false;
    if (!Complete(*request, *settings, negativeKey, negative)) {
        return drop(negativeKey);
    }
    double halfSweep = sweep * 1000.0 * 0.5; // Hz
    if (negative) {
        halfSweep = -halfSweep;
    }
    double center = 0.0;
    if (!Read(Stored(), At<keys::x5CenterFrequency>, center)) {
        return drop(At<keys::x5CenterFrequency>);
    }

    protocol::Payload payload(records::FMSweep.Size());
    protocol::PackField(records::SweepStart, center - halfSweep, payload.Bytes());
    protocol::PackField(records::SweepStop, center + halfSweep, payload.Bytes());
    SendRemote(records::FMSweep.Id(), payload, OwnSonar);

    // In the shape of the stored list, so that the merge finds the node of this projector.
    CAttributeMap echo;
    CAttributeMap& echoedSettings = echo.FindCreate(settingsKey, index);
    echoedSettings.Add(sweepKey, CVordalDouble(sweep), 0);
    echoedSettings.Add(negativeKey, CVordalBool(negative), 0);
    Report(echo, commands::RequestFMSweep.echoFlags);
}

void ControlDevice::RequestGainMode(CAttributeMap* request)
{
    constexpr auto& modeKey = At<keys::x5GainMode>;
    constexpr auto& stageKey = At<keys::x5GainStageSelection>;
    if (!HasAny(*request, modeKey, stageKey)) {
        return;
    }
    int mode = 0;
    int stage = 0;
    Complete(*request, Stored(), modeKey, mode);
    Complete(*request, Stored(), stageKey, stage);

    protocol::RecordLayout const record = records::GainMode;
    protocol::Payload payload(record.size);
    PackKey(record, keys::x5GainMode, mode, payload);
    PackKey(record, keys::x5GainStageSelection, stage, payload);
    SendRemote(record.id, payload, OwnSonar);

    EchoMap echo;
    echo.Tell(modeKey, mode);
    echo.Tell(stageKey, stage);
    int formerMode = 0;
    if (Read(Stored(), modeKey, formerMode) && formerMode != mode) {
        echo.Tell(modeKey, mode);
        // The gain of the mode that is left is parked, the one parked before comes back.
        double gain = 0.0;
        double parkedGain = 0.0;
        if (Read(Stored(), At<keys::x5Gain>, gain) && Read(Stored(), At<keys::x5GainAlt>, parkedGain)) {
            echo.Tell(At<keys::x5Gain>, parkedGain);
            echo.Tell(At<keys::x5GainAlt>, gain);
        }
    }
    Report(echo.Tree(), commands::RequestGainMode.echoFlags);
}

void ControlDevice::RequestSampleRate(CAttributeMap* request)
{
    int selection = 0;
    if (!Read(*request, At<keys::x5SampleRateSelection>, selection)) {
        return;
    }
    int rate = 0;
    Read(QX5Utils::GetActiveSonarSettings(Stored()).Find(At<keys::x5SampleRateSet>, selection), At<keys::x5IQRate>,
         rate);

    protocol::RecordLayout const record = records::SampleRate;
    protocol::Payload payload(record.size);
    PackKey(record, keys::x5SampleRateSelection, rate, payload);
    SendRemote(record.id, payload, OwnSonar);

    EchoMap echo;
    echo.Tell(At<keys::x5SampleRateSelection>, selection);
    QX5Utils::AddBeamModeAttribs(Stored(), echo.Tree());
    QX5Utils::AddPulseLengthValuesAttrib(Stored(), echo.Tree());
    Report(echo.Tree(), commands::RequestSampleRate.echoFlags);
}
