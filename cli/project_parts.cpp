// The parts of a session's project.
#include "project_parts.h"

#include "reference_host/streams/settings_data.h"

#include <VordalAttributesR/CVordalType.h>

#include <commands/steering_keys.h>
#include <protocol/utf8.h>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

/// Group of the computations that steer a sonar along a route or a pipe.
constexpr unsigned short steeringGroup = 1117;
/// Item of the names of a sonar's recording states.
constexpr unsigned short recordingItem = 2701;

CAttributeMap SteeringAttributes()
{
    CAttributeMap attributes;
    for (AttributeKey const& key :
         {steering::SonarSteering, steering::RouteSteering, steering::SteeringMode, steering::PipeRouteSonarSteering}) {
        attributes.Add(key, CVordalInt(0));
    }
    attributes.Add(steering::PipeRouteSteeringDelay, CVordalInt(2));
    attributes.Add(steering::PipeRouteSteeringDiff, CVordalDouble(0.0));
    attributes.Add(steering::RouteName, CVordalText(L"Lane 1"));
    return attributes;
}

/// Replaces the item with the same `member`, in its place, or appends it.
template <typename Item, typename Value>
void Put(std::vector<Item>& list, Item const& item, Value Item::*member)
{
    if (auto* const known = FindBy(list, member, item.*member)) {
        *known = item;
    } else {
        list.push_back(item);
    }
}

} // namespace

CDataId SteeringOf(CDataId const& sonar)
{
    CDataId id = sonar;
    id.SetGroupId(steeringGroup);
    return id;
}

std::string EndpointOf(vordal::StoredPort const& port)
{
    std::string const host = protocol::EncodeUtf8(port.host.View());
    bool const isVersion6 = host.find(':') != std::string::npos;
    return fmt::format("{}:{}", isVersion6 ? "[" + host + "]" : host, port.tcpPort);
}

vordal::ComputationSetup SteeringComputation(CDataId const& sonar, CAttributeMap const& attributes)
{
    return {.dataId = SteeringOf(sonar),
            .type = steeringGroup,
            .attributes = attributes.Count() != 0 ? attributes : SteeringAttributes(),
            .linkedDevices = {sonar},
            .stream = {}};
}

bool IsSonar(CDataId const& device)
{
    return device.GetGroupId() == vordal::SonarDataGroup;
}

vordal::VesselSetup MakeVessel(unsigned short number, CString const& name, bool detectsPipes)
{
    CString const enabled = detectsPipes ? L"1,1" : L"0,0";
    return {.number = number,
            .name = name,
            .configuration = {{steering::PipeDetectionSection, {{steering::EnablePipeDetectionItem, enabled}}}}};
}

void TellUsualNames(vordal::Host& host)
{
    host.SetItemTexts(vordal::SonarDataGroup, recordingItem, {L"Idle", L"Recording"});
    host.SetRoutes({L"Lane 1", L"Lane 2", L"Pipeline"});
}

void Complete(vordal::StoredProject& fleet, vordal::StoredProject const& project)
{
    fleet.toldLimits = project.toldLimits;
    for (vordal::VesselSetup& vessel : fleet.vessels) {
        if (auto const* const known = FindBy(project.vessels, &vordal::VesselSetup::number, vessel.number)) {
            for (auto const& [section, items] : known->configuration) {
                vessel.configuration[section].insert(items.begin(), items.end());
            }
        }
    }
    for (vordal::StoredDevice& device : fleet.devices) {
        auto const* const known = FindBy(project.devices, &vordal::StoredDevice::dataId, device.dataId);
        if (known != nullptr && known->className == device.className) {
            device.attributes = known->attributes;
        }
        if (IsSonar(device.dataId)) {
            auto const* const steered =
                FindBy(project.computations, &vordal::ComputationSetup::dataId, SteeringOf(device.dataId));
            fleet.computations.push_back(
                SteeringComputation(device.dataId, steered != nullptr ? steered->attributes : CAttributeMap()));
        }
    }
}

void PutFleet(vordal::StoredProject& project, vordal::StoredProject const& fleet, std::vector<CString> const& simulated)
{
    for (vordal::VesselSetup const& vessel : fleet.vessels) {
        Put(project.vessels, vessel, &vordal::VesselSetup::number);
    }
    for (vordal::StoredPort const& port : fleet.ports) {
        Put(project.ports, port, &vordal::StoredPort::name);
        if (std::find(simulated.begin(), simulated.end(), port.name) != simulated.end()) {
            auto& kept = *FindBy(project.ports, &vordal::StoredPort::name, port.name);
            kept.host = {};
            kept.tcpPort = 0;
        }
    }
    for (vordal::StoredDevice const& device : fleet.devices) {
        Put(project.devices, device, &vordal::StoredDevice::dataId);
    }
    for (vordal::ComputationSetup const& computation : fleet.computations) {
        Put(project.computations, computation, &vordal::ComputationSetup::dataId);
    }
}

} // namespace qx5::cli
