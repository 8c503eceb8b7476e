// The handlers for two heads that work as one system.
#include "../QX5SonarConfigurationControlDevice.h"
#include "DualHead.h"

using ControlDevice = QX5SonarConfigurationControlDevice;

void ControlDevice::RequestDisconnectSlave(CAttributeMap*) {}
void ControlDevice::RequestConnectSlave(CAttributeMap*) {}
void ControlDevice::RequestSetSlavedRecords(CAttributeMap*) {}
