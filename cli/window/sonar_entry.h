// What an operator enters of a sonar: name, address, class, vessel, ping group, and whether that can be.
#pragma once

#include <VordalBaseR/CString.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qx5::cli {

/// As it is entered; UTF-8.
struct SonarEntry
{
    std::string name;
    std::string deviceClass;
    bool simulated = false; ///< by this program: there is no address
    std::string address;    ///< HOST:PORT
    std::string vessel;     ///< by its name; one that is not there yet is made
    std::string group;      ///< number of the ping group; empty: it pings by itself

    bool operator==(SonarEntry const&) const = default;
};

/// What is wrong with each part, in one line; empty where nothing is.
struct SonarProblems
{
    std::string name;
    std::string deviceClass;
    std::string address;
    std::string vessel;
    std::string group;

    bool None() const
    {
        return name.empty() && deviceClass.empty() && address.empty() && vessel.empty() && group.empty();
    }
    bool operator==(SonarProblems const&) const = default;
};

/// An entry that can be, taken apart.
struct SonarSetup
{
    CString name;
    CString deviceClass;
    bool simulated = false;
    std::string host;
    std::uint16_t tcpPort = 0; ///< 0 of a simulated one
    CString vessel;
    std::optional<std::int32_t> group;
};

/// What there is beside the sonar.
struct SonarSurroundings
{
    std::vector<std::string> otherNames; ///< of all other devices
    std::vector<std::string> classes;    ///< whose devices are sonars
};

/// Bytes that a name of a sonar or a vessel may have.
constexpr std::size_t GreatestName = 100;

/// Blanks around a text do not count. `setup` is filled when there are no problems and left as it is otherwise.
SonarProblems CheckSonar(SonarEntry const& entry, SonarSurroundings const& around, SonarSetup& setup);

} // namespace qx5::cli
