// Which release of the project the host library is of.
#include "library_version.h"

namespace vordal {

std::string_view LibraryVersion() noexcept
{
    return QX5_VERSION;
}

} // namespace vordal
