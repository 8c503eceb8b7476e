// `qx5 log`: who asked which sonar for what, as a project keeps it.
#include "cli/commands.h"

#include "operation/action_log.h"
#include "reference_host/common/path_text.h"

#include <string>

#include <tvcoreR/Utf8.h>

#include <fmt/format.h>

namespace qx5::cli {

int ShowLog(ShowLogOptions const& options)
{
    auto const isMeant = [&](vordal::StoredAction const& action) {
        return (options.sonar.empty() || action.sonarName == options.sonar ||
                tvcore::ToUtf8(action.sonar.GetKey()) == options.sonar) &&
               action.key.find(options.key) != std::string::npos;
    };
    if (options.csv) {
        fmt::print("{}\r\n", operation::CsvHeader());
    }
    vordal::LogDamage damage;
    try {
        damage =
            vordal::ProjectStore::ReadActions(vordal::PathOf(options.project), [&](vordal::StoredAction const& action) {
                if (!isMeant(action)) {
                    return;
                }
                if (options.csv) {
                    fmt::print("{}\r\n", operation::CsvLine(action));
                } else {
                    fmt::print("{}\n", options.json ? operation::JsonLine(action) : operation::PlainLine(action));
                }
            });
    } catch (vordal::StoreError const& failure) {
        return Complain(ExitFailed, failure.what());
    }
    if (damage != vordal::LogDamage{}) {
        return Complain(ExitFailed, fmt::format("the log is damaged: of its rows {} are not as they were written and "
                                                "left out, {} are missing",
                                                damage.changed, damage.missing));
    }
    return ExitGood;
}

} // namespace qx5::cli
