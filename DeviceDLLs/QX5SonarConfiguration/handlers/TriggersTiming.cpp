// The handlers for triggers and timing signals.
#include "../QX5SonarConfigurationControlDevice.h"
#include "TriggersTiming.h"

using ControlDevice = QX5SonarConfigurationControlDevice;

void ControlDevice::RequestPPSEdge(CAttributeMap*) {}
void ControlDevice::RequestTriggerOutput(CAttributeMap*) {}
void ControlDevice::RequestAdvancedTriggerOutput(CAttributeMap*) {}
void ControlDevice::RequestTriggerInput(CAttributeMap*) {}
