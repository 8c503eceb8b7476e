// Configuration files of the host, as they stand in memory.
#include <VordalBaseR/FileObject.h>

#include <VordalAttributesR/CAttributeMap.h>

#include <algorithm>
#include <optional>

struct FileObject::State
{
    struct Section
    {
        CString name;
        std::vector<std::pair<CString, CString>> items;
        std::optional<CAttributeMap> tree;
    };

    Section* Find(CString const& name)
    {
        auto const found = std::find_if(sections.begin(), sections.end(),
                                        [&](Section const& section) { return section.name == name; });
        return found != sections.end() ? &*found : nullptr;
    }

    std::vector<Section> sections;
};

FileObject::FileObject() : m_state(std::make_unique<State>()) {}
FileObject::~FileObject() = default;

bool FileObject::CreateSection(CString const& section)
{
    if (HasSection(section)) {
        return false;
    }
    m_state->sections.push_back({section, {}, std::nullopt});
    return true;
}

bool FileObject::HasSection(CString const& section) const
{
    return m_state->Find(section) != nullptr;
}

bool FileObject::SetItem(CString const& section, CString const& item, CString const& value)
{
    auto* const found = m_state->Find(section);
    if (found == nullptr) {
        return false;
    }
    for (auto& [name, text] : found->items) {
        if (name == item) {
            text = value;
            return true;
        }
    }
    found->items.emplace_back(item, value);
    return true;
}

bool FileObject::GetItem(CString const& section, CString const& item, CString& value) const
{
    if (auto const* const found = m_state->Find(section)) {
        for (auto const& [name, text] : found->items) {
            if (name == item) {
                value = text;
                return true;
            }
        }
    }
    return false;
}

std::vector<std::pair<CString, CString>> FileObject::GetItems(CString const& section) const
{
    auto const* const found = m_state->Find(section);
    return found != nullptr ? found->items : std::vector<std::pair<CString, CString>>();
}

bool FileObject::GetAttributeMap(CString const& section, CAttributeMap& map) const
{
    auto const* const found = m_state->Find(section);
    if (found == nullptr || !found->tree) {
        return false;
    }
    map = *found->tree;
    return true;
}

bool FileObject::SetAttributeMap(CString const& section, CAttributeMap const& map)
{
    auto* const found = m_state->Find(section);
    if (found == nullptr) {
        return false;
    }
    found->tree = map;
    return true;
}
