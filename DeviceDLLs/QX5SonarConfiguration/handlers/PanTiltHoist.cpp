// The handlers for pan, tilt, hoist and ray tracer.
#include "../QX5SonarConfigurationControlDevice.h"
#include "PanTiltHoist.h"

using ControlDevice = QX5SonarConfigurationControlDevice;

void ControlDevice::RequestRaytracerSetupMode(CAttributeMap*) {}
void ControlDevice::RequestSetPanTiltRotate(CAttributeMap*) {}
void ControlDevice::RequestHoistActive(CAttributeMap*) {}
