// What a mosquitto broker of a fleet goes by: its configuration, and who may say and hear what.
#pragma once

#include "authority/role.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::authority {

/// Who speaks at the broker. The name of each is the common name of its certificate.
struct BrokerPlan
{
    std::string group; ///< of vessels; the first level of all that they say
    std::vector<std::string> vessels;
    std::map<std::string, Role> persons;
    std::string address; ///< to listen on; empty: all
    std::uint16_t port = 8883;
};

/// What is wrong with it in one line; empty: nothing. A name has 1 to 64 bytes of UTF-8, no / + # and no control
/// characters, no blank at its ends; nobody is called as somebody else, Aboard or Unnamed.
std::string FaultOf(BrokerPlan const& plan);

/// mosquitto's access file. Vessels speak for themselves alone. All persons hear the group's vessels, ask them to
/// tell everything anew and tell them that they look; each asks for leases and of sonars in his own name alone, and
/// hears his own results; who only watches asks for nothing else.
std::string AccessText(BrokerPlan const& plan);

/// mosquitto's configuration for what lies in that folder: TLS with certificates both ways, nobody without a name.
std::string ConfigurationText(BrokerPlan const& plan, std::filesystem::path const& folder);

/// A text whose first line says whether it is as it was written: with "# " before it and a checksum in it.
std::string Sealed(std::string const& text);
/// Whether a file's content is one that Sealed gave.
bool IsSealed(std::string_view content);

} // namespace qx5::authority
