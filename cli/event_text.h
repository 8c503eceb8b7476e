// What a session saw, as text for people and as JSON for scripts.
#pragma once

#include "session.h"

#include "json/json_value.h"

#include <string>

namespace qx5::cli {

/// The event with every line behind `indent`; a frame field by field, with its bytes when asked for.
std::string EventText(SessionEvent const& event, std::string_view indent, bool bytes);

/// Puts `indent` in front of every line.
std::string Indented(std::string_view text, std::string_view indent);

/// The same for scripts: {"event": "sent", ...} with the members of RecordMembers for a frame (of what is none "bytes"
/// alone), "flags" and "tree" of an echo, "tree" of what was asked for, "text" of all else.
JsonValue EventJson(SessionEvent const& event);

} // namespace qx5::cli
