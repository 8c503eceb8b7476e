// The devices of a host: in the order in which they came, and found by id.
#pragma once

#include "reference_host/common/packed_id.h"

#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/Export.h>
#include <vordalhostdllR/Device.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <unordered_map>

// The library's own tree that knows how many stand before each.
#include <ext/pb_ds/assoc_container.hpp>

namespace vordal {

/// Nothing here costs more than the logarithm of their number. One thread at a time.
class VORDAL_API DeviceRegister
{
public:
    /// False, and the device stays with the caller, when the id is taken.
    bool Add(CDataId const& id, std::unique_ptr<Device>& device);
    /// Null when it is none of these.
    std::unique_ptr<Device> Take(BaseDevice const* device);
    /// It stays where it is among the others.
    void ChangeId(BaseDevice const& device, CDataId const& id);

    /// A number that grows with each that comes; nothing when it is none of these.
    std::optional<std::uint64_t> OrderOf(BaseDevice const* device) const
    {
        auto const at = m_entries.find(device);
        return at != m_entries.end() ? std::optional(at->second.order) : std::nullopt;
    }
    /// That of the next one.
    std::uint64_t NextOrder() const { return m_next; }
    Device* Find(std::uint64_t packedId) const;
    bool IsEmpty() const { return m_inOrder.empty(); }
    std::size_t Count() const { return m_inOrder.size(); }
    /// There is one at least.
    Device* First() const { return m_inOrder.begin()->second; }
    int CountOf(unsigned short vessel) const;
    /// Of those of the vessel; null beyond the last.
    Device* At(int index, unsigned short vessel) const;
    template <typename Visit>
    void ForEach(Visit const& visit) const
    {
        for (auto const& [order, device] : m_inOrder) {
            visit(*device);
        }
    }

private:
    using Ranked = __gnu_pbds::tree<std::uint64_t, Device*, std::less<>, __gnu_pbds::rb_tree_tag,
                                    __gnu_pbds::tree_order_statistics_node_update>;
    struct Entry
    {
        std::unique_ptr<Device> device;
        std::uint64_t order = 0; ///< of coming
        CDataId id;
    };

    /// All of it or, when memory runs out, nothing.
    void Enter(CDataId const& id, std::uint64_t order, Device* device);
    void Strike(CDataId const& id, std::uint64_t order, Device const* device);
    void StrikeId(CDataId const& id, Device const* device);

    std::unordered_map<BaseDevice const*, Entry> m_entries;
    std::unordered_multimap<std::uint64_t, Device*> m_byId; ///< a device may be given an id that another has
    std::map<std::uint64_t, Device*> m_inOrder;
    std::map<unsigned short, Ranked> m_ofVessel;
    std::uint64_t m_next = 0;
};

} // namespace vordal
