// Which keys an object of a JSON document has, while it is read: for its readers alone.
#pragma once

#include "json_document.h"

#include <cstddef>
#include <memory>
#include <set>
#include <string_view>

namespace qx5 {

/// Finds keys that stand twice in an object that is read.
class ObjectKeys
{
public:
    /// Whether the object that begins at `place` has no such key yet as the one at `keyPlace`, which is the last entry.
    /// From then on it counts as one that the object has.
    bool IsNew(JsonContent& content, std::size_t place, std::size_t keyPlace)
    {
        // Most objects have few, which are looked through faster than anything can be kept of them.
        constexpr std::size_t few = 12;
        auto const key = JsonNode(content, keyPlace).Text();
        ++m_count;
        if (m_keys == nullptr) {
            content.entries[place].SetExtent(keyPlace);
            if (m_count > few) {
                m_keys = std::make_unique<std::set<std::string_view>>();
            }
            for (auto const& member : JsonNode(content, place).Members()) {
                if (m_keys != nullptr) {
                    m_keys->insert(member.key);
                } else if (member.key == key) {
                    return false;
                }
            }
        }
        return m_keys == nullptr || m_keys->insert(key).second;
    }

private:
    std::size_t m_count = 0;
    std::unique_ptr<std::set<std::string_view>> m_keys; ///< of an object with many members
};

} // namespace qx5
