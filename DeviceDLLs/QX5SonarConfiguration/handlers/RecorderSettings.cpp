// The handlers for the sonar's data recorder.
#include "../QX5SonarConfigurationControlDevice.h"
#include "RecorderSettings.h"

using ControlDevice = QX5SonarConfigurationControlDevice;

void ControlDevice::RequestRDRFiltering(CAttributeMap*) {}
void ControlDevice::RequestRDRSettings(CAttributeMap*) {}
void ControlDevice::RequestRDRRecordingDirectory(CAttributeMap*) {}
void ControlDevice::RequestRDRRecordingPreAndPostfix(CAttributeMap*) {}
