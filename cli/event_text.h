// What a session saw, as text for people.
#pragma once

#include "session.h"

#include <string>

namespace qx5::cli {

/// The event with every line behind `indent`; a frame field by field, with its bytes when asked for.
std::string EventText(SessionEvent const& event, std::string_view indent, bool bytes);

/// Puts `indent` in front of every line.
std::string Indented(std::string_view text, std::string_view indent);

} // namespace qx5::cli
