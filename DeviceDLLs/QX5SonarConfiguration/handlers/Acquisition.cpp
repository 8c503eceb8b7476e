// The handlers for options around the acquisition of data.
#include "../QX5SonarConfigurationControlDevice.h"
#include "Acquisition.h"

using ControlDevice = QX5SonarConfigurationControlDevice;

void ControlDevice::RequestStacking(CAttributeMap*) {}
void ControlDevice::RequestPowerSaveMode(CAttributeMap*) {}
void ControlDevice::RequestDutyCycleLimitation(CAttributeMap*) {}
void ControlDevice::Request7042Options(CAttributeMap*) {}
void ControlDevice::RequestImageDataSetup(CAttributeMap*) {}
void ControlDevice::RequestSoundVelocityProbe(CAttributeMap*) {}
void ControlDevice::RequestASDRecording(CAttributeMap*) {}
void ControlDevice::RequestStaveRecording(CAttributeMap*) {}
void ControlDevice::RequestAScanBeams(CAttributeMap*) {}
