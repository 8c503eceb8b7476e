// The handlers for gates: where the bottom detection may look.
#include "../QX5SonarConfigurationControlDevice.h"
#include "Gates.h"

using ControlDevice = QX5SonarConfigurationControlDevice;

void ControlDevice::RequestAbsoluteGates(CAttributeMap*) {}
void ControlDevice::RequestAdaptiveGates(CAttributeMap*) {}
void ControlDevice::RequestBarCheckGates(CAttributeMap*) {}
void ControlDevice::RequestGateEnableFlags(CAttributeMap*) {}
void ControlDevice::SendLorqGating(CAttributeMap*) {}
void ControlDevice::RequestVerticalDetectionMode(CAttributeMap*) {}
