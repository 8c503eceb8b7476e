// The handlers for beam geometry: mode, flex sector, spacing, number and width of beams, coverage, system mode.
#include "../QX5SonarConfigurationControlDevice.h"
#include "BeamGeometry.h"

using ControlDevice = QX5SonarConfigurationControlDevice;

void ControlDevice::RequestBeamMode(CAttributeMap*) {}
void ControlDevice::RequestFlexModeParams(CAttributeMap*) {}
void ControlDevice::RequestConstantSpacing(CAttributeMap*) {}
void ControlDevice::RequestCustomBeams(CAttributeMap*) {}
void ControlDevice::RequestProjectorBeamWidths(CAttributeMap*) {}
void ControlDevice::RequestResetCoverage(CAttributeMap*) {}
void ControlDevice::RequestSystemMode(CAttributeMap*) {}
