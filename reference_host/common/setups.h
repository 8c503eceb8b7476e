// What a host is told of a project's computations and vessels.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CString.h>

#include <map>
#include <vector>

namespace vordal {

/// What makes a computation of the project.
struct ComputationSetup
{
    CDataId dataId;
    int type = 0;
    CAttributeMap attributes;
    std::vector<CDataId> linkedDevices;
    /// The stream behind the computation; undefined: its own id.
    CDataId stream;
};

/// What makes a vessel of the project.
struct VesselSetup
{
    unsigned short number = 1;
    CString name;
    /// Section -> item -> text.
    std::map<CString, std::map<CString, CString>> configuration;
};

} // namespace vordal
