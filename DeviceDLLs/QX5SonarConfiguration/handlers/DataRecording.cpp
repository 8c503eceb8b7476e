// The handlers for recording by the sonar processor.
#include "../QX5SonarConfigurationControlDevice.h"
#include "DataRecording.h"

using ControlDevice = QX5SonarConfigurationControlDevice;

void ControlDevice::RequestOnOffDataRecording(CAttributeMap*, AttributeKey const&) {}
void ControlDevice::RequestSyncDataRecording(CAttributeMap*) {}
