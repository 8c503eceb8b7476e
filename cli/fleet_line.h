// How a command reaches a fleet: its broker, and as whom.
#pragma once

#include <string>

namespace qx5::cli {

/// As the command line tells it.
struct FleetLine
{
    std::string broker; ///< mqtts://HOST:PORT; empty: no fleet
    std::string group;
    std::string authority; ///< files; empty for none, see broker::CertificateFiles
    std::string certificate;
    std::string key;
    std::string person; ///< where there is no certificate: whom the broker takes us for; empty: the user's name
};

} // namespace qx5::cli
