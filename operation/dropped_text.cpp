// The line on a dropped request.
#include "operation/dropped_text.h"

#include <tvcoreR/Utf8.h>

#include <fmt/format.h>

namespace qx5::operation {

std::string DroppedText(AttributeKey const& asked, AttributeKey const& missing)
{
    std::string const name = tvcore::ToUtf8(asked.ToString());
    if (asked == missing) {
        return name + " has a value of another kind, and the sonar's tree has none";
    }
    return fmt::format("{} needs {}, which is neither in the request nor in the sonar's tree", name,
                       tvcore::ToUtf8(missing.ToString()));
}

} // namespace qx5::operation
