// A value of a tree as shells are told of it.
#pragma once

#include "operation/action.h"
#include "shell/shell_messages.h"
#include "shell/value_watch.h"

namespace qx5::shell {

/// The unit of the key, empty for none or for a key that is in no table.
std::string UnitOf(std::wstring_view key);

/// `sonar` is its name; `time` in seconds, as the host counts them.
ToldValue Tell(std::string const& sonar, double time, ValueRow const& row);

/// What came of an action, as the log of actions tells it.
Outcome OutcomeOf(operation::Action const& action);

/// "x5Range = 50 m": for people. The value of JSON, lists with commas between their items, texts as they are.
std::string TextOf(ToldValue const& told);
/// The same of a value alone; "none" for null.
std::string ValueText(std::string const& json, std::string const& unit);

} // namespace qx5::shell
