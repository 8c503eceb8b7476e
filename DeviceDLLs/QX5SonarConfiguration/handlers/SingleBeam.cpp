// The handlers for single-beam systems.
#include "../QX5SonarConfigurationControlDevice.h"
#include "SingleBeam.h"

using ControlDevice = QX5SonarConfigurationControlDevice;

void ControlDevice::RequestTransducerIndex(CAttributeMap*) {}
void ControlDevice::RequestSbesChannelSelect(CAttributeMap*) {}
void ControlDevice::RequestSbesTransducerDraft(CAttributeMap*) {}
void ControlDevice::RequestSbesOperationMode(CAttributeMap*) {}
void ControlDevice::RequestSbesTrackerTweakMode(CAttributeMap*) {}
void ControlDevice::RequestSbesGainTweak(CAttributeMap*) {}
void ControlDevice::RequestSbesPowerTweak(CAttributeMap*) {}
void ControlDevice::RequestSbesPulseLengthTweak(CAttributeMap*) {}
void ControlDevice::RequestSbesRangeTweak(CAttributeMap*) {}
void ControlDevice::SendSbesTransducerUpdateXml(CAttributeMap*) {}
void ControlDevice::RequestSbesSettingsXml(CAttributeMap*) {}
void ControlDevice::SendSbesSettingsUpdateXml(CAttributeMap*) {}
void ControlDevice::RequestSbesDefaultSettings(CAttributeMap*) {}
