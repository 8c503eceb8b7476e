// The lines by which an operator commands the simulated sonar.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <simulator/sonar_state.h>

namespace qx5::simulator {

/// What commands do to a sonar.
class CommandedSonar
{
public:
    virtual SonarState& State() = 0;
    /// The state was changed by a command.
    virtual void StateChanged() = 0;
    /// One line in `answer`, whatever comes of it.
    virtual bool Misbehave(std::string_view name, std::string_view argument, std::string& answer) = 0;
    virtual void Behave() = 0;
    virtual bool PingOnce(std::string& answer) = 0;
    /// Cuts all links; how many there were.
    virtual std::uint64_t Drop() = 0;
    virtual void SwitchOn(std::string& answer) = 0;
    /// Several lines.
    virtual std::string StatusText() const = 0;

protected:
    ~CommandedSonar() = default;
};

/// Carries out one line, as SonarServer::Command says. On the sonar's thread.
bool CarryOut(CommandedSonar& sonar, std::string_view line, std::string& answer);

} // namespace qx5::simulator
