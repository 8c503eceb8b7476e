// The handlers for sensors on the sonar's serial inputs, remote I/O, mounting and deck mode.
#include "../QX5SonarConfigurationControlDevice.h"
#include "PortSensors.h"

using ControlDevice = QX5SonarConfigurationControlDevice;

void ControlDevice::RequestPortSensorConfiguration(CAttributeMap*) {}
void ControlDevice::RequestSensorsSettings(CAttributeMap*) {}
void ControlDevice::RequestPowerBuiltInPOSMV(CAttributeMap*) {}
void ControlDevice::RequestQMIOAddresses(CAttributeMap*) {}
void ControlDevice::RequestSonarMounting(CAttributeMap*) {}
void ControlDevice::RequestDeckMode(CAttributeMap*) {}
