// The version handshake between the host and a module.
#pragma once

#include <VordalBaseR/Export.h>

/// The version of the host contract that these headers describe: major, minor, patch, build, a byte each.
inline constexpr unsigned VORDAL_CONTRACT_VERSION = 0x05050100u;

/// Called by a module when it is attached, with the contract version it was built against, the path of its source
/// file and its build date and time, the last two for messages only. False when the host does not speak that version;
/// the module must then refuse to be attached. Loader thread.
VORDAL_API bool CheckDllVersion(unsigned version, char const* sourceFile, char const* buildTime);
