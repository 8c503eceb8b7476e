// The lease of a sonar's actions.
#include "operation/action_lease.h"

#include "operation/steady_seconds.h"

#include <VordalDataBlocksR/BaseDevice.h>

#include <algorithm>
#include <utility>

#include <fmt/format.h>

namespace qx5::operation {

Hand HandOf(vordal::RequestOrigin who)
{
    switch (who) {
    case vordal::RequestOrigin::View:
    case vordal::RequestOrigin::Terminal:
    case vordal::RequestOrigin::Preset:
    case vordal::RequestOrigin::Undo:
    case vordal::RequestOrigin::CommandLine:
        return Hand::Operator;
    case vordal::RequestOrigin::Program:
    case vordal::RequestOrigin::Shell:
    case vordal::RequestOrigin::Ashore:
    case vordal::RequestOrigin::OtherHost:
        return Hand::Program;
    }
    return Hand::Program;
}

std::string_view ToText(Hand hand)
{
    return hand == Hand::Operator ? "the operator" : "a program";
}

ActionLease::ActionLease(std::function<double()> steadyClock)
    : m_steadyClock(steadyClock ? std::move(steadyClock) : SteadySeconds)
{
}

ActionLease::Entry const* ActionLease::Find(CDataId const& sonar) const
{
    auto const found =
        std::find_if(m_entries.begin(), m_entries.end(), [&](Entry const& each) { return each.sonar == sonar; });
    bool const isOver =
        found != m_entries.end() && found->lease.until.has_value() && m_steadyClock() >= *found->lease.until;
    return found == m_entries.end() || isOver ? nullptr : &*found;
}

void ActionLease::Remove(CDataId const& sonar)
{
    std::erase_if(m_entries, [&](Entry const& each) { return each.sonar == sonar; });
}

bool ActionLease::Take(CDataId const& sonar, Hand hand, std::optional<double> seconds)
{
    std::lock_guard const lock(m_mutex);
    double const now = m_steadyClock();
    auto const* const held = Find(sonar);
    bool const isOwn = held != nullptr && held->lease.hand == hand;
    if (held != nullptr && !isOwn && hand != Hand::Operator) {
        return false;
    }
    Lease const lease{hand, isOwn ? held->lease.since : now, seconds ? std::optional(now + *seconds) : std::nullopt};
    Remove(sonar);
    m_entries.push_back({sonar, lease});
    return true;
}

bool ActionLease::GiveBack(CDataId const& sonar, Hand hand)
{
    std::lock_guard const lock(m_mutex);
    auto const* const held = Find(sonar);
    if (held == nullptr || held->lease.hand != hand) {
        return false;
    }
    Remove(sonar);
    return true;
}

void ActionLease::Forget(CDataId const& sonar)
{
    std::lock_guard const lock(m_mutex);
    Remove(sonar);
}

std::optional<ActionLease::Lease> ActionLease::Of(CDataId const& sonar) const
{
    std::lock_guard const lock(m_mutex);
    auto const* const held = Find(sonar);
    return held != nullptr ? std::optional(held->lease) : std::nullopt;
}

bool ActionLease::Admits(BaseDevice& device, CAttributeMap const&, vordal::RequestOrigin who, std::string& reason)
{
    auto const lease = Of(device.GetDataId());
    if (!lease || lease->hand == HandOf(who)) {
        return true;
    }
    reason = fmt::format("{} has the lease of this sonar's actions", ToText(lease->hand));
    if (lease->until) {
        reason += fmt::format(" for another {:.0f} s", std::max(1.0, *lease->until - m_steadyClock()));
    }
    return false;
}

} // namespace qx5::operation
