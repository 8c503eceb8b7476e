// The presets that a project keeps: listed, read, put, renamed, removed.
#include "preset_shelf.h"

#include "reference_host/store/project_store.h"

#include <json/json_value.h>
#include <protocol/utf8.h>
#include <tvcoreR/Utf8.h>

#include <utility>

#include <fmt/format.h>

namespace qx5::operation {

namespace {

CString WideName(std::string const& name)
{
    return CString(protocol::DecodeUtf8(name));
}

Preset ReadKept(std::string_view name, std::string const& document)
{
    try {
        return ReadPreset(document);
    } catch (PresetError const& failure) {
        throw DamagedPreset(name, failure.what());
    }
}

} // namespace

DamagedPreset::DamagedPreset(std::string_view name, std::string_view reason)
    : PresetError(fmt::format("the preset {} of the project: {}", QuoteForMessage(name), reason))
{
}

std::vector<ListedPreset> PresetShelf::List()
{
    std::vector<ListedPreset> list;
    for (auto const& [wideName, document] : m_store.Presets()) {
        auto const name = tvcore::ToUtf8(wideName);
        try {
            Preset preset = ReadKept(name, document);
            list.push_back({name, std::move(preset.time), std::move(preset.sonar), std::move(preset.sonarClass),
                            preset.settings.size()});
        } catch (DamagedPreset const& failure) {
            list.push_back({.name = name, .damage = failure.what()});
        }
    }
    return list;
}

std::optional<std::string> PresetShelf::Document(std::string const& name)
{
    auto presets = m_store.Presets();
    auto const found = presets.find(WideName(name));
    return found != presets.end() ? std::optional(std::move(found->second)) : std::nullopt;
}

bool PresetShelf::Has(std::string const& name)
{
    return Document(name).has_value();
}

std::optional<Preset> PresetShelf::Find(std::string const& name)
{
    auto const document = Document(name);
    return document ? std::optional(ReadKept(name, *document)) : std::nullopt;
}

bool PresetShelf::Put(Preset const& preset, bool replace)
{
    if (!replace && Has(preset.name)) {
        return false;
    }
    m_store.SavePreset(WideName(preset.name), WritePreset(preset));
    return true;
}

void PresetShelf::Rename(std::string const& name, std::string const& to)
{
    if (auto const reason = RefusePresetName(to); !reason.empty()) {
        throw PresetError(reason);
    }
    auto preset = Find(name);
    if (!preset) {
        throw PresetError(NoSuchPreset(name));
    }
    if (to != name && Has(to)) {
        throw PresetError(PresetIsThere(to));
    }
    preset->name = to;
    m_store.RenamePreset(WideName(name), WideName(to), WritePreset(*preset));
}

bool PresetShelf::Remove(std::string const& name)
{
    return m_store.RemovePreset(WideName(name));
}

std::string NoSuchPreset(std::string_view name)
{
    return fmt::format("the project has no preset {}", QuoteForMessage(name, 200));
}

std::string PresetIsThere(std::string_view name)
{
    return fmt::format("the project has a preset {} already", QuoteForMessage(name, 200));
}

} // namespace qx5::operation
