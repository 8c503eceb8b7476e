// Which plug-ins a command loads: those that it is told, and those that lie beside this program.
#pragma once

#include <VordalBaseR/CString.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace vordal {
class LiveHost;
}

namespace qx5::cli {

/// The folder that plug-ins are installed into, seen from this program; in a build folder the one that they are built
/// into.
std::filesystem::path ModulesFolder();

/// All that a host loads: those told, in their order, then the modules in the folder but for those that bear the name
/// of one told.
std::vector<std::filesystem::path> PluginFiles(std::vector<std::string> const& told);

/// The one plug-in for a command that works on a sonar: the first told, otherwise the first module in the folder that
/// offers a device class of sonars. Loads modules to see if there are several; not on a thread that the host thread
/// waits for.
std::string PluginPath(std::vector<std::string> const& told);
std::string PluginPath(std::string const& told);

/// Has the host load all of them. The first `told` must load, and one at all, else false and one line in `error`; one
/// of the others that does not leaves a line in the log.
bool LoadInto(vordal::LiveHost& host, std::vector<std::filesystem::path> const& files, std::size_t told,
              std::string& error);
/// Whether devices of that class speak the record protocol.
bool MakesSonars(vordal::LiveHost& host, CString const& deviceClass);

} // namespace qx5::cli
