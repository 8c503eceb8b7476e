// What is common to the ways in which a table is held to what was observed.
#pragma once

#include "handler_study.h"

#include <optional>
#include <string>
#include <vector>

namespace qx5::conformance {

/// One sentence, or none.
using Finding = std::optional<std::string>;

/// Whether the values of its form come from the stored tree as well.
bool CompletesByForm(Command const& table);
/// For whom the frame of a record is; none while it goes nowhere. What is passed on takes a sonar's port.
std::optional<Target> TargetOf(Sending const& sending, Study const& study, Case const& at);
/// The field that takes the key's text as far as it fits, or null.
protocol::Field const* TextFieldOf(protocol::RecordLayout const& record, protocol::Key const& key);
/// False for null.
bool IsTooLong(protocol::Value const* value, protocol::Field const& field);
/// What the record holds for the key, as a value of the key's kind.
protocol::Value ValueInRecord(protocol::RecordLayout const& record, protocol::Key const& key,
                              std::string const& payload);
bool IsSame(protocol::Value const& value, CVordalType const& vordal);
/// The operands that the echo tells, in its order.
std::vector<Operand const*> EchoedOf(Command const& table);
/// The case in short, for a finding.
std::string InCase(Case const& at, Study const& study);

/// A form that tells all: what comes of a request follows from the table.
Finding CheckPromises(Command const& table, Study& study);

// A way of its own: what the table tells is held to all that was observed.
Finding CheckSource(Command const& table, Operand const& operand, Study& study);
Finding CheckOptions(Command const& table, Operand const& operand, Study& study);
Finding CheckCases(Command const& table, Study& study);

/// Why the operand's option must stand at its default; empty when it says something.
std::string_view WhyTriggersSaysNothing(Command const& table, Operand const& operand);
std::string_view WhyOptionalSaysNothing(Command const& table, Operand const& operand);
std::string_view WhyFallbackSaysNothing(Command const& table, Operand const& operand);

} // namespace qx5::conformance
