// The role of the user who is logged in.
#pragma once

#include <VordalBaseR/Export.h>

namespace UserRoleUtils {

/// Whether the user is an operator. Any thread; may change at any time.
VORDAL_API bool IsOperator();

} // namespace UserRoleUtils
