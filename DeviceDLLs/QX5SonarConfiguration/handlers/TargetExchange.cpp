// The handlers for target lists, detection-unit settings, user role and system events.
#include "../QX5SonarConfigurationControlDevice.h"
#include "TargetExchange.h"

using ControlDevice = QX5SonarConfigurationControlDevice;

void ControlDevice::SychronizeTargetManagersHandler(CAttributeMap*) {}
void ControlDevice::SendTargetList(CAttributeMap*) {}
void ControlDevice::RequestAScanSetupMonitorerStatus(CAttributeMap*) {}
void ControlDevice::SendImageEnhancementMode(CAttributeMap*) {}
void ControlDevice::SendDetectionSensitivity(CAttributeMap*) {}
void ControlDevice::SendDetectorAlgorithm(CAttributeMap*) {}
void ControlDevice::SendCADBeamAndSampleSetting(CAttributeMap*) {}
void ControlDevice::SendUserRole(CAttributeMap*) {}
void ControlDevice::SendSystemEvent(CAttributeMap*) {}
