// What a recorder of this program is given.
#include "recorder_options.h"

#include <utility>

namespace qx5::cli {

recording::RecorderOptions RecorderOptionsOf(std::vector<Fact> const& program,
                                             std::function<void(std::string const&)> tell)
{
    recording::RecorderOptions options;
    for (Fact const& fact : program) {
        options.program.emplace_back(fact.name == "qx5" ? "version" : fact.name, fact.value);
    }
    options.tell = std::move(tell);
    return options;
}

} // namespace qx5::cli
