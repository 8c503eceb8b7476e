// What a scalar row of the chain reads and sends, by its kind, and what is checked of the row when it is compiled.
#pragma once

#include "../QX5SonarConfigurationControlDevice.h"
#include <commands/command.h>

#include <algorithm>
#include <span>

namespace qx5 {

/// The value that a scalar is read as, and the fields that are its whole payload.
struct ScalarShape
{
    protocol::Kind kind;
    std::span<protocol::Field const> fields;
};

namespace scalar_fields {

inline constexpr protocol::Field wholeNumber[]{{.wire = protocol::Wire::I32}};
inline constexpr protocol::Field number[]{{.wire = protocol::Wire::F32}};
inline constexpr protocol::Field angles[]{
    {.offset = 0, .wire = protocol::Wire::F32, .convert = protocol::Convert::Radians, .part = 0},
    {.offset = 4, .wire = protocol::Wire::F32, .convert = protocol::Convert::Radians, .part = 1}};

} // namespace scalar_fields

/// No fields: that number is no kind of scalar.
constexpr ScalarShape ShapeOf(PARMTYPE kind)
{
    switch (kind) {
    case PARM_INT:
        return {protocol::Kind::Int, scalar_fields::wholeNumber};
    case PARM_FLOAT:
        return {protocol::Kind::Double, scalar_fields::number};
    case PARM_ANGLE_PAIR:
        return {protocol::Kind::Pair, scalar_fields::angles};
    }
    return {protocol::Kind::Any, {}};
}

/// Whether RequestValue, told this kind, reads the key and sends the record as its table has it, and nothing else. Only
/// floats have records that frame themselves.
constexpr bool FitsScalarPath(protocol::RecordLayout const& record, protocol::Key const& key, PARMTYPE kind)
{
    ScalarShape const shape = ShapeOf(kind);
    auto const isThat = [&](protocol::Field const& ofRecord, protocol::Field const& ofShape) {
        return ofRecord.key == &key && ofRecord.part == ofShape.part && ofRecord.offset == ofShape.offset &&
               ofRecord.wire == ofShape.wire && ofRecord.convert == ofShape.convert;
    };
    bool const framesItself = FramesItself(record.id);
    return !shape.fields.empty() && key.kind == shape.kind && (!framesItself || kind == PARM_FLOAT) &&
           record.carrier == (framesItself ? protocol::Carrier::Data : protocol::Carrier::RemoteControl) &&
           record.tail == protocol::Tail::None && record.size == 4 * shape.fields.size() &&
           std::equal(record.fields.begin(), record.fields.end(), shape.fields.begin(), shape.fields.end(), isThat);
}

} // namespace qx5
