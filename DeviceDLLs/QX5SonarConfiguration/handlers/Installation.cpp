// The handlers for how the sonar is mounted and how it starts up.
#include "../QX5SonarConfigurationControlDevice.h"
#include "Installation.h"

using ControlDevice = QX5SonarConfigurationControlDevice;

void ControlDevice::UpdateSonarInstallationIdentifiers(CAttributeMap*) {}
void ControlDevice::RequestAuvConfig(CAttributeMap*) {}
