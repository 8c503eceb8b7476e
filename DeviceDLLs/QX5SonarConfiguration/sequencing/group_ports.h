// The ports of the sonars of one group, each of them once.
#pragma once

#include <cstddef>
#include <vector>

class BaseDevice;
class BaseIOHandler;

namespace qx5 {

/// What is told to the ports of a group in the order of its sonars, a later word on a port in place of all earlier
/// ones: many sonars on one port then cost no more than one. For one thread; the sonars outlive it.
class GroupPorts
{
public:
    /// The port, and the last sonar on it.
    struct LastWord
    {
        BaseIOHandler* port = nullptr;
        BaseDevice* sonar = nullptr;
    };

    GroupPorts() = default;
    /// In the order of the group. Their ports are those of the next LookAgain.
    explicit GroupPorts(std::vector<BaseDevice*> sonars);

    std::size_t SonarCount() const { return m_sonars.size(); }
    /// Asks each sonar for its port. As long as they are what they were that is all it costs.
    void LookAgain();
    /// In the order of the last sonars; sonars without a port are left out.
    std::vector<LastWord> const& All() const { return m_all; }

private:
    void Arrange();

    std::vector<BaseDevice*> m_sonars;
    std::vector<BaseIOHandler*> m_ports; ///< one for each sonar
    std::vector<LastWord> m_all;
};

} // namespace qx5
