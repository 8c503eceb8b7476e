// The ports of the sonars of one group, each of them once.
#include "group_ports.h"

#include <VordalDataBlocksR/BaseDevice.h>

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace qx5 {

GroupPorts::GroupPorts(std::vector<BaseDevice*> sonars) : m_sonars(std::move(sonars)), m_ports(m_sonars.size()) {}

void GroupPorts::LookAgain()
{
    bool isChanged = false;
    for (std::size_t i = 0; i < m_sonars.size(); ++i) {
        auto* const port = m_sonars[i]->GetPortPtr();
        isChanged = std::exchange(m_ports[i], port) != port || isChanged;
    }
    if (isChanged) {
        Arrange();
    }
}

void GroupPorts::Arrange()
{
    m_all.clear();
    std::unordered_set<BaseIOHandler*> seen;
    for (std::size_t i = m_sonars.size(); i-- > 0;) {
        if (m_ports[i] != nullptr && seen.insert(m_ports[i]).second) {
            m_all.push_back({m_ports[i], m_sonars[i]});
        }
    }
    std::reverse(m_all.begin(), m_all.end());
}

} // namespace qx5
