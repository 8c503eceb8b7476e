// Where `qx5 get` and `qx5 watch` have the values of a sonar from: a program that runs, or the sonar itself.
#pragma once

#include "fleet/fleet_line.h"
#include "shell/shell_messages.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qx5::cli {

/// Whose values are meant.
struct ValueTarget
{
    std::string sonar;                     ///< HOST:PORT for a connection of its own; empty: a program that runs
    std::string plugin;                    ///< for that connection; empty: the one beside this program
    std::optional<std::uint64_t> process;  ///< of the program; none: the one that there is
    std::string device;                    ///< its sonar, by name or id; empty: the one that it has
    std::optional<fleet::FleetLine> fleet; ///< in place of all that: `device` is a sonar of that fleet
};

/// Values as they are told. One thread.
class ValueSource
{
public:
    virtual ~ValueSource() = default;

    /// Readable when there may be something to take.
    virtual int Handle() const = 0;
    /// The next value; nothing while there is none. Throws shell::ShellError when there will be none any more.
    virtual std::optional<shell::ToldValue> Take() = 0;
    /// Whether all has been told that was there to be told when it was asked for; of a source that does not watch.
    virtual bool IsComplete() const = 0;
};

/// Asks for the values of these keys (none: all), once or again at each change. Throws shell::ShellError when nobody
/// answers within the limit. The target's addresses are good ones.
std::unique_ptr<ValueSource> MakeValueSource(ValueTarget const& target, std::vector<std::string> const& keys,
                                             bool watches, std::chrono::milliseconds limit);

} // namespace qx5::cli
