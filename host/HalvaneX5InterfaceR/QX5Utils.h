// Operations on sonar settings trees.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/Export.h>

/// Static operations on the trees of sonar devices. They read what they are given and take no lock.
class VORDAL_API QX5Utils
{
public:
    /// The active one among the "x5SonarSettings" children: the occurrence numbered by the tree's "DeviceEnum"
    /// (0 when absent or of another kind) if it exists, otherwise occurrence 0, otherwise an empty node.
    static CAttributeMap const& GetActiveSonarSettings(CAttributeMap const& deviceTree);
    /// Appends to `to` a copy of every "x5BeamModes" child of `from`.
    static void AddBeamModeAttribs(CAttributeMap const& from, CAttributeMap& to);
    /// Takes from the active settings of `from` the "x5PulseLengthSet" whose occurrence is the tree's "x5PulseType"
    /// (0 when absent) and, when that has "x5PulseLengthValues" as a list of doubles, appends a node of that key and
    /// value to `to`.
    static void AddPulseLengthValuesAttrib(CAttributeMap const& from, CAttributeMap& to);
};
