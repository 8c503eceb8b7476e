// Who ashore may do what with a vessel's sonars, as the project says.
#pragma once

#include "authority/lease.h"
#include "authority/role.h"
#include "operation/transmit_lock.h"

#include "reference_host/common/request_guard.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <array>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace qx5::authority {

/// What the project says. The broker lets nobody ask for something whose certificate is not that of an operator or an
/// administrator; where the project names persons, too, both must agree.
struct Permissions
{
    /// By the person's name. Empty: whoever the broker lets through operates; otherwise who is not named watches. What
    /// comes in nobody's name (Unnamed) the broker lets through from administrators alone: it needs one among these.
    std::map<std::string, Role, std::less<>> roles;
    /// What is done for those ashore though it can do harm; by default nothing of it is.
    std::array<bool, operation::LockedActionCount> allowed{};

    Role Of(std::string_view person) const;
    bool Allows(operation::LockedAction action) const { return allowed[static_cast<std::size_t>(action)]; }
    /// Allows the action of that name ("transmit" and so on); false when there is none.
    bool Allow(std::string_view name);

    bool operator==(Permissions const&) const = default;
};

/// Refuses what a person (vordal::CurrentPerson) may not ask for: who may not operate, what is locked for those ashore,
/// who has not the sonar's lease; what nobody in particular asks for comes from aboard, and needs the lease, too, as
/// soon as somebody ashore has it. To stand first in front of the guards of those aboard, of which none is left out:
/// with a lease the transmit lock refuses as without one.
///
/// What a plug-in asks of other sonars while it carries out a person's request is asked on that person's behalf.
/// SetPermissions is for any thread.
class CommandGuard final : public vordal::RequestGuard
{
public:
    /// The leases outlive the guard.
    explicit CommandGuard(Leases& leases) : m_leases(leases) {}

    void SetPermissions(Permissions permissions);
    Permissions GetPermissions() const;

    bool Admits(BaseDevice& device, CAttributeMap const& request, vordal::RequestOrigin who,
                std::string& reason) override;

private:
    /// What of it is not allowed to those ashore, in one line; empty for nothing.
    std::string Forbidden(BaseDevice const& device, CAttributeMap const& request, std::string const& person) const;

    Leases& m_leases;
    mutable std::mutex m_mutex; ///< guards what follows
    Permissions m_permissions;
};

} // namespace qx5::authority
