// The names of the roles.
#include "authority/role.h"

namespace qx5::authority {

std::string_view ToText(Role role)
{
    switch (role) {
    case Role::Watch:
        return "watch";
    case Role::Operate:
        return "operate";
    case Role::Administrate:
        return "administrate";
    }
    return "";
}

std::optional<Role> RoleOf(std::string_view text)
{
    for (Role const role : {Role::Watch, Role::Operate, Role::Administrate}) {
        if (ToText(role) == text) {
            return role;
        }
    }
    return std::nullopt;
}

} // namespace qx5::authority
