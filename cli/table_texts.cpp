// What the record tables say, in words.
#include "cli/table_texts.h"

#include <fmt/format.h>

namespace qx5::cli {

std::string_view ConvertText(protocol::Convert convert)
{
    using protocol::Convert;
    switch (convert) {
    case Convert::None:
        return "";
    case Convert::Radians:
        return "degrees to radians";
    case Convert::NegatedRadians:
        return "negated, degrees to radians";
    case Convert::RadiansByFactor:
        return "degrees to radians, by one factor";
    case Convert::NegatedRadiansByFactor:
        return "negated, degrees to radians, by one factor";
    case Convert::Negated:
        return "negated";
    case Convert::TimesThousand:
        return "x 1000";
    case Convert::Thousandth:
        return "/ 1000";
    case Convert::TimesTwenty:
        return "x 20, modulo 65536";
    case Convert::FifthOfFloat:
        return "/ 5 in single precision";
    case Convert::Truncated:
        return "cut toward zero";
    case Convert::SetWhenZero:
        return "set when the value is 0";
    case Convert::SetWhenOne:
        return "set when the value is exactly 1";
    case Convert::PlusOne:
        return "+ 1";
    case Convert::Computed:
        return "worked out by the handler";
    }
    return "";
}

std::string_view CarrierName(protocol::Carrier carrier)
{
    using protocol::Carrier;
    switch (carrier) {
    case Carrier::RemoteControl:
        return "command";
    case Carrier::Data:
        return "data";
    case Carrier::PassThrough:
        return "passed on";
    }
    return "";
}

std::string Place(protocol::Field const& field)
{
    std::string place = fmt::format("@{}", field.offset);
    switch (field.wire) {
    case protocol::Wire::BitOfU16:
    case protocol::Wire::BitOfU32:
    case protocol::Wire::BitOfU64:
        place += fmt::format(" bit {}", field.extent);
        break;
    case protocol::Wire::BitsOfU32:
        place += fmt::format(" bits {}..{}", field.extent, field.extent + field.bitCount - 1);
        break;
    default:
        break;
    }
    return place;
}

} // namespace qx5::cli
