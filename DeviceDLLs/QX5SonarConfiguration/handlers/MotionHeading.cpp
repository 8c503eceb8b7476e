// The handlers for motion and heading sensors.
#include "../QX5SonarConfigurationControlDevice.h"
#include "MotionHeading.h"

using ControlDevice = QX5SonarConfigurationControlDevice;

void ControlDevice::RequestMotionSensorConfiguration(CAttributeMap*) {}
