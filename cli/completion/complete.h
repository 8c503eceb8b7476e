// What may come next in a command line that is being written, from the command's own tree of options.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace qx5::cli {

/// The command that the shells' scripts ask; it is in no list.
inline constexpr std::string_view completeCommand = "__complete";

/// Says what the option may be, one of these; the complaint about anything else lists them.
CLI::Option* OneOf(CLI::Option* option, std::vector<std::string> const& choices);

/// `words` are those after the program's name up to the cursor, the last of which is being written. Prints a line for
/// each word that may stand in its place: the word, a tab, what it is; ":files" where files may. Gives an exit code.
int Complete(CLI::App const& app, std::vector<std::string> const& words);

} // namespace qx5::cli
