// The handlers for tracker, automatic configuration, detections, echo markers and depth.
#include "../QX5SonarConfigurationControlDevice.h"
#include "TrackerDetection.h"

using ControlDevice = QX5SonarConfigurationControlDevice;

void ControlDevice::RequestTrackerControl(CAttributeMap*) {}
void ControlDevice::RequestManualAutoConfig(CAttributeMap*) {}
void ControlDevice::RequestMultiDetect(CAttributeMap*) {}
void ControlDevice::RequestSnippetControl(CAttributeMap*) {}
void ControlDevice::RequestForwardDetect(CAttributeMap*) {}
void ControlDevice::SendEchoMarker(CAttributeMap*) {}
void ControlDevice::RequestSearchDepth(CAttributeMap*) {}
void ControlDevice::RequestSystemDepth(CAttributeMap*) {}
