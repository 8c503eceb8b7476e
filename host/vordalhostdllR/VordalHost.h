// Services of the host for the modules that it loads.
#pragma once

#include <VordalBaseR/Export.h>

/// A loaded module, as the platform names it; opaque, and null for none.
#if defined(_WIN32)
struct HINSTANCE__;
using HINSTANCE = HINSTANCE__*;
#else
using HINSTANCE = void*;
#endif

namespace VordalHost {

/// Binds the resource library that goes with a module, in the operator's language: `instance` is the module as the
/// loader gave it, `module` the handle under which its resources are looked up. False when there is no such library;
/// the module's built-in texts then serve. Called once, while the module is attached, on the loader's thread.
VORDAL_API bool LoadDLLResourceDLL(HINSTANCE instance, HINSTANCE module);

} // namespace VordalHost
