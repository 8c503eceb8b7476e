// The presets that a project keeps.
#pragma once

#include "preset.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vordal {
class ProjectStore;
}

namespace qx5::operation {

/// A preset that the project has under the name, and that cannot be read.
class DamagedPreset : public PresetError
{
public:
    DamagedPreset(std::string_view name, std::string_view reason);
};

/// What a list shows of a preset.
struct ListedPreset
{
    std::string name;
    std::string time = {}; ///< of these as in Preset; empty where it cannot be read
    std::string sonar = {};
    std::string sonarClass = {};
    std::size_t settings = 0;
    std::string damage = {}; ///< why it cannot be read, in one line; empty for a good one
};

/// Names and texts are UTF-8. All operations throw vordal::StoreError, and the project is as it was, when the file
/// cannot be read or written. The store outlives it; the thread is the store's.
class PresetShelf
{
public:
    explicit PresetShelf(vordal::ProjectStore& store) : m_store(store) {}

    /// In the order of their names.
    std::vector<ListedPreset> List();
    bool Has(std::string const& name);
    /// Nothing when there is none of that name. Throws DamagedPreset.
    std::optional<Preset> Find(std::string const& name);
    /// False, and nothing changed, when there is one of its name already that is not to be replaced.
    bool Put(Preset const& preset, bool replace);
    /// In one step. Throws PresetError, and nothing changed, for a name that no preset can have, one that another
    /// preset has, and when there is no such preset or it cannot be read.
    void Rename(std::string const& name, std::string const& to);
    /// False when there is none. One that cannot be read goes, too.
    bool Remove(std::string const& name);

private:
    std::optional<std::string> Document(std::string const& name);

    vordal::ProjectStore& m_store;
};

/// "the project has no preset "Deep"", and that it has one already.
std::string NoSuchPreset(std::string_view name);
std::string PresetIsThere(std::string_view name);

} // namespace qx5::operation
