// What a command takes, as its manual page tells it.
#pragma once

#include <string>
#include <vector>

namespace qx5::cli {

struct OptionText
{
    std::vector<std::string> names; ///< "--sonar", "-h"; of an argument its name alone
    std::string value;              ///< what stands for its value: "HOST:PORT"; empty for none
    std::string text;               ///< a sentence, without its end
    std::string preset;             ///< what it is where it is not told; empty for nothing
    bool isRequired = false;
    bool isRepeated = false;
};

struct CommandText
{
    std::string name; ///< "qx5 preset save"
    std::string text;
    std::vector<OptionText> arguments;
    std::vector<OptionText> options;
    std::vector<CommandText> commands; ///< what it does where it does several things
};

} // namespace qx5::cli
