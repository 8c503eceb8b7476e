// A command's own tree of options, as its manual page tells it.
#pragma once

#include "cli/documents/command_text.h"

namespace CLI {
class App;
}

namespace qx5::cli {

/// The program or one of its commands, with all below it.
CommandText DescribeCommand(CLI::App const& app, std::string const& above = {});

} // namespace qx5::cli
