// What Windows says of a problem.
#pragma once

#include <string>

namespace vordal::platform {

/// The system's words for a number of GetLastError, in UTF-8, without a line end.
std::string SystemText(unsigned long problem);

} // namespace vordal::platform
