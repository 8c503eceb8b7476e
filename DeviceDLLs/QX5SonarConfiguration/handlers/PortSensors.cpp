// The handlers for sensors on the sonar's serial inputs, remote I/O, mounting and deck mode.
#include "PortSensors.h"
#include "../QX5SonarConfigurationControlDevice.h"

#include <VordalAttributesR/AttributeConstants.h>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;

// The key is the host's own: its text is whatever the host says.
static_assert(protocol::keys::ATTR_ROLLCOR.text == ::ATTR_ROLLCOR.Text());

void ControlDevice::RequestPortSensorConfiguration(CAttributeMap* request)
{
    Run(*request, commands::RequestPortSensorConfiguration);
}

void ControlDevice::RequestSensorsSettings(CAttributeMap* request)
{
    Run(*request, commands::RequestSensorsSettings);
}

void ControlDevice::RequestPowerBuiltInPOSMV(CAttributeMap* request)
{
    Run(*request, commands::RequestPowerBuiltInPOSMV);
}

void ControlDevice::RequestQMIOAddresses(CAttributeMap* request)
{
    Run(*request, commands::RequestQMIOAddresses);
}

void ControlDevice::RequestSonarMounting(CAttributeMap* request)
{
    Run(*request, commands::RequestSonarMounting);
}

void ControlDevice::RequestDeckMode(CAttributeMap* request)
{
    Run(*request, commands::RequestDeckMode);
}
