// The parts of a session's project: vessels, sonars with what steers them, and what a file keeps of them.
#pragma once

#include "reference_host/core/host.h"
#include "reference_host/store/project_store.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>

#include <algorithm>
#include <string>
#include <vector>

namespace qx5::cli {

/// Sonars have a group of ids of their own.
bool IsSonar(CDataId const& device);

/// The address of a connection, "127.0.0.1:7000" or "[::1]:7000".
std::string EndpointOf(vordal::StoredPort const& port);

/// Where the computation of route steering that belongs to a sonar stands, and that computation as a project keeps it
/// (without attributes: as it begins).
CDataId SteeringOf(CDataId const& sonar);
vordal::ComputationSetup SteeringComputation(CDataId const& sonar, CAttributeMap const& attributes);

/// A vessel for a session's project. Where pipe detection is set up, sonars may be steered along a pipe.
vordal::VesselSetup MakeVessel(unsigned short number, CString const& name, bool detectsPipes);

/// Tells the host what the states of a recording are called, and which routes there are. Host thread.
void TellUsualNames(vordal::Host& host);

/// The item whose `member` has that value; null when there is none.
template <typename List, typename Item, typename Value>
auto* FindBy(List& list, Value Item::*member, Value const& value)
{
    auto const found = std::find_if(list.begin(), list.end(), [&](Item const& each) { return each.*member == value; });
    return found != list.end() ? &*found : nullptr;
}

/// Adds to the vessels and devices of a session what the project keeps of them, and how its sonars are steered.
void Complete(vordal::StoredProject& fleet, vordal::StoredProject const& project);

/// Puts what the fleet holds now into the project; what that keeps beyond it stays. Of `simulated` ports no address is
/// kept: they are others the next time.
void PutFleet(vordal::StoredProject& project, vordal::StoredProject const& fleet,
              std::vector<CString> const& simulated);

} // namespace qx5::cli
