// What happens aboard as entries of the outbox.
#pragma once

#include "authority/shore_messages.h"
#include "operation/action.h"
#include "operation/event_list.h"

#include <string>

namespace qx5::vessel {

/// {"time", "sonar", "event", "severity", "who", "key", "asked", "got", "text"} on one line; "text" is the event as a
/// status bar shows it.
std::string JsonOf(operation::Event const& event);

/// {"time", "who", "sonar", "sender", "number", "result", "reason"} on one line: what came of a numbered request.
std::string JsonOf(authority::RequestReply const& reply, std::string const& sonar, std::string const& person,
                   double utc);

} // namespace qx5::vessel
