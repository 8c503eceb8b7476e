// Operations on sonar settings trees.
#include <HalvaneX5InterfaceR/QX5Utils.h>

#include "reference_host/attributes/host_keys.h"

#include <vector>

namespace keys = vordal::keys;

CAttributeMap const& QX5Utils::GetActiveSonarSettings(CAttributeMap const& deviceTree)
{
    int enumerator = 0;
    deviceTree.FindValue(keys::DeviceEnum).Get(enumerator);
    if (auto const* active = deviceTree.GetAttrMap(keys::SonarSettings, enumerator)) {
        return *active;
    }
    return deviceTree.Find(keys::SonarSettings);
}

void QX5Utils::AddBeamModeAttribs(CAttributeMap const& from, CAttributeMap& to)
{
    // Counted first: both arguments may be one tree.
    auto const count = from.Count(keys::BeamModes);
    for (int i = 0; i < count; ++i) {
        CAttributeMap const mode(from.Find(keys::BeamModes, i));
        to.Append(mode);
    }
}

void QX5Utils::AddPulseLengthValuesAttrib(CAttributeMap const& from, CAttributeMap& to)
{
    int pulseType = 0;
    from.FindValue(keys::PulseType).Get(pulseType);
    std::vector<double> values;
    if (GetActiveSonarSettings(from)
            .Find(keys::PulseLengthSet, pulseType)
            .FindValue(keys::PulseLengthValues)
            .Get(values)) {
        CAttributeMap const node(keys::PulseLengthValues, VordalTypeCreator::MakeValue(values));
        to.Append(node);
    }
}
