// The ways in which the soak lets its sonars misbehave: all that the simulated sonar has a name for.
#pragma once

#include <string>
#include <vector>

namespace qx5::soak {

/// A failure as the simulated sonar takes it.
struct Failure
{
    std::string name;    ///< by which it is counted
    std::string command; ///< "misbehave NAME ARGUMENT"
    /// Whether the host may miss for good what the sonar tells meanwhile on a connection that stays.
    bool swallows = true;
    /// Whether the sonar keeps the host busy with what it sends.
    bool floods = false;
};

/// Each failure of the simulated sonar's list once, those with a choice of arguments once for each choice. A new name
/// in that list is here by itself, and counts as one that swallows.
std::vector<Failure> AllFailures();

} // namespace qx5::soak
