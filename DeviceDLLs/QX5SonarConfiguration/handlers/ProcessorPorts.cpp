// The handlers for serial ports, UDP ports and time sources of the sonar processor.
#include "../QX5SonarConfigurationControlDevice.h"
#include "ProcessorPorts.h"

using ControlDevice = QX5SonarConfigurationControlDevice;

void ControlDevice::RequestSerialPortConfiguration(CAttributeMap*) {}
void ControlDevice::RequestSerialPortStatus(CAttributeMap*) {}
void ControlDevice::RequestUdpPortConfiguration(CAttributeMap*) {}
void ControlDevice::RequestUdpPortStatus(CAttributeMap*) {}
void ControlDevice::RequestTimeSourceEnabled(CAttributeMap*) {}
void ControlDevice::RequestTimeSourceEthernetConfiguration(CAttributeMap*) {}
void ControlDevice::RequestSerialPortConfigRecord(CAttributeMap*) {}
void ControlDevice::RequestSerialPortStatusRecord(CAttributeMap*) {}
void ControlDevice::RequestUdpPortConfigRecord(CAttributeMap*) {}
void ControlDevice::RequestUdpPortStatusRecord(CAttributeMap*) {}
