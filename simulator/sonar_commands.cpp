// The lines by which an operator commands the simulated sonar.
#include <simulator/sonar_commands.h>

#include <algorithm>
#include <charconv>
#include <system_error>

#include <protocol/print.h>
#include <protocol/settings_keys.h>
#include <protocol/utf8.h>
#include <simulator/misbehaviour.h>
#include <simulator/plural.h>

namespace qx5::simulator {

namespace {

std::string_view TakeWord(std::string_view& line)
{
    auto const isBlank = [](char character) { return character == ' ' || character == '\t' || character == '\r'; };
    while (!line.empty() && isBlank(line.front())) {
        line.remove_prefix(1);
    }
    std::size_t length = 0;
    while (length < line.size() && !isBlank(line[length])) {
        ++length;
    }
    std::string_view const word = line.substr(0, length);
    line.remove_prefix(length);
    while (!line.empty() && isBlank(line.front())) {
        line.remove_prefix(1);
    }
    while (!line.empty() && isBlank(line.back())) {
        line.remove_suffix(1);
    }
    return word;
}

std::string AttributeLine(Attribute const& attribute)
{
    std::string line = protocol::EncodeUtf8(attribute.text) + " = " + protocol::ValueText(attribute.value);
    if (attribute.key != nullptr && attribute.key->unit != protocol::Unit::None) {
        line += " " + std::string(protocol::UnitText(attribute.key->unit));
    }
    return line;
}

/// What the sonar holds, a line for each attribute; that of one key, or of all and of the other units.
std::string StateText(SonarState const& state, std::string_view key, bool& known)
{
    std::string text;
    std::wstring const wide = protocol::DecodeUtf8(key);
    known = key.empty();
    for (Attribute const& attribute : state.Attributes()) {
        if (!key.empty() && attribute.text != wide) {
            continue;
        }
        known = true;
        text += (text.empty() ? "" : "\n") + AttributeLine(attribute);
    }
    if (!key.empty()) {
        return text;
    }
    for (auto const& [unit, attributes] : state.Units()) {
        for (Attribute const& attribute : attributes) {
            text += "\nunit " + std::to_string(unit.first) + "/" + std::to_string(unit.second) + ": " +
                    AttributeLine(attribute);
        }
    }
    return text;
}

bool State(CommandedSonar& sonar, std::string_view key, std::string& answer)
{
    bool known = false;
    answer = StateText(sonar.State(), key, known);
    if (!known) {
        answer = "the sonar holds no attribute " + std::string(key);
    }
    return known;
}

bool Assign(CommandedSonar& sonar, std::string_view assignment, std::string& answer)
{
    bool const taken = sonar.State().Set(assignment, answer);
    sonar.StateChanged();
    return taken;
}

bool Set(CommandedSonar& sonar, std::string_view assignment, std::string& answer)
{
    return Assign(sonar, assignment, answer) &&
           State(sonar, assignment.substr(0, assignment.find_first_of(":=")), answer);
}

bool Ping(CommandedSonar& sonar, std::string_view, std::string& answer)
{
    return sonar.PingOnce(answer);
}

bool BufferStatus(CommandedSonar& sonar, std::string_view text, std::string& answer)
{
    unsigned status = 0;
    auto const* const end = text.data() + text.size();
    auto const [at, problem] = std::from_chars(text.data(), end, status);
    if (problem != std::errc() || at != end || status > 65535) {
        answer = "buffer-status wants a number from 0 (well) to 65535";
        return false;
    }
    std::string const key = protocol::EncodeUtf8(protocol::keys::StreamStatus.text);
    if (!Assign(sonar, key + "=" + std::to_string(status), answer)) {
        return false;
    }
    answer = "the status of the data stream is " + std::to_string(status);
    return true;
}

bool Drop(CommandedSonar& sonar, std::string_view, std::string& answer)
{
    answer = Plural(sonar.Drop(), "connection") + " dropped";
    return true;
}

bool Start(CommandedSonar& sonar, std::string_view, std::string& answer)
{
    sonar.SwitchOn(answer);
    return true;
}

bool Status(CommandedSonar& sonar, std::string_view, std::string& answer)
{
    answer = sonar.StatusText();
    return true;
}

bool Behave(CommandedSonar& sonar, std::string_view, std::string& answer)
{
    sonar.Behave();
    answer = "no failures";
    return true;
}

bool Misbehave(CommandedSonar& sonar, std::string_view rest, std::string& answer)
{
    std::string_view const name = TakeWord(rest);
    return sonar.Misbehave(name, rest, answer);
}

struct CommandRow
{
    std::string_view word;
    std::string_view argument; ///< in brackets when it may be left out; empty for nothing
    std::string_view meaning;
    bool (*carryOut)(CommandedSonar& sonar, std::string_view argument, std::string& answer);
};

constexpr CommandRow Commands[]{
    {"state", "[KEY]", "what the sonar holds", State},
    {"set", "KEY=VALUE", "change it on the sonar itself (KEY:KIND=VALUE for keys of no table)", Set},
    {"ping", "", "ping once", Ping},
    {"buffer-status", "NUMBER", "tell the hosts another status of the data stream, 0 when it is well", BufferStatus},
    {"drop", "", "cut all links", Drop},
    {"start", "", "switch a sonar on that was shut down", Start},
    {"status", "", "connections, counts, failures", Status},
    {"behave", "", "end all failures", Behave},
    {"misbehave", "NAME [ARGUMENT]", "one of:", Misbehave},
};

std::string HelpLine(std::string left, std::size_t width, std::string_view meaning)
{
    left.resize(std::max(left.size() + 1, width), ' ');
    return left + std::string(meaning);
}

std::string Help()
{
    std::string text;
    for (CommandRow const& row : Commands) {
        std::string const left = std::string(row.word) + (row.argument.empty() ? "" : " ") + std::string(row.argument);
        text += (text.empty() ? "" : "\n") + HelpLine(left, 28, row.meaning);
    }
    for (MisbehaviourName const& row : MisbehaviourNames()) {
        text += "\n" + HelpLine("  " + std::string(row.name) + " " + std::string(row.argument), 36, row.meaning);
    }
    text += "\nkinds of flood:";
    for (FloodKind const& kind : FloodKinds()) {
        text += "\n" + HelpLine("  " + std::string(kind.name), 36, kind.meaning);
    }
    return text;
}

} // namespace

bool CarryOut(CommandedSonar& sonar, std::string_view line, std::string& answer)
{
    answer.clear();
    std::string_view rest = line;
    std::string_view const word = TakeWord(rest);
    if (word == "help") {
        answer = Help();
        return true;
    }
    auto const* const row = std::find_if(std::begin(Commands), std::end(Commands),
                                         [&](CommandRow const& each) { return each.word == word; });
    if (row == std::end(Commands)) {
        answer = word.empty() ? "an empty command; 'help' lists them"
                              : "there is no command '" + std::string(word) + "'; 'help' lists them";
        return false;
    }
    if (row->argument.empty() && !rest.empty()) {
        answer = std::string(word) + " takes no argument";
        return false;
    }
    return row->carryOut(sonar, rest, answer);
}

} // namespace qx5::simulator
