// What may stand in a command line where a value is wanted, from the tables and from the programs that run.
#include "cli/completion/values.h"

#include "cli/commands.h"
#include "shell/shell_client.h"

#include <commands/catalogue.h>
#include <protocol/catalogue.h>
#include <protocol/print.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

/// Who presses a key does not wait for a program that hangs.
constexpr std::chrono::milliseconds programLimit{30};

std::string TextOf(protocol::Key const& key)
{
    std::string_view const unit = protocol::UnitText(key.unit);
    return fmt::format("{}{}{}{}{}", key.meaning, key.meaning.empty() ? "" : ", ", protocol::NameOf(key.kind),
                       unit.empty() ? "" : " in ", unit);
}

/// All of them, `end` behind those that take a value.
std::vector<Candidate> Keys(std::string_view end)
{
    std::vector<Candidate> candidates;
    for (protocol::Key const* key : protocol::AllKeys()) {
        bool const hasValue = key->kind != protocol::Kind::Any && key->kind != protocol::Kind::Branch;
        candidates.push_back({protocol::EncodeUtf8(key->text) + std::string(hasValue ? end : ""), TextOf(*key)});
    }
    return candidates;
}

std::vector<Candidate> KeysAlone(std::string_view)
{
    return Keys("");
}

/// Keys, each with what it is set to, as far as its kind has names for that.
std::vector<Candidate> KeyValues(std::string_view current)
{
    auto const equals = current.find('=');
    if (equals == std::string_view::npos) {
        return Keys("=");
    }
    std::string_view const path = current.substr(0, equals);
    std::string_view const last = path.substr(path.rfind('/') + 1);
    auto const colon = last.find(':');
    auto const* const key = protocol::FindKey(protocol::DecodeUtf8(last.substr(0, colon)));
    auto const kind = colon != std::string_view::npos ? protocol::FindKind(last.substr(colon + 1))
                      : key != nullptr                ? std::optional(key->kind)
                                                      : std::nullopt;
    if (kind != protocol::Kind::Bool) {
        return {};
    }
    std::string const before(current.substr(0, equals + 1));
    return {{before + "true", ""}, {before + "false", ""}};
}

/// What `qx5 explain` tells something about.
std::vector<Candidate> Explained(std::string_view)
{
    auto candidates = KeysAlone({});
    std::set<std::string_view> known;
    for (ChainEntry const& row : Chain()) {
        if (known.insert(row.handler).second) {
            candidates.push_back({std::string(row.handler), "handler"});
        }
    }
    std::set<std::uint32_t> records;
    for (protocol::RecordLayout const& layout : protocol::AllLayouts()) {
        if (records.insert(layout.id).second) {
            candidates.push_back({std::to_string(layout.id), "record, " + std::string(layout.name)});
        }
    }
    return candidates;
}

std::vector<Candidate> Scenes(std::string_view)
{
    std::vector<Candidate> candidates;
    for (std::string const& text : SceneTexts()) {
        auto const end = text.find_first_of(" (:");
        auto const rest = text.find_first_not_of(" (:", end);
        auto meaning = rest != std::string::npos ? text.substr(rest) : std::string();
        if (meaning.ends_with(')')) {
            meaning.pop_back();
        }
        candidates.push_back({text.substr(0, end), meaning});
    }
    return candidates;
}

std::vector<std::unique_ptr<shell::ShellClient>> Programs()
{
    try {
        std::string unanswered;
        return shell::AskablePrograms(programLimit, unanswered);
    } catch (shell::ShellError const&) {
        return {};
    }
}

std::vector<Candidate> RunningSonars(std::string_view)
{
    std::vector<Candidate> candidates;
    for (auto const& program : Programs()) {
        for (auto const& sonar : program->Greeted().sonars) {
            candidates.push_back({sonar.name, sonar.id});
        }
    }
    return candidates;
}

std::vector<Candidate> RunningPrograms(std::string_view)
{
    std::vector<Candidate> candidates;
    for (auto const& program : Programs()) {
        std::string names;
        for (auto const& sonar : program->Greeted().sonars) {
            names += (names.empty() ? "" : ", ") + sonar.name;
        }
        candidates.push_back({std::to_string(program->Greeted().process), names});
    }
    return candidates;
}

struct KindOfValue
{
    std::string_view typeName;
    std::vector<Candidate> (*values)(std::string_view current);
};

constexpr std::array kinds{
    KindOfValue{"KEY", KeysAlone}, KindOfValue{"KEY=VALUE", KeyValues}, KindOfValue{"KEY|HANDLER|RECORD", Explained},
    KindOfValue{"SCENE", Scenes},  KindOfValue{"SONAR", RunningSonars}, KindOfValue{"PID", RunningPrograms},
};

constexpr std::array<std::string_view, 4> fileNames{"FILE", "OUT", "[OUT]", "PROJECT"};

} // namespace

std::vector<Candidate> ValuesFor(std::string_view typeName, std::string_view current)
{
    auto const found =
        std::find_if(kinds.begin(), kinds.end(), [&](KindOfValue const& each) { return each.typeName == typeName; });
    return found != kinds.end() ? found->values(current) : std::vector<Candidate>();
}

bool TakesFiles(std::string_view typeName)
{
    return std::find(fileNames.begin(), fileNames.end(), typeName) != fileNames.end();
}

} // namespace qx5::cli
