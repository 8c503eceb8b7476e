// A host library of another release, as far as a program asks it: loaded before it, it answers in its place.
#include "reference_host/common/library_version.h"

namespace vordal {

std::string_view LibraryVersion() noexcept
{
    return "0.0.9";
}

} // namespace vordal
