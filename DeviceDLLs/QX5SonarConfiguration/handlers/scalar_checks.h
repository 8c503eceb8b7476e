// What is checked of a scalar row when it is compiled: the record's table tells what the scalar path sends.
#pragma once

#include "../QX5SonarConfigurationControlDevice.h"
#include "command.h"

namespace qx5 {

/// Whether RequestValue, told this kind, reads the key and sends the record as its table has it: a 32-bit integer, a
/// float or two angles in radians, and nothing else. Only floats have records that frame themselves.
constexpr bool FitsScalarPath(protocol::RecordLayout const& record, protocol::Key const& key, PARMTYPE kind)
{
    using protocol::Carrier;
    using protocol::Convert;
    using protocol::Kind;
    using protocol::Wire;

    auto const isPart = [&](std::size_t part, Wire wire, Convert convert) {
        protocol::Field const& field = record.fields[part];
        return field.key == &key && field.part == part && field.offset == 4 * part && field.wire == wire &&
               field.convert == convert;
    };
    bool const framesItself = kind == PARM_FLOAT && FramesItself(record.id);
    if (record.carrier != (framesItself ? Carrier::Data : Carrier::RemoteControl) ||
        (FramesItself(record.id) && !framesItself) || record.tail != protocol::Tail::None ||
        record.size != 4 * record.fields.size()) {
        return false;
    }
    switch (kind) {
    case PARM_INT:
        return key.kind == Kind::Int && record.fields.size() == 1 && isPart(0, Wire::I32, Convert::None);
    case PARM_FLOAT:
        return key.kind == Kind::Double && record.fields.size() == 1 && isPart(0, Wire::F32, Convert::None);
    case PARM_ANGLE_PAIR:
        return key.kind == Kind::Pair && record.fields.size() == 2 && isPart(0, Wire::F32, Convert::Radians) &&
               isPart(1, Wire::F32, Convert::Radians);
    }
    return false;
}

} // namespace qx5
