// Presets from trees, as documents and back.
#include "preset.h"

#include "platform/whole_file.h"

#include <commands/settings.h>
#include <json/json_parser.h>
#include <json/json_read.h>
#include <json/value_json.h>
#include <protocol/catalogue.h>
#include <protocol/print.h>
#include <protocol/utf8.h>
#include <reference_host/common/path_text.h>
#include <values/vordal_value.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>
#include <optional>
#include <set>
#include <type_traits>
#include <utility>

#include <fmt/chrono.h>
#include <fmt/format.h>

namespace qx5::operation {

namespace {

using protocol::Key;
using protocol::Kind;

constexpr std::string_view formatName = "qx5 preset";
constexpr int formatVersion = 1;
constexpr std::size_t longestName = 100;

Kind KindOfValue(protocol::Value const& value)
{
    return static_cast<Kind>(value.index() - 1);
}

/// Members of the document, as they are called there.
namespace member {
constexpr std::string_view format = "format";
constexpr std::string_view version = "version";
constexpr std::string_view name = "name";
constexpr std::string_view time = "time";
constexpr std::string_view sonar = "sonar";
constexpr std::string_view sonarClass = "class";
constexpr std::string_view settings = "settings";
constexpr std::string_view key = "key";
constexpr std::string_view kind = "kind";
constexpr std::string_view value = "value";
constexpr std::string_view unit = "unit";
} // namespace member

/// Reads one document; what is wrong with a value is told with the value's place.
class Reader
{
public:
    explicit Reader(std::string_view document) : m_document(document) {}

    Preset Run()
    {
        std::optional<JsonDocument> document;
        try {
            document = ParseJson(std::string(m_document));
        } catch (InvalidDocument const& failure) {
            throw PresetError(failure.what());
        }
        auto const root = document->Root();
        RefuseDefect(root);
        return At(root, [&] { return ReadRoot(root); });
    }

private:
    [[noreturn]] void Refuse(JsonNode const& value, std::string const& reason) const
    {
        throw PresetError(fmt::format("{} ({})", reason, LineAndColumn(m_document, value.At())));
    }

    template <typename Read>
    std::invoke_result_t<Read const&> At(JsonNode const& value, Read const& read) const
    {
        try {
            return read();
        } catch (InvalidDocument const& failure) {
            Refuse(value, failure.what());
        }
    }

    void RefuseDefect(JsonNode const& value) const
    {
        if (value.Is(JsonValue::Kind::Defect)) {
            Refuse(value, std::string(value.Text()));
        }
        for (auto const& item : value.Items()) {
            RefuseDefect(item);
        }
        for (auto const& [key, inner] : value.Members()) {
            RefuseDefect(inner);
        }
    }

    std::string Text(MemberReader& members, std::string_view name) const
    {
        auto const value = members.Get(name);
        return At(value, [&] { return std::string(ReadText(value, {})); });
    }

    /// A text that is shown in one line.
    std::string Line(MemberReader& members, std::string_view name) const
    {
        std::string text = Text(members, name);
        if (std::any_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; })) {
            Refuse(members.Get(name), "a text in one line is expected here");
        }
        return text;
    }

    Preset ReadRoot(JsonNode const& root)
    {
        JsonPath const path;
        MemberReader members(root, path);
        auto const format = members.Find(member::format);
        if (!format || !format->Is(JsonValue::Kind::Text) || format->Text() != formatName) {
            Refuse(format.value_or(root),
                   fmt::format("this is no preset: its \"{}\" is not \"{}\"", member::format, formatName));
        }
        auto const version = members.Get(member::version);
        auto const number = At(version, [&] { return ReadInt32(version, {}); });
        if (number != formatVersion) {
            Refuse(version, fmt::format("the preset has version {} of the format, this program reads version {}",
                                        number, formatVersion));
        }
        Preset preset;
        preset.name = Text(members, member::name);
        if (auto const reason = RefusePresetName(preset.name); !reason.empty()) {
            Refuse(members.Get(member::name), reason);
        }
        preset.time = Line(members, member::time);
        auto const sonar = members.Get(member::sonar);
        At(sonar, [&] {
            MemberReader whose(sonar, path);
            preset.sonar = Line(whose, member::name);
            preset.sonarClass = Line(whose, member::sonarClass);
            whose.RefuseUnknown();
        });
        auto const settings = members.Get(member::settings);
        members.RefuseUnknown();
        At(settings, [&] {
            for (auto const& item : ReadArray(settings, path)) {
                preset.settings.push_back(At(item, [&] { return ReadSetting(item); }));
            }
        });
        return preset;
    }

    PresetSetting ReadSetting(JsonNode const& item)
    {
        JsonPath const path;
        MemberReader members(item, path);
        PresetSetting setting;
        std::string const name = Line(members, member::key);
        setting.key = protocol::DecodeUtf8(name);
        if (setting.key.empty()) {
            Refuse(members.Get(member::key), "a key is empty");
        }
        if (!m_keys.insert(setting.key).second) {
            Refuse(members.Get(member::key), QuoteForMessage(name) + " stands here twice");
        }
        Key const* const known = protocol::FindKey(setting.key);

        auto const kindName = members.Get(member::kind);
        auto const kind = protocol::FindKind(At(kindName, [&] { return ReadText(kindName, {}); }));
        if (!kind || *kind == Kind::Branch || *kind == Kind::Any) {
            Refuse(kindName, "there is no kind of value " + QuoteForMessage(kindName.Text()));
        }
        if (known != nullptr && known->kind != *kind) {
            Refuse(kindName, fmt::format("{} is of the kind {}, not {}", name, protocol::NameOf(known->kind),
                                         protocol::NameOf(*kind)));
        }
        auto const value = members.Get(member::value);
        setting.value = At(value, [&] { return ReadValueOfKind(*kind, value, {}); });

        std::string_view const ownUnit = known != nullptr ? protocol::UnitText(known->unit) : std::string_view();
        if (auto const unit = members.Find(member::unit)) {
            setting.unit = Line(members, member::unit);
            if (known != nullptr && setting.unit != ownUnit) {
                Refuse(*unit,
                       fmt::format("the unit of {} is {}, not {}", name,
                                   ownUnit.empty() ? "none" : QuoteForMessage(ownUnit), QuoteForMessage(setting.unit)));
            }
        } else {
            setting.unit = ownUnit;
        }
        members.RefuseUnknown();
        return setting;
    }

    std::string_view m_document;
    std::set<std::wstring> m_keys;
};

std::string UtcText(double seconds)
{
    // What no calendar has is the beginning.
    constexpr double year10000 = 253402300800.0;
    auto const known = seconds >= 0.0 && seconds < year10000 ? seconds : 0.0;
    return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(static_cast<std::time_t>(known)));
}

std::string Quoted(std::string_view text)
{
    return WriteJson(JsonValue::Text(std::string(text)));
}

} // namespace

CAttributeMap Preset::Tree() const
{
    CAttributeMap tree;
    for (PresetSetting const& setting : settings) {
        // Of those that nobody knows there may be many.
        if (Setting const* const known = FindSetting(setting.key); known != nullptr) {
            AddValue(tree, known->operand->attribute, setting.value);
        }
    }
    return tree;
}

std::string RefusePresetName(std::string_view name)
{
    std::wstring const text = protocol::DecodeUtf8(name);
    if (text.empty()) {
        return "a preset needs a name";
    }
    if (protocol::CountCodePoints(text) > longestName) {
        return fmt::format("a preset's name has no more than {} characters", longestName);
    }
    if (std::any_of(text.begin(), text.end(), [](wchar_t c) { return c < 0x20 || c == 0x7F || c == 0xFFFD; })) {
        return "a preset's name is text in one line, without control characters";
    }
    return {};
}

std::string RefuseSonarClass(Preset const& preset, std::string_view sonarClass)
{
    return preset.sonarClass == sonarClass
               ? std::string()
               : fmt::format("the preset is of a sonar of the class {}, this one is of the class {}",
                             QuoteForMessage(preset.sonarClass), QuoteForMessage(sonarClass));
}

Preset TakePreset(CAttributeMap const& tree, PresetOrigin const& origin)
{
    if (auto const reason = RefusePresetName(origin.name); !reason.empty()) {
        throw PresetError(reason);
    }
    Preset preset{origin.name, UtcText(origin.utcSeconds), origin.sonar, origin.sonarClass, {}};
    for (Setting const& setting : Settings()) {
        Key const& key = setting.Key();
        auto const* const node = StoredNode(tree, setting);
        protocol::Value value;
        if (node != nullptr && ReadVordal(node->Value(), key.kind, value)) {
            preset.settings.push_back(
                {std::wstring(key.text), std::move(value), std::string(protocol::UnitText(key.unit))});
        }
    }
    return preset;
}

std::string WritePreset(Preset const& preset)
{
    std::string text = fmt::format("{{\n  \"{}\": {},\n  \"{}\": {},\n", member::format, Quoted(formatName),
                                   member::version, formatVersion);
    text += fmt::format("  \"{}\": {},\n  \"{}\": {},\n", member::name, Quoted(preset.name), member::time,
                        Quoted(preset.time));
    text += fmt::format("  \"{}\": {{\"{}\": {}, \"{}\": {}}},\n  \"{}\": [", member::sonar, member::name,
                        Quoted(preset.sonar), member::sonarClass, Quoted(preset.sonarClass), member::settings);
    char const* separator = "\n";
    for (PresetSetting const& setting : preset.settings) {
        text += fmt::format("{}    {{\"{}\": {}, \"{}\": {}, \"{}\": {}", separator, member::key,
                            WriteJson(JsonValue::Text(setting.key)), member::kind,
                            Quoted(protocol::NameOf(KindOfValue(setting.value))), member::value,
                            WriteJson(WriteValue(setting.value)));
        text += setting.unit.empty() ? "}" : fmt::format(", \"{}\": {}}}", member::unit, Quoted(setting.unit));
        separator = ",\n";
    }
    return text + "\n  ]\n}\n";
}

Preset ReadPreset(std::string_view document)
{
    if (document.size() > GreatestPresetSize) {
        throw PresetError(fmt::format("a preset has no more than {} MiB", GreatestPresetSize / (1024 * 1024)));
    }
    return Reader(document).Run();
}

Preset ReadPresetFile(std::filesystem::path const& file)
{
    auto const refuse = [&](std::string_view reason) -> PresetError {
        return PresetError(fmt::format("{}: {}", QuoteForMessage(vordal::Utf8Of(file), 200), reason));
    };
    std::error_code error;
    if (std::filesystem::is_directory(file, error)) {
        throw refuse("this is a folder, no preset");
    }
    std::ifstream stream(file, std::ios::binary);
    std::string document(GreatestPresetSize + 1, '\0');
    stream.read(document.data(), static_cast<std::streamsize>(document.size()));
    if (stream.bad() || (stream.fail() && !stream.eof())) {
        throw refuse("the file cannot be read");
    }
    document.resize(static_cast<std::size_t>(stream.gcount()));
    try {
        return ReadPreset(document);
    } catch (PresetError const& failure) {
        throw refuse(failure.what());
    }
}

void WritePresetFile(std::filesystem::path const& file, Preset const& preset)
{
    std::string error;
    if (!WriteWholeFile(file, WritePreset(preset), error)) {
        throw PresetError(fmt::format("{}: {}", QuoteForMessage(vordal::Utf8Of(file), 200), error));
    }
}

} // namespace qx5::operation
