// The handlers for motion and heading sensors.
#include "MotionHeading.h"
#include "../QX5SonarConfigurationControlDevice.h"

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;

void ControlDevice::RequestHeadingSensorConfiguration(CAttributeMap* request)
{
    Run(*request, commands::RequestHeadingSensorConfiguration);
}
