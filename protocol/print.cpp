// Line by line: what each field of a record says.
#include <protocol/print.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <type_traits>

#include <protocol/catalogue.h>
#include <protocol/echo_records.h>
#include <protocol/house_records.h>
#include <protocol/numbers.h>
#include <protocol/tree_codec.h>
#include <protocol/unpack.h>
#include <protocol/utf8.h>

namespace qx5::protocol {

namespace {

/// A hostile record must not print for ever.
constexpr std::size_t MostItems = 1000;
constexpr std::size_t MostLines = 10000;
constexpr std::size_t MostDamagedBytes = 256;

template <typename Number>
std::string ShortestText(Number value)
{
    if (std::isnan(value)) {
        return "nan";
    }
    std::array<char, 64> text;
    auto const result = std::to_chars(text.data(), text.data() + text.size(), value);
    return std::string(text.data(), result.ptr);
}

std::string Hex(std::uint64_t value, int digits)
{
    std::string text(static_cast<std::size_t>(digits), '0');
    for (auto digit = text.rbegin(); digit != text.rend(); ++digit, value >>= 4) {
        *digit = "0123456789abcdef"[value & 0xFU];
    }
    return text;
}

/// UTF-8 with quotes, backslashes and control characters escaped: what a terminal may be given from outside.
std::string Escaped(std::wstring_view text)
{
    std::string escaped;
    for (std::size_t at = 0; at < text.size();) {
        auto const codePoint = NextCodePoint(text, at);
        if (codePoint == '"' || codePoint == '\\') {
            (escaped += '\\') += static_cast<char>(codePoint);
        } else if (codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0)) {
            (escaped += "\\x") += Hex(codePoint, 2);
        } else {
            AppendUtf8(escaped, codePoint);
        }
    }
    return escaped;
}

std::string Quoted(std::wstring_view text)
{
    return '"' + Escaped(text) + '"';
}

template <typename Numbers>
std::string Bracketed(Numbers const& numbers)
{
    std::string text = "[";
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (i > 0) {
            text += ", ";
        }
        if (i == MostItems) {
            text += "and " + std::to_string(numbers.size() - i) + " more";
            break;
        }
        if constexpr (std::is_floating_point_v<typename Numbers::value_type>) {
            text += NumberText(numbers[i]);
        } else {
            text += std::to_string(numbers[i]);
        }
    }
    return text += "]";
}

std::string Narrow(std::wstring_view text)
{
    return EncodeUtf8(text);
}

std::string WithUnit(std::string text, Unit unit)
{
    if (unit != Unit::None) {
        (text += ' ') += UnitText(unit);
    }
    return text;
}

/// The wire's own value; a float as the shortest text of a float.
std::string WireValueText(FieldValue const& value)
{
    if (value.field->wire == Wire::TimeX5) {
        auto const* const seconds = std::get_if<double>(&value.wire);
        return seconds != nullptr ? TimeText(ToTimeX5(*seconds)) : "no time";
    }
    if (auto const* real = std::get_if<double>(&value.wire); real != nullptr && value.field->wire == Wire::F32) {
        return NumberText(NarrowToFloat(*real));
    }
    return ValueText(value.wire);
}

/// Of a number on the wire.
double NumberOf(Value const& wire)
{
    if (auto const* const whole = std::get_if<std::uint32_t>(&wire)) {
        return *whole;
    }
    if (auto const* const signedWhole = std::get_if<std::int32_t>(&wire)) {
        return *signedWhole;
    }
    auto const* const real = std::get_if<double>(&wire);
    return real != nullptr ? *real : 0.0;
}

/// The attribute's value; what came from a float is told to a float's precision, so that 10 degrees read "10".
std::string AttributeText(FieldValue const& value)
{
    if (auto const* real = std::get_if<double>(&value.attribute); real != nullptr && value.field->wire == Wire::F32) {
        return NumberText(NarrowToFloat(*real));
    }
    return ValueText(value.attribute);
}

std::string Place(Field const& field)
{
    std::string place = "@" + std::to_string(field.offset);
    bool const bit = field.wire == Wire::BitOfU16 || field.wire == Wire::BitOfU32 || field.wire == Wire::BitOfU64;
    if (bit) {
        place += "." + std::to_string(field.extent);
    } else if (field.wire == Wire::BitsOfU32) {
        place += "." + std::to_string(field.extent) + "-" + std::to_string(field.extent + field.bitCount - 1);
    }
    place.resize(std::max<std::size_t>(place.size(), 3), ' ');
    std::string wire(WireText(field.wire));
    wire.resize(std::max<std::size_t>(wire.size(), 4), ' ');
    return place + " " + wire;
}

std::string FieldName(Field const& field)
{
    if (field.key == nullptr) {
        return field.name.empty() ? "constant" : std::string(field.name);
    }
    std::string name = Narrow(field.key->text);
    if (field.key->kind == Kind::Pair || field.key->kind == Kind::Offset) {
        name += "[" + std::to_string(field.part) + "]";
    }
    return name;
}

std::string FieldLine(FieldValue const& value)
{
    Field const& field = *value.field;
    std::string line = Place(field) + " " + FieldName(field) + " = ";
    if (field.key == nullptr) {
        return line + WithUnit(WireValueText(value), WireUnit(field));
    }
    if (field.convert == Convert::Computed) {
        return line + "(wire " + WithUnit(WireValueText(value), WireUnit(field)) + ")";
    }
    if (field.wire == Wire::TimeX5) {
        return line + WireValueText(value);
    }
    line += WithUnit(AttributeText(value), field.key->unit);
    if (field.convert != Convert::None) {
        line += "  (wire " + WithUnit(WireValueText(value), WireUnit(field)) + ")";
    }
    return line;
}

std::string PrintFields(std::span<FieldValue const> fields, std::string_view indent)
{
    std::string text;
    for (FieldValue const& field : fields) {
        ((text += indent) += FieldLine(field)) += '\n';
    }
    return text;
}

/// Few numbers are listed; of many, such as the levels of a water column, their number and range say more.
constexpr std::size_t MostListed = 8;

std::string ArrayLine(UnpackedArray const& array, std::span<unsigned char const> payload)
{
    Field field{.offset = 0, .wire = array.array->wire};
    std::string line = Place({.offset = 0, .wire = field.wire}).substr(3);
    line = "@" + std::to_string(array.offset) + line + " " + std::string(array.array->name) + " = ";
    std::size_t const width = WidthOf(field);
    auto const bytes = payload.subspan(array.offset, array.size);
    auto const numberAt = [&](std::size_t at) { return UnpackField(field, bytes.subspan(at, width)); };
    if (bytes.size() <= MostListed * width) {
        std::string list;
        for (std::size_t at = 0; at < bytes.size(); at += width) {
            list += (list.empty() ? "" : ", ") + WireValueText(numberAt(at));
        }
        return line + WithUnit("[" + list + "]", array.array->unit);
    }
    line += (array.array->rows.empty() ? "" : std::to_string(array.rows) + " x ") + std::to_string(array.count) +
            " numbers";
    FieldValue least;
    FieldValue greatest;
    for (std::size_t at = 0; at < bytes.size(); at += width) {
        FieldValue const value = numberAt(at);
        double const number = NumberOf(value.wire);
        if (std::isnan(number)) {
            continue;
        }
        if (least.field == nullptr || number < NumberOf(least.wire)) {
            least = value;
        }
        if (greatest.field == nullptr || number > NumberOf(greatest.wire)) {
            greatest = value;
        }
    }
    if (least.field != nullptr) {
        line += " from " + WireValueText(least) + " to " + WithUnit(WireValueText(greatest), array.array->unit);
    }
    return line;
}

std::string PrintTail(RecordLayout const& layout, UnpackedRecord const& record, std::span<unsigned char const> payload,
                      std::string_view indent)
{
    std::string const inner = std::string(indent) + "  ";
    std::string name(layout.tailName);
    if (layout.tailKey != nullptr) {
        name = Narrow(layout.tailKey->text);
    }
    std::string const place = std::string(indent) + "@" + std::to_string(layout.size) + " ";
    std::string text;
    switch (layout.tail) {
    case Tail::None:
        break;
    case Tail::Items:
        for (std::size_t i = 0; i < record.items.size(); ++i) {
            if (i == MostItems) {
                text += std::string(indent) + "and " + std::to_string(record.items.size() - i) + " more items\n";
                break;
            }
            text += std::string(indent) + "item " + std::to_string(i) + " @" +
                    std::to_string(layout.size + i * layout.itemSize) + "\n" + PrintFields(record.items[i], inner);
        }
        break;
    case Tail::I32List:
    case Tail::U32List:
    case Tail::U16List: {
        std::string numbers;
        auto const* const words = std::get_if<std::vector<std::int32_t>>(&record.tail);
        if (words != nullptr && layout.tail == Tail::U32List) {
            numbers = Bracketed(std::vector<std::uint32_t>(words->begin(), words->end()));
        } else {
            numbers = ValueText(record.tail);
        }
        text += place + (name.empty() ? "list" : name) + " = " + numbers + "\n";
        break;
    }
    case Tail::Utf8:
    case Tail::Utf8Z:
        text += place + (name.empty() ? "text" : name) + " = " + ValueText(record.tail) + "\n";
        break;
    case Tail::Arrays:
        for (UnpackedArray const& array : record.arrays) {
            text += std::string(indent) + ArrayLine(array, payload) + '\n';
        }
        break;
    case Tail::Bytes:
        text += place + (name.empty() ? "bytes" : name) + ", " + std::to_string(record.tailBytes.size()) + " bytes\n" +
                HexDump(record.tailBytes, inner);
        break;
    }
    return text;
}

/// `lines` is what may still be printed. Recursion ends with the depth that the decoder lets through.
void PrintNodes(std::span<TreeNode const> nodes, std::string const& indent, std::size_t& lines, std::string& text)
{
    for (TreeNode const& node : nodes) {
        if (lines == 0) {
            return;
        }
        if (--lines == 0) {
            text += indent + "and more\n";
            return;
        }
        text += indent + Escaped(node.key);
        if (!IsEmpty(node.value)) {
            Key const* const key = FindKey(node.key);
            text += " = " + WithUnit(ValueText(node.value), key != nullptr ? key->unit : Unit::None);
        }
        text += '\n';
        PrintNodes(node.children, indent + "  ", lines, text);
    }
}

std::string TargetText(std::uint32_t device, std::uint32_t enumerator)
{
    return "device " + std::to_string(device) + ", enumerator " + std::to_string(enumerator);
}

std::string_view RecordName(Carrier carrier, std::uint32_t id, std::span<unsigned char const> payload)
{
    RecordLayout const* const layout = FindLayout(carrier, id, payload);
    return layout != nullptr ? layout->name : std::string_view("unknown");
}

/// Of the records with contents of their own: nothing when the payload is none of these or damaged.
std::string PrintHouseRecord(std::uint32_t id, std::span<unsigned char const> payload, std::string_view indent)
{
    std::string text;
    if (id == records::AttributeTree.Id()) {
        std::string error;
        auto const nodes = DecodeTree(payload, error);
        if (!nodes) {
            return std::string(indent) + "damaged: " + error + "\n" + HexDump(payload, indent);
        }
        std::size_t lines = MostLines;
        PrintNodes(*nodes, std::string(indent), lines, text);
    } else if (IsOfEchoes(id)) {
        if (auto const damage = DamageOfEchoes(id, payload); !damage.empty()) {
            return std::string(indent) + "damaged: " + damage + "\n" + HexDump(payload, indent, MostDamagedBytes);
        }
    } else if (id == records::PassThroughCommand.Id()) {
        auto const command = DecodePassThrough(payload);
        if (!command) {
            return text;
        }
        auto const name = RecordName(Carrier::PassThrough, command->commandId, command->payload);
        auto const enumerator = Low16Bits(command->target.enumerator);
        text = std::string(indent) + "passes command " + std::to_string(command->commandId) + " " + std::string(name) +
               " to " + TargetText(static_cast<std::uint32_t>(command->target.deviceId), enumerator) + "\n";
        text += PrintPayload(Carrier::PassThrough, command->commandId, command->payload, std::string(indent) + "  ");
    }
    return text;
}

} // namespace

std::string_view UnitText(Unit unit)
{
    switch (unit) {
    case Unit::None:
        return "";
    case Unit::Metre:
        return "m";
    case Unit::MetrePerSecond:
        return "m/s";
    case Unit::Degree:
        return "deg";
    case Unit::Radian:
        return "rad";
    case Unit::Celsius:
        return "degC";
    case Unit::Second:
        return "s";
    case Unit::Millisecond:
        return "ms";
    case Unit::Microsecond:
        return "us";
    case Unit::Nanosecond:
        return "ns";
    case Unit::Hertz:
        return "Hz";
    case Unit::Kilohertz:
        return "kHz";
    case Unit::Decibel:
        return "dB";
    case Unit::DecibelPerKilometre:
        return "dB/km";
    case Unit::PingPerSecond:
        return "pings/s";
    case Unit::Percent:
        return "%";
    case Unit::BitPerSecond:
        return "bit/s";
    case Unit::Byte:
        return "bytes";
    }
    return "";
}

std::string_view WireText(Wire wire)
{
    switch (wire) {
    case Wire::U8:
        return "u8";
    case Wire::U16:
        return "u16";
    case Wire::U32:
        return "u32";
    case Wire::I32:
        return "i32";
    case Wire::F32:
        return "f32";
    case Wire::F64:
        return "f64";
    case Wire::BitOfU16:
    case Wire::BitOfU32:
    case Wire::BitOfU64:
        return "bit";
    case Wire::BitsOfU32:
        return "bits";
    case Wire::Text:
    case Wire::Bytes:
        return "text";
    case Wire::TimeX5:
        return "time";
    }
    return "";
}

std::string NumberText(double value)
{
    return ShortestText(value);
}

std::string NumberText(float value)
{
    return ShortestText(value);
}

std::string ValueText(Value const& value)
{
    struct Visitor
    {
        std::string operator()(std::monostate) const { return "none"; }
        std::string operator()(std::int32_t number) const { return std::to_string(number); }
        std::string operator()(std::uint32_t number) const { return std::to_string(number); }
        std::string operator()(std::int64_t number) const { return std::to_string(number); }
        std::string operator()(bool flag) const { return flag ? "true" : "false"; }
        std::string operator()(double number) const { return NumberText(number); }
        std::string operator()(std::pair<double, double> const& pair) const
        {
            return "(" + NumberText(pair.first) + ", " + NumberText(pair.second) + ")";
        }
        std::string operator()(DataReference const& reference) const
        {
            std::string text;
            for (auto const part : reference) {
                text += (text.empty() ? "" : ".") + std::to_string(part);
            }
            return text;
        }
        std::string operator()(std::wstring const& text) const { return Quoted(text); }
        std::string operator()(std::vector<std::int32_t> const& numbers) const { return Bracketed(numbers); }
        std::string operator()(std::vector<double> const& numbers) const { return Bracketed(numbers); }
        std::string operator()(std::array<double, 3> const& axes) const
        {
            return "(" + NumberText(axes[0]) + ", " + NumberText(axes[1]) + ", " + NumberText(axes[2]) + ")";
        }
    };
    return std::visit(Visitor{}, value);
}

std::string HexDump(std::span<unsigned char const> bytes, std::string_view indent, std::size_t limit)
{
    constexpr std::size_t perLine = 16;
    std::string text;
    std::size_t const shown = std::min(bytes.size(), limit);
    for (std::size_t at = 0; at < shown; at += perLine) {
        auto const line = bytes.subspan(at, std::min(perLine, shown - at));
        ((text += indent) += Hex(at, 6)) += ' ';
        std::string characters;
        for (std::size_t i = 0; i < perLine; ++i) {
            if (i >= line.size()) {
                text += "   ";
                continue;
            }
            (text += ' ') += Hex(line[i], 2);
            characters += line[i] >= 0x20 && line[i] < 0x7F ? static_cast<char>(line[i]) : '.';
        }
        ((text += "  ") += characters) += '\n';
    }
    if (shown < bytes.size()) {
        ((text += indent) += "and " + std::to_string(bytes.size() - shown) + " bytes more\n");
    }
    return text;
}

std::string PrintPayload(RecordLayout const& layout, std::span<unsigned char const> payload, std::string_view indent)
{
    UnpackedRecord const record = Unpack(layout, payload);
    std::string text = PrintFields(record.fields, indent);
    if (record.missingBytes > 0) {
        (text += indent) += std::to_string(record.missingBytes) + " bytes missing\n";
        return text;
    }
    text += PrintTail(layout, record, payload, indent);
    if (record.excessBytes > 0) {
        (text += indent) += std::to_string(record.excessBytes) + " bytes too many\n";
        text += HexDump(payload.last(record.excessBytes), std::string(indent) + "  ");
    }
    return text;
}

std::string PrintPayload(Carrier carrier, std::uint32_t id, std::span<unsigned char const> payload,
                         std::string_view indent)
{
    if (auto text = PrintHouseRecord(id, payload, indent); !text.empty()) {
        return text;
    }
    RecordLayout const* const layout = FindLayout(carrier, id, payload);
    return layout != nullptr ? PrintPayload(*layout, payload, indent) : HexDump(payload, indent);
}

std::string PrintFrame(FrameView const& frame)
{
    FrameHeader const& header = frame.header;
    auto const command = ParseRemoteControl(frame);
    std::string_view const name = header.recordId == RemoteControlRecordId
                                      ? std::string_view("remote control")
                                      : RecordName(Carrier::Data, header.recordId, frame.data);
    std::string text = "record " + std::to_string(header.recordId) + " " + std::string(name) + ", " +
                       std::to_string(header.totalSize) + " bytes, " + TargetText(header.deviceId, header.enumerator) +
                       ", " + TimeText(header.time) + "\n";
    if (!command) {
        return text + PrintPayload(Carrier::Data, header.recordId, frame.data, "  ");
    }
    text += "  command " + std::to_string(command->commandId) + " " +
            std::string(RecordName(Carrier::RemoteControl, command->commandId, command->payload)) + ", ticket " +
            std::to_string(command->ticket) + "\n";
    return text + PrintPayload(Carrier::RemoteControl, command->commandId, command->payload, "    ");
}

} // namespace qx5::protocol
