// Answers shells on behalf of a session that runs.
#pragma once

#include "operation/operator_desk.h"
#include "reference_host/core/host.h"

#include <filesystem>
#include <memory>
#include <string>

namespace qx5::shell {

/// Listens on a socket of this user's alone, named by the program's number, and answers on a thread of its own: values
/// from copies of the devices' trees, requests by way of the host thread (RequestOrigin::Shell), guarded, logged and
/// judged like all others.
///
/// What one shell takes of memory is bounded: a question of 256 KiB, an answer under way of 64 KiB, two trees. One that
/// does not read is told, once it does, what the values then are. There are 32 at a time. Changes are looked for at
/// most a hundred times a second.
class ShellServer
{
public:
    static constexpr std::size_t GreatestCount = 32;

    /// Begins to listen in that folder, which is made, and takes away the sockets of programs that have died. Null, and
    /// why in one line, when that cannot be. `host` and `desk` must outlive it. `version` is told.
    static std::unique_ptr<ShellServer> Begin(vordal::Host& host, operation::OperatorDesk& desk,
                                              std::string const& version, std::filesystem::path const& folder,
                                              std::string& error);
    /// The same in the user's own folder; a line in the log says why when there is none.
    static std::unique_ptr<ShellServer> Begin(vordal::Host& host, operation::OperatorDesk& desk,
                                              std::string const& version);
    ShellServer(ShellServer const&) = delete;
    ShellServer& operator=(ShellServer const&) = delete;
    /// Ends all connections; requests that are under way are carried out.
    ~ShellServer();

private:
    class Core;
    explicit ShellServer(std::unique_ptr<Core> core);

    std::unique_ptr<Core> m_core;
};

} // namespace qx5::shell
