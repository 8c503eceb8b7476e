// Who ashore may do what, and the guard that sees to it.
#include "authority/permissions.h"

#include <VordalDataBlocksR/BaseDevice.h>

#include <algorithm>
#include <utility>

#include <fmt/format.h>

namespace qx5::authority {

Role Permissions::Of(std::string_view person) const
{
    if (roles.empty()) {
        return Role::Operate;
    }
    if (person == Unnamed) {
        bool const hasAdministrator =
            std::any_of(roles.begin(), roles.end(), [](auto const& each) { return each.second == Role::Administrate; });
        return hasAdministrator ? Role::Operate : Role::Watch;
    }
    auto const found = roles.find(person);
    return found != roles.end() ? found->second : Role::Watch;
}

bool Permissions::Allow(std::string_view name)
{
    for (std::size_t i = 0; i < allowed.size(); ++i) {
        if (ToText(static_cast<operation::LockedAction>(i)) == name) {
            allowed[i] = true;
            return true;
        }
    }
    return false;
}

void CommandGuard::SetPermissions(Permissions permissions)
{
    std::lock_guard const lock(m_mutex);
    m_permissions = std::move(permissions);
}

Permissions CommandGuard::GetPermissions() const
{
    std::lock_guard const lock(m_mutex);
    return m_permissions;
}

std::string CommandGuard::Forbidden(BaseDevice const& device, CAttributeMap const& request,
                                    std::string const& person) const
{
    CAttributeMap stored;
    device.GetAttributeMap(stored);
    auto const harms = operation::HarmsOf(request, stored);
    std::lock_guard const lock(m_mutex);
    if (m_permissions.Of(person) == Role::Watch) {
        return person + " may watch, and ask for nothing";
    }
    for (operation::Harm const& harm : harms) {
        if (!m_permissions.Allows(harm.action)) {
            return fmt::format("locked for those ashore ({}): {}", ToText(harm.action), harm.text);
        }
    }
    return {};
}

bool CommandGuard::Admits(BaseDevice& device, CAttributeMap const& request, vordal::RequestOrigin who,
                          std::string& reason)
{
    std::string const& person = vordal::CurrentPerson();
    if (who == vordal::RequestOrigin::Ashore && (person.empty() || person == Aboard)) {
        reason = "it does not say who ashore asks for it";
        return false;
    }
    if (person.empty()) {
        return m_leases.Admits(device.GetDataId(), Aboard, reason);
    }
    if (auto forbidden = Forbidden(device, request, person); !forbidden.empty()) {
        reason = std::move(forbidden);
        return false;
    }
    return m_leases.Admits(device.GetDataId(), person, reason);
}

} // namespace qx5::authority
