// The scripts that make shells complete command lines of qx5.
#include "cli/completion/scripts.h"

#include "cli/commands.h"
#include "cli/completion/scripts_texts.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

struct Script
{
    std::string_view shell;
    std::string_view text;
};

constexpr std::array scripts{Script{"bash", completion::qx5_bash}, Script{"zsh", completion::qx5_zsh},
                             Script{"fish", completion::qx5_fish}};

} // namespace

std::vector<std::string> CompletionShells()
{
    std::vector<std::string> shells;
    for (Script const& script : scripts) {
        shells.emplace_back(script.shell);
    }
    return shells;
}

int PrintCompletion(std::string const& shell)
{
    auto const found =
        std::find_if(scripts.begin(), scripts.end(), [&](Script const& each) { return each.shell == shell; });
    if (found == scripts.end()) {
        return Complain(ExitWrong, "there is no completion for " + shell);
    }
    fmt::print("{}", found->text);
    return ExitGood;
}

} // namespace qx5::cli
