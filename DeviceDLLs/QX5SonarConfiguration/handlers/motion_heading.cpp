// The handlers for motion and heading sensors.
#include "../QX5SonarConfigurationControlDevice.h"
#include <commands/motion_heading.h>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;

void ControlDevice::RequestHeadingSensorConfiguration(CAttributeMap* request)
{
    Run(*request, commands::RequestHeadingSensorConfiguration);
}
