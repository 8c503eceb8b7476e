// The handlers for tracker, automatic configuration, detections, echo markers and depth.
#include "../QX5SonarConfigurationControlDevice.h"
#include "command_values.h"
#include "reading.h"
#include <commands/tracker_detection.h>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace keys = qx5::protocol::keys;
namespace records = qx5::protocol::records;

namespace {

/// The flag that says that a field of an echo marker holds; null for a field without flag.
constexpr protocol::Field const* FlagOf(protocol::Key const& key)
{
    struct Flagged
    {
        protocol::Key const* key;
        protocol::Field const* flag;
    };
    constexpr Flagged flagged[]{
        {&keys::EchoMarkerAnnotation, &records::EchoMarkerAnnotationHolds},
        {&keys::EchoMarkerPingNumber, &records::EchoMarkerPingNumberHolds},
        {&keys::EchoMarkerTime, &records::EchoMarkerTimeHolds},
        {&keys::EchoMarkerLatitude, &records::EchoMarkerLatitudeHolds},
        {&keys::EchoMarkerLongitude, &records::EchoMarkerLongitudeHolds},
        {&keys::EchoMarkerAltitude, &records::EchoMarkerAltitudeHolds},
        {&keys::EchoMarkerDepth, &records::EchoMarkerDepthHolds},
        {&keys::EchoMarkerHeave, &records::EchoMarkerHeaveHolds},
    };
    for (Flagged const& entry : flagged) {
        if (entry.key == &key) {
            return entry.flag;
        }
    }
    return nullptr;
}

/// Whether a value that was read counts as given: an empty annotation does not.
bool IsGiven(protocol::Value const& value)
{
    auto const* const text = std::get_if<std::wstring>(&value);
    return text == nullptr || !text->empty();
}

} // namespace

void ControlDevice::SendEchoMarker(CAttributeMap* request)
{
    CAttributeMap const& tree = *request;
    CAttributeMap const* const marker = tree.GetAttrMap(At<keys::EchoMarker>, 0);
    if (marker == nullptr) {
        return;
    }
    protocol::RecordLayout const record = records::EchoMarkerData;
    protocol::Payload payload(record.size);
    for (Operand const& operand : commands::SendEchoMarker.operands) {
        protocol::Value value;
        // The marker itself is a branch, of which nothing is read.
        if (!ReadKey(*marker, *operand.key, operand.attribute, value) || !IsGiven(value)) {
            continue;
        }
        PackKey(record, *operand.key, value, payload);
        if (protocol::Field const* const flag = FlagOf(*operand.key)) {
            protocol::PackField(*flag, true, payload.Bytes());
        }
    }
    SendRecord(record.id, payload.Data(), record.size, 0.0, OwnSonar.deviceId, OwnSonar.enumerator);
}
