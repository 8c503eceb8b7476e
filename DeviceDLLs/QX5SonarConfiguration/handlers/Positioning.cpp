// The handlers for the satellite positioning and inertial unit.
#include "../QX5SonarConfigurationControlDevice.h"
#include "Positioning.h"

using ControlDevice = QX5SonarConfigurationControlDevice;

void ControlDevice::SendDGNSSGeometry(CAttributeMap*) {}
void ControlDevice::SendDGNSSConfiguratorXml(CAttributeMap*) {}
void ControlDevice::SendDGNSSSerialPortConfiguration(CAttributeMap*) {}
void ControlDevice::SendDgnssSerialPortCorrectionsConfig(CAttributeMap*) {}
void ControlDevice::SendDgnssNtripConfig(CAttributeMap*) {}
void ControlDevice::SendDgnssPpsConfig(CAttributeMap*) {}
void ControlDevice::SendInsAutoCalibration(CAttributeMap*) {}
