// A command's own tree of options, as its manual page tells it.
#include "cli/describe_command.h"

#include <CLI/CLI.hpp>

namespace qx5::cli {

namespace {

OptionText Describe(CLI::Option const& option)
{
    OptionText text{.names = {},
                    .value = option.get_items_expected_max() > 0 ? option.get_type_name() : std::string(),
                    .text = option.get_description(),
                    .preset = option.get_default_str(),
                    .isRequired = option.get_required(),
                    .isRepeated = option.get_expected_max() > 1};
    for (std::string const& name : option.get_snames()) {
        text.names.push_back("-" + name);
    }
    for (std::string const& name : option.get_lnames()) {
        text.names.push_back("--" + name);
    }
    return text;
}

} // namespace

CommandText DescribeCommand(CLI::App const& app, std::string const& above)
{
    CommandText command{above + app.get_name(), app.get_description(), {}, {}, {}};
    for (CLI::Option const* option : app.get_options()) {
        (option->get_positional() ? command.arguments : command.options).push_back(Describe(*option));
    }
    for (CLI::App const* each : app.get_subcommands([](CLI::App const*) { return true; })) {
        command.commands.push_back(DescribeCommand(*each, command.name + " "));
    }
    return command;
}

} // namespace qx5::cli
