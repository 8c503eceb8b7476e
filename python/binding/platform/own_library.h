// Where this module lies on disk, and what lies beside it, on each platform.
#pragma once

#include <filesystem>

namespace qx5::python::platform {

/// Makes the names of the host library seen by modules that are loaded later: an interpreter loads a module with all it
/// needs for itself alone, and a plug-in is linked against the names of whatever host it meets.
void ShowHostLibrary();

/// The folder of the plug-ins that belong to this installation; in a build folder the one that they are built into.
std::filesystem::path PlugInFolder();

/// The command qx5 of this installation, or of this build.
std::filesystem::path Program();

} // namespace qx5::python::platform
