// The handlers for pulse, frequency, gain, sample rate and ping pattern.
#include "../QX5SonarConfigurationControlDevice.h"
#include "PulseFrequencyGain.h"

using ControlDevice = QX5SonarConfigurationControlDevice;

void ControlDevice::RequestPulseType(CAttributeMap*) {}
void ControlDevice::RequestPulseCharacteristics(CAttributeMap*) {}
void ControlDevice::RequestCenterFrequency(CAttributeMap*) {}
void ControlDevice::RequestFMSweep(CAttributeMap*) {}
void ControlDevice::RequestConfigureMultiFrequency(CAttributeMap*) {}
void ControlDevice::RequestVernierParameters(CAttributeMap*) {}
void ControlDevice::RequestGainMode(CAttributeMap*) {}
void ControlDevice::RequestSourceLevelMode(CAttributeMap*) {}
void ControlDevice::RequestSampleRate(CAttributeMap*) {}
void ControlDevice::RequestPingSequence(CAttributeMap*) {}
void ControlDevice::RequestMultiPing(CAttributeMap*) {}
