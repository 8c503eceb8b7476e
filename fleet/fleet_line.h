// How somebody reaches a fleet: its broker, and as whom.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace qx5::fleet {

struct FleetOptions; // fleet/fleet.h

/// As a command line or a script tells it.
struct FleetLine
{
    std::string broker; ///< mqtts://HOST:PORT; empty: no fleet
    std::string group;
    std::string authority; ///< files; empty for none, see broker::CertificateFiles
    std::string certificate;
    std::string key;
    std::string person; ///< where there is no certificate: whom the broker takes us for; empty: the user's name
};

/// What is wrong with a line.
struct LineProblem
{
    enum class Part : std::uint8_t
    {
        Broker,      ///< its URL
        Certificate, ///< there is none
        Files,       ///< of the certificate
        Name,        ///< the group's or the person's
    };
    Part part = Part::Broker;
    std::string text; ///< one line
};

/// Where the broker is and who we are, of a fleet's options; the rest is as it is by default. Reads the certificate.
/// Nothing when it cannot be so.
std::optional<FleetOptions> OptionsOf(FleetLine const& line, LineProblem& problem);

} // namespace qx5::fleet
