// How a command of the sonar is written down: which keys it reads and how, what it sends, what it echoes.
//
// One table serves the handler, `qx5 keys`, `qx5 explain` and the manual.
#pragma once

#include "attribute_at.h"
#include "chain.h"

#include <VordalAttributesR/AttributeKey.h>
#include <protocol/frame.h>
#include <protocol/record_layout.h>

#include <bit>
#include <cstdint>
#include <span>
#include <string_view>

namespace qx5 {

using protocol::OwnSonar;
using protocol::Target;
inline constexpr Target Processor = protocol::SonarProcessor;
inline constexpr Target PositioningUnit{9100, 0}; ///< the satellite positioning and inertial unit
/// The device's own sonar, under enumerator 0 in place of the configured one.
inline constexpr Target OwnSonarZero{0, 0};

/// How a command comes by the values of its keys.
enum class Form : std::uint8_t
{
    Direct,      ///< the one key, from the request
    Strict,      ///< any key triggers; each from the request, failing that from the stored tree; one missing drops all
    Lax,         ///< as strict, but a value found nowhere keeps its default
    AllRequired, ///< every key from the request
    Presence,    ///< that the key is there is enough; its value is not read
    Own,         ///< as the handler's note tells
};

/// Where the value of an operand is looked for.
enum class Source : std::uint8_t
{
    AsForm,    ///< as the command's form says; not in a table of the form Own
    Request,   ///< in the request alone
    Completed, ///< in the request and, failing that, in the stored tree
    Stored,    ///< in the stored tree alone; such a key cannot be requested here
    Branch,    ///< among the children of the branch that is the command's first operand
    Told,      ///< nowhere: the command tells the key of its own accord, with a form that tells all as the fallback
};

/// What the echo carries for an operand.
enum class Echo : std::uint8_t
{
    AsRead,   ///< the value as it was read
    AsSent,   ///< the value as it stands in the record, widened or cut
    WhenTrue, ///< as read, if that is true
    None,
};

/// What becomes of a text that, as UTF-8, needs more bytes than its field can take.
enum class LongTexts : std::uint8_t
{
    Cut,     ///< it goes out as far as it fits
    Refused, ///< the whole request is dropped: nothing is sent, nothing echoed
};

/// What becomes of the values that a command is given.
enum class Keeps : std::uint8_t
{
    /// The command acts once, switches transmission or a recording, hands data on, tells the place that the sonar has
    /// on its vessel and in the network, or sets one of several like things of which no tree holds all.
    Nothing,
    /// The sonar keeps them until it is given others, and the device's tree holds them: its settings.
    Settings,
};

/// The less usual properties of an operand; name what differs.
struct OperandOptions
{
    Source source = Source::AsForm;
    Echo echo = Echo::AsRead;
    bool triggers = true;  ///< its presence lets a strict or lax command start
    bool optional = false; ///< the command goes on without it, with the fallback where it needs a value
    double fallback = 0.0; ///< the value when it is found nowhere: a number; a bool is true when it is not 0
};

/// One key that a command reads.
struct Operand
{
    constexpr Operand(protocol::Key const& operandKey, OperandOptions const& operandOptions = {})
        : key(&operandKey), attribute(operandKey.text), options(operandOptions)
    {
    }

    protocol::Key const* key;
    AttributeKey attribute;
    OperandOptions options;
};

/// Whom the frame of a record names.
enum class Addressee : std::uint8_t
{
    Target,       ///< the target that the table tells
    StoredDevice, ///< the stored tree's "DeviceId", 0 when it is not there, under the enumerator that the table tells
    StoredSonar,  ///< "DeviceId" and "DeviceEnum" of the stored tree; nothing is sent while the former is 0
};

/// What a part of a command hangs on, once the command goes through.
struct Condition
{
    enum class Kind : std::uint8_t
    {
        Always,
        Set,    ///< the value of the first operand is true, or not 0
        Clear,  ///< it is false, or 0
        Stated, ///< the text tells what, and somebody else sees to it: the handler, the port
    };

    constexpr Condition() = default;
    constexpr Condition(Kind conditionKind, std::string_view conditionText) : kind(conditionKind), text(conditionText)
    {
    }
    constexpr Condition(char const* stated) : kind(Kind::Stated), text(stated) {}

    constexpr bool IsAlways() const { return kind == Kind::Always; }

    Kind kind = Kind::Always;
    std::string_view text = {}; ///< what follows "when"; empty for always
};

inline constexpr Condition WhenTrue{Condition::Kind::Set, "the value is true"};
inline constexpr Condition WhenNot0{Condition::Kind::Set, "the value is not 0"};
inline constexpr Condition When0{Condition::Kind::Clear, "the value is 0"};

/// One record that a command sends.
struct Sending
{
    protocol::RecordLayout record;
    Target target = OwnSonar;
    Condition when = {};
    Addressee addressee = Addressee::Target;
};

/// Whether the scalar path frames a record of that id itself, in place of wrapping it in a remote-control record.
constexpr bool FramesItself(std::int64_t recordId)
{
    return recordId >= 7600 && recordId <= 7699;
}

/// A record that a command asks the sonar for afterwards.
struct FollowUp
{
    std::uint32_t recordId;
    Target target = OwnSonar;
    Condition when = {};
};

inline constexpr int NoEcho = -1;

/// What a tree's CAttributeMap::KeyFilter must show if the tree has any of certain keys. Each key sets two bits there:
/// one of the lower bits of these keys is set, and one of the upper.
struct KeyFilter
{
    std::uint64_t lowerBits = 0;
    std::uint64_t upperBits = 0;

    constexpr bool Passes(std::uint64_t treeFilter) const
    {
        return (treeFilter & lowerBits) != 0 && (treeFilter & upperBits) != 0;
    }
};

/// The filter of the operands' keys.
constexpr KeyFilter FilterOf(std::span<Operand const> operands)
{
    KeyFilter filter;
    for (Operand const& operand : operands) {
        std::uint64_t const bits = operand.attribute.Filter();
        filter.lowerBits |= std::uint64_t{1} << std::countr_zero(bits);
        filter.upperBits |= std::bit_floor(bits);
    }
    return filter;
}

/// One command. The spans are views of tables of static storage.
struct Command
{
    Form form = Form::Own;
    Keeps keeps = Keeps::Nothing;
    /// The branch of the device's tree that holds the settings, one for each operation mode; null: its root does.
    protocol::Key const* keptIn = nullptr;
    std::span<Operand const> operands = {};      ///< in reading order
    std::span<Sending const> sends = {};         ///< in sending order
    int echoFlags = NoEcho;                      ///< the flag word of the echo
    std::span<Operand const* const> echoes = {}; ///< the echo's order where it is not the reading order
    std::span<FollowUp const> followUps = {};
    LongTexts longTexts = LongTexts::Cut;
    KeyFilter keyFilter = FilterOf(operands); ///< a tree that does not pass has none of the keys
    std::string_view note = {};               ///< what the tables do not tell, in one or two sentences
};

/// Whether the chain has a row for a handler of that name.
constexpr bool HasRow(std::string_view handler)
{
#define QX5_IS_IT(name, ...) || handler == #name
#define QX5_IS_NOT(...)
    return false QX5_REQUEST_CHAIN(QX5_IS_IT, QX5_IS_IT, QX5_IS_IT, QX5_IS_NOT);
#undef QX5_IS_IT
#undef QX5_IS_NOT
}

/// Begins the table of the command that the chain's row of that name carries out.
#define QX5_COMMAND(name)                                                                                              \
    static_assert(HasRow(#name), "this command has no row in commands/chain.h: no request would ever reach it");       \
    inline constexpr Command name

/// False when a tree of this CAttributeMap::KeyFilter certainly has nothing that lets the command start. With a command
/// known to the compiler this is one comparison or two.
constexpr bool MayConcern(std::uint64_t treeFilter, Command const& command)
{
    return command.form == Form::Own || command.keyFilter.Passes(treeFilter);
}

} // namespace qx5
