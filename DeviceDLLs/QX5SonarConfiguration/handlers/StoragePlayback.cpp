// The handlers for custom storage and playback.
#include "../QX5SonarConfigurationControlDevice.h"
#include "StoragePlayback.h"

using ControlDevice = QX5SonarConfigurationControlDevice;

void ControlDevice::RequestCustomPlayback(CAttributeMap*) {}
void ControlDevice::RequestCustomStorage(CAttributeMap*) {}
void ControlDevice::RequestPlaybackSpeed(CAttributeMap*) {}
void ControlDevice::RequestPlaybackPosition(CAttributeMap*) {}
void ControlDevice::RequestPlaybackStepForward(CAttributeMap*) {}
void ControlDevice::RequestPlaybackStepBack(CAttributeMap*) {}
void ControlDevice::RequestPlaybackLoop(CAttributeMap*) {}
