// The handlers for basic operation: projector, pings, sound velocity, temperature, sector, motion compensation, system
// commands.
#include "../QX5SonarConfigurationControlDevice.h"
#include "command_values.h"
#include "echo_map.h"
#include "reading.h"
#include <commands/basic.h>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace keys = qx5::protocol::keys;
namespace records = qx5::protocol::records;

void ControlDevice::RequestPingOnlyDuringScanning(CAttributeMap* request)
{
    if (!Read(*request, At<keys::PingOnlyDuringScan>, pingOnlyDuringScan)) {
        return;
    }
    if (!pingOnlyDuringScan) {
        // Lifting the restriction always turns the pings on.
        CAttributeMap pingsOn;
        pingsOn.Add(At<keys::x5PingOnOffState>, CVordalInt(1), 0);
        RequestPingOnOff(&pingsOn);
    }
    EchoMap echo;
    echo.Tell(At<keys::PingOnlyDuringScan>, pingOnlyDuringScan);
    Report(echo.Tree(), commands::RequestPingOnlyDuringScanning.echoFlags);
}

void ControlDevice::RequestManualSoundVelocity(CAttributeMap* request)
{
    constexpr auto& soundVelocityKey = At<keys::x5SoundVelocity>;
    constexpr auto& overrideKey = At<keys::x5SoundVelocityOverride>;
    constexpr auto& filterKey = At<keys::x5SoundVelocityFilter>;
    if (!HasAny(*request, soundVelocityKey, overrideKey, filterKey)) {
        return;
    }
    bool overridden = false;
    Complete(*request, Stored(), overrideKey, overridden);
    double soundVelocity = 0.0;
    bool const hasSoundVelocity = Read(*request, soundVelocityKey, soundVelocity);
    int filter = 0;
    bool const hasFilter = Read(*request, filterKey, filter);

    protocol::RecordLayout const record = records::ManualSoundVelocity;
    protocol::Payload payload(record.size);
    PackKey(record, keys::x5SoundVelocityOverride, overridden, payload);
    protocol::PackField(records::NoNewSoundVelocity, !hasSoundVelocity, payload.Bytes());
    protocol::PackField(records::NewSoundVelocityFilter, hasFilter, payload.Bytes());
    PackKey(record, keys::x5SoundVelocity, soundVelocity, payload);
    PackKey(record, keys::x5SoundVelocityFilter, filter, payload);
    SendRemote(record.id, payload, Processor);

    EchoMap echo;
    if (hasSoundVelocity) {
        echo.Tell(soundVelocityKey, soundVelocity);
    }
    echo.Tell(overrideKey, overridden);
    if (hasFilter) {
        echo.Tell(filterKey, filter);
    }
    Report(echo.Tree(), commands::RequestManualSoundVelocity.echoFlags);
}

void ControlDevice::RequestManualTemperature(CAttributeMap* request)
{
    constexpr auto& temperatureKey = At<keys::x5Temperature>;
    constexpr auto& overrideKey = At<keys::x5TemperatureOverride>;
    if (!HasAny(*request, temperatureKey, overrideKey)) {
        return;
    }
    // Unlike the sound velocity, a temperature does not go out without a known override.
    bool overridden = false;
    if (!Complete(*request, Stored(), overrideKey, overridden)) {
        ReportDroppedRequest(AskedBy(*request, overrideKey, temperatureKey), overrideKey);
        return;
    }
    double temperature = 0.0;
    bool const hasTemperature = Read(*request, temperatureKey, temperature);

    protocol::RecordLayout const record = records::ManualTemperature;
    protocol::Payload payload(record.size);
    PackKey(record, keys::x5TemperatureOverride, overridden, payload);
    protocol::PackField(records::NoNewTemperature, !hasTemperature, payload.Bytes());
    PackKey(record, keys::x5Temperature, temperature, payload);
    SendRemote(record.id, payload, OwnSonar);

    EchoMap echo;
    if (hasTemperature) {
        echo.Tell(temperatureKey, temperature);
    }
    echo.Tell(overrideKey, overridden);
    Report(echo.Tree(), commands::RequestManualTemperature.echoFlags);
}

void ControlDevice::RequestLoadFactoryParams(CAttributeMap* request)
{
    // The device whose processor keeps a further settings record.
    constexpr int deviceWithRecord7059 = 1002;

    if (!request->Has(At<keys::x5LoadFactoryParameters>, 0)) {
        return;
    }
    SendRemote(records::LoadFactoryParameters.Id(), {}, Processor);

    int deviceId = 0;
    Read(Stored(), At<keys::DeviceId>, deviceId);
    for (FollowUp const& followUp : commands::RequestLoadFactoryParams.followUps) {
        if (followUp.when.IsAlways() || deviceId == deviceWithRecord7059) {
            SingleRecordRequest(followUp.recordId, followUp.target.deviceId, followUp.target.enumerator);
        }
    }

    EchoMap echo;
    echo.Tell(At<keys::x5CustomBeams>, 0.0);
    echo.Tell(At<keys::x5ConstantSpacing>, 0.0);
    Report(echo.Tree(), commands::RequestLoadFactoryParams.echoFlags);
}
