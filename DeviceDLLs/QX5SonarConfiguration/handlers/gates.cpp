// The handlers for gates: where the bottom detection may look.
#include "../QX5SonarConfigurationControlDevice.h"
#include "reading.h"
#include <commands/gates.h>

#include <protocol/pack.h>

#include <array>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace keys = qx5::protocol::keys;
namespace records = qx5::protocol::records;

namespace {

constexpr auto& pointFields = records::PipeRouteGating.ItemFields();

/// The keys of a point as the tree takes them, by field; a route may have many points.
constexpr auto pointAttributes = [] {
    std::array<AttributeKey, pointFields.size()> attributes;
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        attributes[i] = AttributeKey(pointFields[i].key != nullptr ? pointFields[i].key->text : std::wstring_view());
    }
    return attributes;
}();

/// Fills one point of a pipe route, `item` its bytes, from the point's branch. What is not there stays 0.
void PackPipeRoutePoint(CAttributeMap const& point, std::span<unsigned char> item)
{
    for (std::size_t i = 0; i < pointFields.size(); ++i) {
        protocol::Field const& field = pointFields[i];
        protocol::Value value;
        if (field.key != nullptr && ReadKey(point, *field.key, pointAttributes[i], value)) {
            protocol::PackField(field, value, item);
        }
    }
    double sampleRate = 0.0; // Hz
    double travelTime = 0.0; // s
    Read(point, At<keys::x5LorqDetSampleRate>, sampleRate);
    Read(point, At<keys::x5LorqDetBeamTwtt>, travelTime);
    protocol::PackField(records::DetectionSampleNumber, sampleRate * travelTime, item);
}

} // namespace

void ControlDevice::SendLorqGating(CAttributeMap* request)
{
    constexpr auto& groupKey = At<keys::x5LorqGating>;
    constexpr auto& pointKey = At<keys::x5LorqPipeRoutePoint>;
    protocol::RecordLayout const record = records::PipeRouteGating;

    CAttributeMap const& groups = *request;
    int const groupCount = groups.Count(groupKey);
    for (int g = 0; g < groupCount; ++g) {
        CAttributeMap const& group = groups.Find(groupKey, g);
        int const pointCount = group.Count(pointKey);
        protocol::Payload payload(record.size + std::size_t{record.itemSize} * static_cast<std::size_t>(pointCount));
        protocol::PackConstants(record, payload.Bytes());
        protocol::PackField(records::PipeRoutePointCount, pointCount, payload.Bytes());
        std::span<unsigned char> rest = payload.Bytes().subspan(record.size);
        for (int p = 0; p < pointCount; ++p) {
            PackPipeRoutePoint(group.Find(pointKey, p), rest.first(record.itemSize));
            rest = rest.subspan(record.itemSize);
        }
        SendRemote(record.id, payload, OwnSonar);
    }
}
