// What may come next in a command line that is being written, from the command's own tree of options.
#include "cli/completion/complete.h"

#include "cli/commands.h"
#include "cli/completion/values.h"

#include <algorithm>
#include <set>
#include <string>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace qx5::cli {

namespace {

constexpr char choicesEnd = '\n';

/// The words before the cursor, followed through the tree.
class CommandLine
{
public:
    explicit CommandLine(CLI::App const& app) : m_app(&app) {}

    void Pass(std::string const& word)
    {
        if (m_pending != nullptr) {
            // One that may go without a value has none where an option follows.
            bool const isValue = m_needed > 0 || !word.starts_with("-");
            if (isValue) {
                TakeValue();
                return;
            }
            m_pending = nullptr;
        }
        if (!m_onlyArguments && word == "--") {
            m_onlyArguments = true;
        } else if (!m_onlyArguments && word.size() > 1 && word.front() == '-') {
            auto const equals = word.find('=');
            auto const* const option = m_app->get_option_no_throw(word.substr(0, equals));
            if (option != nullptr) {
                m_used.insert(option);
                if (equals == std::string::npos && option->get_items_expected_max() > 0) {
                    m_pending = option;
                    m_needed = option->get_items_expected_min();
                    m_room = option->get_allow_extra_args() ? option->get_items_expected_max()
                                                            : std::max(1, option->get_items_expected_min());
                }
            }
        } else if (auto const* const command = m_argument == 0 && !m_onlyArguments ? FindCommand(word) : nullptr) {
            m_app = command;
            m_used.clear();
        } else {
            ++m_argument;
        }
    }

    /// The lines for the word that is being written.
    std::vector<std::string> Complete(std::string const& current) const
    {
        std::vector<std::string> lines;
        auto const equals = current.find('=');
        if (m_pending != nullptr && (m_needed > 0 || !current.starts_with("-"))) {
            AddValues(*m_pending, "", current, lines);
        }
        if (m_pending != nullptr && m_needed > 0) {
            return lines;
        }
        if (!m_onlyArguments && current.starts_with("--") && equals != std::string::npos) {
            if (auto const* const option = m_app->get_option_no_throw(current.substr(0, equals))) {
                AddValues(*option, current.substr(0, equals + 1), current.substr(equals + 1), lines);
            }
            return lines;
        }
        if (!current.starts_with("-") || m_onlyArguments) {
            AddCommands(current, lines);
            if (auto const* const argument = Argument()) {
                AddValues(*argument, "", current, lines);
            }
        }
        // Where nothing else is known, the options are.
        if (!m_onlyArguments && (current.starts_with("-") || (current.empty() && lines.empty()))) {
            AddOptions(current, lines);
        }
        return lines;
    }

private:
    CLI::App const* FindCommand(std::string const& word) const
    {
        auto const commands = m_app->get_subcommands([&](CLI::App const* each) { return each->get_name() == word; });
        return commands.empty() ? nullptr : commands.front();
    }

    void TakeValue()
    {
        --m_needed;
        --m_room;
        if (m_room <= 0) {
            m_pending = nullptr;
        }
    }

    /// The argument that comes next; null when there is none any more.
    CLI::Option const* Argument() const
    {
        int before = 0;
        for (CLI::Option const* option : m_app->get_options()) {
            if (!option->get_positional()) {
                continue;
            }
            before += option->get_items_expected_max();
            if (m_argument < before) {
                return option;
            }
        }
        return nullptr;
    }

    static void Add(std::string const& word, std::string const& text, std::string const& current,
                    std::vector<std::string>& lines)
    {
        if (word.starts_with(current)) {
            lines.push_back(text.empty() ? word : word + "\t" + text);
        }
    }

    void AddCommands(std::string const& current, std::vector<std::string>& lines) const
    {
        for (CLI::App const* command : m_app->get_subcommands([](CLI::App const*) { return true; })) {
            if (m_argument == 0) {
                Add(command->get_name(), command->get_description(), current, lines);
            }
        }
    }

    void AddOptions(std::string const& current, std::vector<std::string>& lines) const
    {
        for (CLI::Option const* option : m_app->get_options()) {
            bool const isMany = option->get_expected_max() > 1;
            bool const isExcluded = std::any_of(m_used.begin(), m_used.end(), [&](CLI::Option const* used) {
                auto const& excludes = used->get_excludes();
                return std::any_of(excludes.begin(), excludes.end(),
                                   [&](CLI::Option const* each) { return each == option; });
            });
            if (option->get_positional() || isExcluded || (!isMany && m_used.contains(option))) {
                continue;
            }
            for (std::string const& name : option->get_lnames()) {
                Add("--" + name, option->get_description(), current, lines);
            }
        }
    }

    static void AddValues(CLI::Option const& option, std::string const& before, std::string const& current,
                          std::vector<std::string>& lines)
    {
        for (std::string const& choice : ChoicesOf(option)) {
            Add(before + choice, "", before + current, lines);
        }
        std::string const type = option.get_type_name();
        for (Candidate const& candidate : ValuesFor(type, current)) {
            Add(before + candidate.word, candidate.text, before + current, lines);
        }
        if (TakesFiles(type)) {
            lines.emplace_back(":files");
        }
    }

    /// See OneOf.
    static std::vector<std::string> ChoicesOf(CLI::Option const& option)
    {
        std::vector<std::string> choices;
        try {
            // The accessor is not const.
            auto const* const validator = const_cast<CLI::Option&>(option).get_validator(0);
            std::string const names = validator->get_name();
            std::size_t at = 0;
            for (auto end = names.find(choicesEnd); end != std::string::npos; end = names.find(choicesEnd, at)) {
                choices.push_back(names.substr(at, end - at));
                at = end + 1;
            }
        } catch (CLI::OptionNotFound const&) {
            // It takes anything.
        }
        return choices;
    }

    CLI::App const* m_app;
    std::set<CLI::Option const*> m_used;
    CLI::Option const* m_pending = nullptr; ///< the next words are its values
    int m_needed = 0;                       ///< so many of them at least
    int m_room = 0;
    int m_argument = 0; ///< how many have passed
    bool m_onlyArguments = false;
};

} // namespace

CLI::Option* OneOf(CLI::Option* option, std::vector<std::string> const& choices)
{
    // The choices travel with the option, where completion finds them.
    std::string names;
    for (std::string const& choice : choices) {
        names += choice + choicesEnd;
    }
    return option->check(CLI::IsMember(choices).description("").name(names));
}

int Complete(CLI::App const& app, std::vector<std::string> const& words)
{
    CommandLine line(app);
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        line.Pass(words[i]);
    }
    for (std::string const& each : line.Complete(words.empty() ? std::string() : words.back())) {
        fmt::print("{}\n", each);
    }
    return ExitGood;
}

} // namespace qx5::cli
