// The transmit lock: what can do harm at a real sonar is refused while it is on.
#pragma once

#include "reference_host/common/request_guard.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>

#include <atomic>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::operation {

/// What can do harm at a real sonar.
enum class LockedAction : unsigned char
{
    Transmit, ///< what sends the record that switches pings on: x5PingOnOffState but 0, and PingOnlyDuringScan, which
              ///< does so at once (false) or with the next scan (true)
    Power,    ///< full power: x5Power from the least upper limit of power on that the sonar tells, or, while it tells
              ///< none, beyond what the tree has
    Shutdown, ///< what sends the record of that name, as do the two that follow
    Reboot,
    FactorySettings,
};
inline constexpr std::size_t LockedActionCount = 5;
/// "transmit", "power", "shutdown", "reboot", "factory-settings".
std::string_view ToText(LockedAction action);

struct Harm
{
    LockedAction action = LockedAction::Transmit;
    std::string text; ///< in a few words, "x5PingOnOffState=1 switches the pings on"
};

/// What of a request can do harm at a sonar whose tree is `stored`; nothing when nothing does. Switching pings off and
/// reducing power is never harmful.
std::vector<Harm> HarmsOf(CAttributeMap const& request, CAttributeMap const& stored);

/// Refuses what is harmful while it is on, and lets all else pass. SetLocked, IsLocked and Exempt are for any thread.
///
/// It sees requests. What a plug-in sends of its own accord passes: sonars that take turns ping on by their group.
class TransmitLock final : public vordal::RequestGuard
{
public:
    void SetLocked(bool locked) { m_isLocked.store(locked); }
    bool IsLocked() const { return m_isLocked.load(); }
    /// Whether the sonar is simulated: nothing of such a one is refused.
    void Exempt(CDataId const& sonar, bool isSimulated = true);

    bool Admits(BaseDevice& device, CAttributeMap const& request, vordal::RequestOrigin who,
                std::string& reason) override;

private:
    std::atomic<bool> m_isLocked{false};
    std::mutex m_mutex; ///< guards what follows
    std::vector<CDataId> m_exempt;
};

} // namespace qx5::operation
