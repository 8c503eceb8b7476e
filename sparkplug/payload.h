// A Sparkplug B payload as plain values, and its bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace qx5::sparkplug {

/// What a metric's value is; the numbers are those on the wire.
enum class DataType : std::uint32_t
{
    Unknown = 0,
    Int8 = 1,
    Int16 = 2,
    Int32 = 3,
    Int64 = 4,
    UInt8 = 5,
    UInt16 = 6,
    UInt32 = 7,
    UInt64 = 8,
    Float = 9,
    Double = 10,
    Boolean = 11,
    String = 12,
    DateTime = 13, ///< milliseconds since 1970, UTC
    Text = 14,
    Uuid = 15,
    DataSet = 16,
    Bytes = 17,
    File = 18,
    Template = 19,
    PropertySet = 20,
    PropertySetList = 21,
    Int8Array = 22,
    Int16Array = 23,
    Int32Array = 24,
    Int64Array = 25,
    UInt8Array = 26,
    UInt16Array = 27,
    UInt32Array = 28,
    UInt64Array = 29,
    FloatArray = 30,
    DoubleArray = 31,
    BooleanArray = 32,
    StringArray = 33,
    DateTimeArray = 34,
};

/// A data set, a template, a nested property set or an extension: that there is one is all that is kept of it.
struct ForeignValue
{
    friend bool operator==(ForeignValue, ForeignValue) = default;
};

/// A value as it stands on the wire, monostate for none: whole numbers of up to 32 bits, of up to 64 bits, both in
/// two's complement; UTF-8; the bytes of arrays and files. What it means tells the data type.
using WireValue = std::variant<std::monostate, std::uint32_t, std::uint64_t, float, double, bool, std::string,
                               std::vector<unsigned char>, ForeignValue>;

struct Property
{
    std::string key;
    DataType type = DataType::Unknown;
    WireValue value; ///< monostate: null

    friend bool operator==(Property const&, Property const&) = default;
};

struct Metric
{
    std::string name; ///< UTF-8; empty for none, as where the alias tells it
    std::optional<std::uint64_t> alias;
    std::optional<std::uint64_t> timestamp; ///< milliseconds since 1970, UTC
    DataType type = DataType::Unknown;      ///< Unknown: left out on the wire; it may be a number without a name here
    bool isHistorical = false;              ///< of the past: it does not replace what is newer
    bool isTransient = false;               ///< not to be kept in histories
    WireValue value;                        ///< monostate: null
    std::vector<Property> properties;

    friend bool operator==(Metric const&, Metric const&) = default;
};

struct Payload
{
    std::optional<std::uint64_t> timestamp; ///< milliseconds since 1970, UTC
    std::vector<Metric> metrics;
    std::optional<std::uint64_t> seq;
    std::string uuid;                ///< empty for none
    std::vector<unsigned char> body; ///< empty for none

    friend bool operator==(Payload const&, Payload const&) = default;
};

/// No payload of more bytes is made, and none is read: it is refused before anything is taken apart.
inline constexpr std::size_t PayloadLimit = std::size_t{4} << 20;
/// As many metrics, keys and values of properties, counted together, may a payload have. They are counted before
/// anything is allocated for one.
inline constexpr std::size_t ItemLimit = 262'144;

/// The bytes; nothing, and one line in `error`, when the payload is beyond a limit. Any thread.
std::optional<std::string> EncodePayload(Payload const& payload, std::string& error);

/// Takes any bytes. Nothing, and one line in `error`, when they are no payload, or one beyond a limit, or when the text
/// of a name or of a property's key is no UTF-8. Fields that are not known are skipped. Any thread.
std::optional<Payload> DecodePayload(std::string_view bytes, std::string& error);

} // namespace qx5::sparkplug
