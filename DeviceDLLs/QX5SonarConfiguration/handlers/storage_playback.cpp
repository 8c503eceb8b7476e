// The handlers for custom storage and playback. What steers the playback of a file goes to the port, not to the sonar.
#include "../QX5SonarConfigurationControlDevice.h"
#include "reading.h"
#include <commands/storage_playback.h>

#include <HalvaneX5InterfaceR/QX5SocketIoHandler.h>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace keys = qx5::protocol::keys;

namespace {

/// When the playback command was given, as the requester counts seconds; 0 when it does not say.
double CommandTime(CAttributeMap const& request)
{
    double seconds = 0.0;
    Read(request, At<keys::x5PlaybackCommandTime>, seconds);
    return seconds;
}

} // namespace

void ControlDevice::RequestPlaybackSpeed(CAttributeMap* request)
{
    double speed = 0.0;
    if (!Read(*request, At<keys::x5PlaybackSpeed>, speed)) {
        return;
    }
    if (auto* port = SonarPort()) {
        port->PlaybackSetSpeed(CommandTime(*request), speed);
    }
}

void ControlDevice::RequestPlaybackPosition(CAttributeMap* request)
{
    double position = 0.0;
    if (!Read(*request, At<keys::x5PlaybackPosition>, position)) {
        return;
    }
    if (auto* port = SonarPort()) {
        port->PlaybackSetPosition(CommandTime(*request), position);
    }
}

void ControlDevice::RequestPlaybackStepForward(CAttributeMap* request)
{
    if (!request->Has(At<keys::x5PlaybackStepForward>, 0)) {
        return;
    }
    if (auto* port = SonarPort()) {
        port->PlaybackStepForward(CommandTime(*request));
    }
}

void ControlDevice::RequestPlaybackStepBack(CAttributeMap* request)
{
    if (!request->Has(At<keys::x5PlaybackStepBack>, 0)) {
        return;
    }
    if (auto* port = SonarPort()) {
        port->PlaybackStepBack(CommandTime(*request));
    }
}

void ControlDevice::RequestPlaybackLoop(CAttributeMap* request)
{
    double loop = 0.0;
    if (!Read(*request, At<keys::x5PlaybackLoop>, loop)) {
        return;
    }
    if (auto* port = SonarPort()) {
        port->PlaybackSetLoop(CommandTime(*request), loop);
    }
}
