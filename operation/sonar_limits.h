// What a sonar tells of the values that it takes.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <protocol/record_layout.h>
#include <protocol/value.h>

namespace qx5::operation {

/// The limits that a device's tree holds of one operation mode. A value; any thread.
class SonarLimits
{
public:
    /// Of a sonar that tells none.
    SonarLimits() = default;

    /// Those that hold once the sonar has what is asked for: operation mode, sample rate, pulse type and mode of the
    /// gain come from `asked` where it has them, at its root, and otherwise from the device's tree.
    SonarLimits(CAttributeMap const& tree, CAttributeMap const& asked);

    /// Whether the sonar tells that it does not take that value of the key. A number that is not finite it never takes.
    bool IsBeyond(protocol::Key const& key, protocol::Value const& value) const;

private:
    CAttributeMap m_tree;
    CAttributeMap m_settings; ///< of the operation mode
    int m_sampleRate = 0;
    int m_pulseType = 0;
    bool m_isGainFixed = false;
};

} // namespace qx5::operation
