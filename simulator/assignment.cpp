// A value of the simulated sonar as an operator writes it.
#include <simulator/assignment.h>

#include <utility>

#include <protocol/catalogue.h>
#include <protocol/settings_keys.h>
#include <protocol/utf8.h>

namespace qx5::simulator {

using protocol::Key;
using protocol::Kind;

namespace {

Key const* KeyOfText(std::wstring_view text)
{
    if (Key const* const key = protocol::FindKey(text)) {
        return key;
    }
    for (Key const* const key : protocol::SettingsKeys) {
        if (key->text == text) {
            return key;
        }
    }
    return nullptr;
}

/// Those that the sonar can tell of.
std::string Kinds()
{
    std::string names;
    for (protocol::KindRow const& row : protocol::KindRows) {
        if (row.onLink != 0) {
            (names += names.empty() ? "" : ", ") += row.name;
        }
    }
    return names;
}

} // namespace

std::optional<Attribute> ParseAssignment(std::string_view assignment, std::string& error)
{
    std::size_t const equals = assignment.find('=');
    if (equals == std::string_view::npos || equals == 0) {
        error = "set wants KEY=VALUE, for example x5Range=50";
        return std::nullopt;
    }
    std::string_view name = assignment.substr(0, equals);
    std::string_view const text = assignment.substr(equals + 1);
    std::optional<Kind> told;
    if (std::size_t const colon = name.find(':'); colon != std::string_view::npos) {
        told = protocol::FindKind(name.substr(colon + 1));
        if (!told || protocol::RowOf(*told).onLink == 0) {
            error = "'" + std::string(name.substr(colon + 1)) + "' is no kind; take one of " + Kinds();
            return std::nullopt;
        }
        name = name.substr(0, colon);
    }
    std::wstring const wide = protocol::DecodeUtf8(name);
    Key const* const key = KeyOfText(wide);
    if (key == nullptr && !told) {
        error = "the key " + std::string(name) + " is not known; tell its kind, as in " + std::string(name) + ":int=1";
        return std::nullopt;
    }
    Kind const kind = key != nullptr ? key->kind : *told;
    if (told && *told != kind) {
        error = std::string(name) + " is of kind " + std::string(protocol::NameOf(kind));
        return std::nullopt;
    }
    auto value = protocol::ParseValue(kind, text);
    if (!value) {
        error = std::string(name) + " wants a value of kind " + std::string(protocol::NameOf(kind));
        return std::nullopt;
    }
    std::optional<Attribute> assigned(std::in_place);
    assigned->text = wide;
    assigned->key = key;
    assigned->value = std::move(*value);
    return assigned;
}

} // namespace qx5::simulator
