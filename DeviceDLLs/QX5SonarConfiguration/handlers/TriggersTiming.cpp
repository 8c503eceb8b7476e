// The handlers for triggers and timing signals.
#include "TriggersTiming.h"
#include "../QX5SonarConfigurationControlDevice.h"
#include "echo_map.h"
#include "reading.h"

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace keys = qx5::protocol::keys;
namespace records = qx5::protocol::records;

void ControlDevice::RequestTriggerInput(CAttributeMap* request)
{
    bool on = false;
    if (!Read(*request, At<keys::x5TriggerInput>, on)) {
        return;
    }
    if (on) {
        SendRemote(records::TriggerInput.Id(), {}, OwnSonar);
    }
    EchoMap echo;
    echo.Tell(At<keys::x5TriggerInput>, on);
    Report(echo.Tree(), commands::RequestTriggerInput.echoFlags);
}
