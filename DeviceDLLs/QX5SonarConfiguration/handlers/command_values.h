// The values of one command's operands while a request is carried out.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <commands/command.h>
#include <protocol/pack.h>
#include <protocol/value.h>

#include <array>
#include <cstddef>

namespace qx5 {

class EchoMap;

/// Values by operand, in the command's reading order. Lives on a handler's stack.
class CommandValues
{
public:
    /// No command has more operands.
    static constexpr std::size_t Capacity = 24;

    protocol::Value& operator[](std::size_t operand) { return m_values[operand]; }
    protocol::Value const& operator[](std::size_t operand) const { return m_values[operand]; }

private:
    std::array<protocol::Value, Capacity> m_values;
};

/// Whether the request has what lets the command start: one of the triggering keys of a strict or lax command, the
/// first key of the other forms; a command that reads in its own way always starts. Nearly always it has not, and this
/// is all that happens: test it before values are set up.
bool IsTriggered(CAttributeMap const& request, Command const& command);

/// The position of a key among the command's operands; the number of operands when it is not there.
std::size_t OperandOf(Command const& command, protocol::Key const& key);

/// Packs the record's constants and each of its keyed fields from the operand of the same key, converted as the row
/// says. Fields of keys that are no operands stay 0.
void PackOperands(Command const& command, CommandValues const& values, protocol::RecordLayout const& record,
                  protocol::Payload& payload);

/// Tells each operand in the echo's order, as its options say; `payload` is the record as it was sent.
void TellOperands(Command const& command, CommandValues const& values, protocol::RecordLayout const& record,
                  std::span<unsigned char const> payload, EchoMap& echo);

/// Packs one keyed field of a record; the record must have the key.
template <typename T>
void PackKey(protocol::RecordLayout const& record, protocol::Key const& key, T const& value, protocol::Payload& payload)
{
    for (protocol::Field const& field : record.fields) {
        if (field.key == &key) {
            protocol::PackField(field, value, payload.Bytes());
        }
    }
}

} // namespace qx5
